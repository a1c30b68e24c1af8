#include "webdav/frame/PathResolver.h"

#include <algorithm>

#include "platform/PrivateProfile.h"
#include "webdav/frame/FolderSettings.h"
#include "webdav/frame/PathKeywords.h"
#include "webdav/log/Log.h"

namespace webdav {

namespace {

constexpr const char* kInvalidPath = "Invalid Path";
constexpr const char* kUnknownPath = "Invalid Path: Folder not found or invalid folder type";
constexpr const char* kSharedOff = "Invalid Path: Shared Folders are disabled";
constexpr const char* kPublicOff = "Invalid Path: Public Folders are disabled";
constexpr const char* kNoUserNamed =
    "Shared folder was requested, but no domain and user was specified";

constexpr std::string_view kSharedSegment = "~shared";
constexpr std::string_view kPublicSegment = "~public";
constexpr size_t kFolderClassSize = 64;

// The segments that name a user: the domain, then the mailbox.
constexpr size_t kUserSegments = 2;

std::string addressOf(std::span<const std::string> segments) {
    return segments[1] + '@' + segments[0];
}

/// The last name of a path up to its extension.
std::string bareLastName(const std::string& path) {
    const std::string name = path.substr(path.rfind('\\') + 1);
    return name.substr(0, name.rfind('.'));
}

}  // namespace

PathResolver::PathResolver(WebDAVRequest& request, RequestTarget& target)
    : request_(request), target_(target), account_(request.AccountNameForAccess()) {}

int32_t PathResolver::Resolve(std::string path) {
    target_.segments = SplitPath(std::move(path));
    const Segments segments = target_.segments;
    for (size_t i = 0; i < segments.size(); ++i) {
        const PathKeyword* keyword = FindPathKeyword(segments[i]);
        if (keyword == nullptr) continue;
        // A token never reaches a folder by the names of the account's own.
        if (keyword->form == PathForm::kOwn && request_.Account().readOnly) continue;
        target_.position = i;
        return resolveKeyword(*keyword, segments.subspan(i + 1));
    }
    return request_.Method() == "GET" ? 0 : refuse(kUnknownPath);
}

int32_t PathResolver::resolveKeyword(const PathKeyword& keyword, Segments rest) {
    switch (keyword.form) {
        case PathForm::kPrincipal:
        case PathForm::kOutbox:
            target_.kind = keyword.resourceKind;
            return 0;
        case PathForm::kHome:
            if (rest.size() > kUserSegments)
                return resolveUser(*keyword.itemKind, rest, SegmentForm::kCollection);
            return resolveHome(keyword, rest);
        case PathForm::kInbox:
            return resolveHome(keyword, rest);
        case PathForm::kOwn:
            return resolveOwn(*keyword.itemKind, rest);
        case PathForm::kOther:
            if (!SharedFoldersEnabled()) return refuse(kSharedOff);
            return resolveUser(*keyword.itemKind, rest, SegmentForm::kNames);
        case PathForm::kPublic:
            if (!PublicFoldersEnabled()) return refuse(kPublicOff);
            return resolvePublic(*keyword.itemKind, rest);
    }
    return refuse(kUnknownPath);
}

int32_t PathResolver::resolveOwn(const ItemKind& kind, Segments rest) {
    target_.kind = kind.folderType;
    target_.owner = account_;
    const StoreAccount account = StoreAccount::ByEmail(account_);
    if (!account.valid()) {
        request_.SendHttpError(500, "Error", "Unable to get Corvane user handle");
        return -1;
    }
    const std::string& base = account.MailDirectory();
    const FolderReading reading = readSegments(
        rest, SegmentForm::kNames, [&](Segments names) { return FindFolder(base, names).exists; });
    target_.itemName = reading.item;
    if (reading.folder.empty()) {
        Log(kLogInfo, tag(), "ParseRequest: [%s] requested their default %s folder",
            account_.c_str(), kind.logWord);
        takeDefaultFolder(kind, account);
        return 0;
    }
    const FolderPath folder = FindFolder(base, reading.folder);
    Log(kLogInfo, tag(), "ParseRequest: [%s] requested their [%s] %s folder", account_.c_str(),
        folder.relative.c_str(), kind.logWord);
    return takeFolder(folder);
}

int32_t PathResolver::resolveHome(const PathKeyword& keyword, Segments rest) {
    if (rest.size() < kUserSegments) {
        if (keyword.form == PathForm::kInbox) return refuse(kInvalidPath);
        target_.kind = "PRINCIPAL";
        return 0;
    }
    const std::string owner = addressOf(rest);
    Log(kLogInfo, tag(), "ParseRequest: [%s] requested user [%s]'s %s", account_.c_str(),
        owner.c_str(), keyword.resourceKind);
    const StoreAccount user = request_.AccountOf(owner);
    if (!user.valid()) {
        logUnknown(owner);
        return refuse(kInvalidPath);
    }
    target_.kind = keyword.resourceKind;
    target_.owner = owner;
    takeDefaultFolder(*keyword.itemKind, user);
    return 0;
}

int32_t PathResolver::resolveUser(const ItemKind& kind, Segments rest, SegmentForm form) {
    if (rest.size() < kUserSegments) return refuse(kNoUserNamed);
    target_.kind = kind.folderType;
    target_.owner = addressOf(rest);
    Log(kLogDebug, tag(), "ParseRequest: [%s] requested user [%s]", account_.c_str(),
        target_.owner.c_str());
    const StoreAccount user = request_.AccountOf(target_.owner);
    if (!user.valid()) {
        logUnknown(target_.owner);
        request_.SendNotFound("Not Found");
        return -1;
    }
    const FolderReading reading =
        readSegments(rest.subspan(kUserSegments), form, [&](Segments names) {
            const Place place = placeOf(user, names);
            return place.refusal == nullptr && FindFolder(place.base, place.names).exists;
        });
    target_.itemName = reading.item;
    if (reading.folder.empty()) {
        Log(kLogInfo, tag(), "ParseRequest: [%s] requested [%s]'s default %s folder",
            account_.c_str(), target_.owner.c_str(), kind.logWord);
        takeDefaultFolder(kind, user);
        return 0;
    }
    const Place place = placeOf(user, reading.folder);
    if (place.refusal != nullptr) return refuse(place.refusal);
    target_.owner = place.owner;
    const FolderPath folder = FindFolder(place.base, place.names);
    if (place.scope == Place::Scope::kPublic) return takePublicFolder(folder);
    if (place.scope == Place::Scope::kShared) return takeSharedFolder(folder);
    if (form == SegmentForm::kCollection) return takeTypedFolder(folder);
    logUserFolder(folder, kind);
    return takeFolder(folder);
}

int32_t PathResolver::resolvePublic(const ItemKind& kind, Segments rest) {
    target_.kind = kind.folderType;
    target_.owner = kPublicOwner;
    const std::string base = PublicFoldersDirectory();
    const FolderReading reading = readSegments(
        rest, SegmentForm::kNames, [&](Segments names) { return FindFolder(base, names).exists; });
    target_.itemName = reading.item;
    if (!reading.folder.empty()) return takePublicFolder(FindFolder(base, reading.folder));

    const std::string name = DefaultPublicFolderName(kind);
    const FolderPath folder = FindFolder(base, {&name, 1});
    if (!folder.exists) return refuseOnDisk(folder);
    Log(kLogDebug, tag(), "ParseRequest: Path on disk = %s", folder.path.c_str());
    Log(kLogInfo, tag(), "ParseRequest: [%s] requested [%s]'s public %s folder", account_.c_str(),
        target_.owner.c_str(), kind.logWord);
    return takeFolder(folder);
}

template <typename Exists>
FolderReading PathResolver::readSegments(Segments segments, SegmentForm form,
                                         const Exists& exists) const {
    if (request_.Method() != "DELETE") return ReadSegments(segments, form);
    std::vector<FolderReading> readings = ReadSegmentsForDelete(segments, form);
    const auto found = std::ranges::find_if(readings, [&](const FolderReading& reading) {
        return reading.folder.empty() || exists(reading.folder);
    });
    return found == readings.end() ? readings.front() : *found;
}

PathResolver::Place PathResolver::placeOf(const StoreAccount& user, Segments names) const {
    if (names[0].starts_with(kPublicSegment)) {
        return {Place::Scope::kPublic, std::string(kPublicOwner), PublicFoldersDirectory(),
                names.subspan(1), PublicFoldersEnabled() ? nullptr : kPublicOff};
    }
    if (!names[0].starts_with(kSharedSegment))
        return {Place::Scope::kUser, target_.owner, user.MailDirectory(), names, nullptr};

    const char* refusal = SharedFoldersEnabled() ? nullptr : kSharedOff;
    const Segments shared = names.subspan(1);
    // Behind it stand the owner and the folder, as in the hrefs that are handed out, or the folder
    // alone, which then is one of the user already named.
    if (refusal == nullptr && shared.size() > kUserSegments) {
        const std::string address = addressOf(shared);
        const StoreAccount owner = request_.AccountOf(address);
        if (owner.valid()) {
            return {Place::Scope::kShared, address, owner.MailDirectory(),
                    shared.subspan(kUserSegments), refusal};
        }
    }
    return {Place::Scope::kShared, target_.owner, user.MailDirectory(), shared, refusal};
}

int32_t PathResolver::takeSharedFolder(const FolderPath& folder) {
    if (!folder.exists) return refuseOnDisk(folder);
    Log(kLogDebug, tag(), "ParseRequest: Path on disk = %s", folder.path.c_str());
    return takeTypedFolder(folder);
}

int32_t PathResolver::takePublicFolder(const FolderPath& folder) {
    if (!folder.exists) return refuseOnDisk(folder);
    Log(kLogDebug, tag(), "ParseRequest: Path on disk = %s", folder.path.c_str());
    const ItemKind* kind = typeOf(folder);
    if (kind == nullptr) return refuse(kInvalidPath);
    Log(kLogInfo, tag(), "ParseRequest: [%s] requested public %s folder [%s]", account_.c_str(),
        kind->logWord, folder.relative.c_str());
    target_.kind = kind->folderType;
    return takeFolder(folder);
}

int32_t PathResolver::takeTypedFolder(const FolderPath& folder) {
    if (!folder.exists) return takeFolder(folder);
    const ItemKind* kind = typeOf(folder);
    if (kind == nullptr) return refuse(kInvalidPath);
    logUserFolder(folder, *kind);
    target_.kind = kind->folderType;
    return takeFolder(folder);
}

int32_t PathResolver::takeFolder(const FolderPath& folder) {
    if (!folder.exists) {
        Log(kLogError, tag(), "ParseRequest: Requested folder does not exist [%s]",
            folder.path.c_str());
        return refuse(kInvalidPath);
    }
    target_.folderPath = folder.path;
    target_.folderName = folder.relative;
    return 0;
}

void PathResolver::takeDefaultFolder(const ItemKind& kind, const StoreAccount& user) {
    char path[STORE_PATH_SIZE] = {};
    kind.operations.defaultFolder(user.handle(), path);
    path[sizeof path - 1] = '\0';
    target_.folderPath = path;
    if (target_.folderPath.ends_with('\\')) target_.folderPath.pop_back();
    target_.folderName = bareLastName(target_.folderPath);
}

const ItemKind* PathResolver::typeOf(const FolderPath& folder) const {
    const std::string folderClass = platform::readProfileText(
        folder.path + "\\hiwater.mrk", "GroupWare", "FolderClass", "", kFolderClassSize);
    const ItemKind* kind = KindOfFolderType(folderClass);
    if (kind == nullptr) {
        Log(kLogError, tag(), "ParseRequest: Requested folder [%s] is of unsupported type [%s]",
            folder.relative.c_str(), folderClass.c_str());
    }
    return kind;
}

void PathResolver::logUserFolder(const FolderPath& folder, const ItemKind& kind) const {
    Log(kLogInfo, tag(), "ParseRequest: [%s] requested [%s]'s [%s] %s folder", account_.c_str(),
        target_.owner.c_str(), folder.relative.c_str(), kind.logWord);
}

void PathResolver::logUnknown(const std::string& address) const {
    Log(kLogError, tag(), "ParseRequest: Account does not exist [%s]", address.c_str());
}

int32_t PathResolver::refuse(const char* detail) {
    request_.SendHttpError(404, "Not Found", detail);
    return -1;
}

int32_t PathResolver::refuseOnDisk(const FolderPath& folder) {
    Log(kLogError, tag(), "ParseRequest: Requested folder does not exist [%s]",
        folder.relative.c_str());
    Log(kLogError, tag(), "ParseRequest: Path on disk = %s", folder.path.c_str());
    return refuse(kInvalidPath);
}

}  // namespace webdav
