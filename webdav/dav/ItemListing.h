// Lists the items of a folder: an array for 1000 records first, and once more when that is too few.
#pragma once

#include <cstdint>
#include <functional>

#include "webdav/store/ItemKind.h"

namespace DAV {

struct ListingTexts {
    const char* count;          ///< with the number of items
    const char* failure;        ///< with the error code, of the first call
    const char* secondFailure;  ///< of the second
};

using ListOperation = std::function<int32_t(StoreItem* items, uint32_t* count)>;

/// Told the number of items when the first call had too little room: true when the second one is
/// not needed.
using InsteadOfSecond = std::function<bool(uint32_t count)>;

/// Fills the records. False when the store failed, which is logged under the tag.
bool ListItems(webdav::ItemRecords& records, const char* tag, const ListingTexts& texts,
               const ListOperation& list, const InsteadOfSecond& instead = {});

}  // namespace DAV
