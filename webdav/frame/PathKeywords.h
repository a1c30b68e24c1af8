// The path segments that say what kind of resource a path names.
#pragma once

#include <string_view>

#include "webdav/store/ItemKind.h"

namespace webdav {

enum class PathForm {
    kPrincipal,
    kOutbox,
    kHome,  ///< a user's home set, or a collection below it
    kInbox,
    kOwn,    ///< a folder of the account that asks
    kOther,  ///< a folder of any user
    kPublic,
};

struct PathKeyword {
    std::string_view segment;
    PathForm form;
    const ItemKind* itemKind;  ///< of the folder behind it; null where there is none
    const char* resourceKind;  ///< the target's kind where that is no folder type, else null
};

/// The keyword that equals a segment without regard to case, or null.
const PathKeyword* FindPathKeyword(std::string_view segment);

}  // namespace webdav
