// Turns a request's path into its target: what kind of resource, whose, which folder, which item.
//
// Made and used once by a request's thread. A path that names nothing is answered here; results are
// those of the pipeline, 0 to go on, -1 when an answer has been sent.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "webdav/frame/FolderPath.h"
#include "webdav/frame/PathSegments.h"
#include "webdav/frame/WebDAVRequest.h"

namespace webdav {

struct PathKeyword;

class PathResolver {
  public:
    PathResolver(WebDAVRequest& request, RequestTarget& target);

    /// Path: as the web server decoded it.
    int32_t Resolve(std::string path);

  private:
    using Segments = std::span<const std::string>;

    /// Where the names of a folder count from, and whose it is.
    struct Place {
        enum class Scope { kUser, kShared, kPublic };
        Scope scope = Scope::kUser;
        std::string owner;
        std::string base;
        Segments names;
        const char* refusal = nullptr;  ///< why folders there are out of reach, null when not
    };

    int32_t resolveKeyword(const PathKeyword& keyword, Segments rest);
    int32_t resolveOwn(const ItemKind& kind, Segments rest);
    int32_t resolveHome(const PathKeyword& keyword, Segments rest);
    int32_t resolveUser(const ItemKind& kind, Segments rest, SegmentForm form);
    int32_t resolvePublic(const ItemKind& kind, Segments rest);

    template <typename Exists>
    FolderReading readSegments(Segments segments, SegmentForm form, const Exists& exists) const;
    /// Names: at least one.
    Place placeOf(const StoreAccount& user, Segments names) const;
    /// The kind that a folder's marker file names; null, and logged, when it is none of ours.
    const ItemKind* typeOf(const FolderPath& folder) const;

    int32_t takeSharedFolder(const FolderPath& folder);
    int32_t takePublicFolder(const FolderPath& folder);
    int32_t takeTypedFolder(const FolderPath& folder);
    int32_t takeFolder(const FolderPath& folder);
    void takeDefaultFolder(const ItemKind& kind, const StoreAccount& user);

    void logUserFolder(const FolderPath& folder, const ItemKind& kind) const;
    void logUnknown(const std::string& address) const;
    int32_t refuse(const char* detail);
    int32_t refuseOnDisk(const FolderPath& folder);
    const char* tag() const { return request_.RequestTag(); }

    WebDAVRequest& request_;
    RequestTarget& target_;
    std::string account_;  ///< who asks
};

}  // namespace webdav
