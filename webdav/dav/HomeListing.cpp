#include "webdav/dav/HomeListing.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <span>
#include <vector>

#include "webdav/base/Text.h"
#include "webdav/dav/CollectionReponse.h"
#include "webdav/dav/Hrefs.h"
#include "webdav/log/Log.h"

namespace DAV {

using webdav::ItemKind;
using webdav::Log;
using webdav::store;
using webdav::StoreAccount;

namespace {

using PathOperation = decltype(&CV_ContactGetWhiteListFolder);

/// What a home lists, and where.
struct HomeDescription {
    const char* keyword;  ///< the URL segment of its collections' hrefs
    const char* unknownAccount;
    std::span<const ItemKind* const> kinds;  ///< of the folders it lists; the first is its own
    bool hasMailboxes;
    bool oneCollectionForMac;
};

constexpr const ItemKind* kCalendarHomeKinds[] = {&webdav::kCalendarKind, &webdav::kTaskKind};
constexpr const ItemKind* kAddressBookHomeKinds[] = {&webdav::kContactKind};

constexpr HomeDescription kCalendarHome = {"caldav", "CV_GetByEmail() failed for %s",
                                           kCalendarHomeKinds, true, false};
constexpr HomeDescription kAddressBookHome = {"carddav", "CV_GetByEmail unable to find %s",
                                              kAddressBookHomeKinds, false, true};

struct FolderListKind {
    uint32_t number;
    const char* logWord;
    FolderScope scope;
};

constexpr FolderListKind kFolderLists[] = {
    {STORE_FOLDERS_OWN, "Personal", FolderScope::kOwn},
    {STORE_FOLDERS_SHARED, "Shared", FolderScope::kShared},
    {STORE_FOLDERS_PUBLIC, "Public", FolderScope::kPublic},
};

template <size_t Size>
std::string textOf(const char (&field)[Size]) {
    return std::string(field, strnlen(field, Size));
}

std::string withoutClosingBackslash(std::string path) {
    if (path.ends_with('\\')) path.pop_back();
    return path;
}

/// Words that stand in a User-Agent one after another; an empty one stands anywhere.
using AgentPattern = std::array<std::string_view, 3>;

// The address book of the Mac shows one collection only.
constexpr AgentPattern kOneCollectionAgents[] = {
    {{"CFNetwork", "Darwin"}},
    {{"AddressBook", "CardDAVPlugin", "Mac_OS_X"}},
    {{"Mac OS X", "AddressBook"}},
};

bool matches(std::string_view userAgent, const AgentPattern& pattern) {
    for (const std::string_view word : pattern) {
        const size_t found = userAgent.find(word);
        if (found == userAgent.npos) return false;
        userAgent.remove_prefix(found + word.size());
    }
    return true;
}

bool showsOneCollection(std::string_view userAgent) {
    return std::any_of(std::begin(kOneCollectionAgents), std::end(kOneCollectionAgents),
                       [&](const AgentPattern& pattern) { return matches(userAgent, pattern); });
}

class HomeListing {
  public:
    HomeListing(PropFindResponseBase& response, webdav::WebDAVRequest& request,
                const PropFindRequest& propfind, const HomeDescription& home,
                const StoreAccount& account)
        : response_(response),
          request_(request),
          propfind_(propfind),
          home_(home),
          account_(account),
          address_(account.Email()),
          mailDirectory_(account.MailDirectory()) {}

    void run() {
        answerDefaultFolder(*home_.kinds.front());
        if (home_.hasMailboxes) {
            answerMailbox("caldav-inbox", CollectionRole::kInbox);
            answerMailbox("caldav-outbox", CollectionRole::kOutbox);
        }
        if (home_.oneCollectionForMac &&
            showsOneCollection(request_.Data().GetServerVar("HTTP_USER-AGENT"))) {
            Log(webdav::kLogInfo, request_.RequestTag(),
                "Mac OS X does not support multiple collections - Only the user's default "
                "contacts folder will be returned");
            return;
        }
        for (const ItemKind* kind : home_.kinds.subspan(1)) answerDefaultFolder(*kind);
        collectSendersFolders();
        for (const FolderListKind& list : kFolderLists) answerFolders(list);
    }

  private:
    std::string pathFrom(PathOperation operation) const {
        char path[STORE_PATH_SIZE] = {};
        operation(account_.handle(), path);
        return withoutClosingBackslash(path);
    }

    CollectionTarget target(const ItemKind& kind) const {
        CollectionTarget made{request_, kind};
        made.owner = request_.AccountNameForAccess();
        return made;
    }

    void answer(const CollectionTarget& collection, const std::string& href) {
        AnswerCollection(response_, propfind_, collection, href);
    }

    void answerDefaultFolder(const ItemKind& kind) {
        CollectionTarget folder = target(kind);
        folder.folderPath = pathFrom(kind.operations.defaultFolder);
        unlisted_.emplace_back(&kind, folder.folderPath);
        if (folder.folderPath.empty()) return;
        std::string name = folder.folderPath;
        if (webdav::StartsWithNoCase(name, mailDirectory_)) name.erase(0, mailDirectory_.size());
        folder.displayName = DisplayNameOf(name);
        answer(folder, CollectionHref(home_.keyword, address_, folder.displayName));
    }

    void answerMailbox(const char* keyword, CollectionRole role) {
        CollectionTarget mailbox = target(*home_.kinds.front());
        mailbox.role = role;
        answer(mailbox, UserHref(keyword, address_));
    }

    // The allowed and blocked senders' folders are no address books.
    void collectSendersFolders() {
        if (home_.kinds.front() != &webdav::kContactKind) return;
        unlisted_.emplace_back(&webdav::kContactKind,
                               pathFrom(store().CV_ContactGetWhiteListFolder));
        unlisted_.emplace_back(&webdav::kContactKind,
                               pathFrom(store().CV_ContactGetBlackListFolder));
    }

    bool isUnlisted(const ItemKind& kind, const std::string& path) const {
        return std::any_of(unlisted_.begin(), unlisted_.end(), [&](const auto& known) {
            return known.first == &kind && webdav::EqualsNoCase(known.second, path);
        });
    }

    void answerFolders(const FolderListKind& list) {
        const webdav::StoreFolderList folders(account_, list.number);
        for (const StoreFolderRecord& record : folders) {
            const ItemKind* kind = webdav::KindOfFolderType(textOf(record.folderClass));
            if (std::find(home_.kinds.begin(), home_.kinds.end(), kind) == home_.kinds.end())
                continue;
            answerFolder(list, *kind, record);
        }
    }

    void answerFolder(const FolderListKind& list, const ItemKind& kind,
                      const StoreFolderRecord& record) {
        const std::string listedName = textOf(record.imapName);
        CollectionTarget folder = target(kind);
        folder.scope = list.scope;
        folder.folderPath = withoutClosingBackslash(textOf(record.directory));
        std::string imapName = listedName;
        std::string prefix;
        if (list.scope == FolderScope::kShared) {
            // The name of a shared folder begins with its owner.
            const size_t ownerEnd = imapName.find('\\');
            if (ownerEnd == imapName.npos) return;
            folder.owner = imapName.substr(0, ownerEnd);
            imapName.erase(0, ownerEnd + 1);
            prefix = "~shared/" + std::string(DomainOf(folder.owner)) + "/" +
                     std::string(MailboxOf(folder.owner)) + "/";
        } else if (list.scope == FolderScope::kPublic) {
            folder.owner = webdav::kPublicOwner;
            prefix = "~public/";
        }
        folder.displayName = DisplayNameOf(imapName);
        Log(webdav::kLogDebug, request_.RequestTag(), "(%s) %s [%s]: %s", list.logWord,
            listedName.c_str(), folder.displayName.c_str(), kind.folderType);
        if (list.scope == FolderScope::kOwn && isUnlisted(kind, folder.folderPath)) return;
        answer(folder, CollectionHref(home_.keyword, address_, prefix + folder.displayName));
    }

    PropFindResponseBase& response_;
    webdav::WebDAVRequest& request_;
    const PropFindRequest& propfind_;
    const HomeDescription& home_;
    const StoreAccount& account_;
    std::string address_;
    std::string mailDirectory_;
    /// Folders that stand in the answer already, or are not to.
    std::vector<std::pair<const ItemKind*, std::string>> unlisted_;
};

}  // namespace

bool ListHome(PropFindResponseBase& response, webdav::WebDAVRequest& request,
              const PropFindRequest& propfind, const ItemKind& kind) {
    const HomeDescription& home = &kind == &webdav::kContactKind ? kAddressBookHome : kCalendarHome;
    const std::string address = request.AccountNameForAccess();
    const StoreAccount account = StoreAccount::ByEmail(address);
    if (!account.valid()) {
        Log(webdav::kLogError, request.RequestTag(), home.unknownAccount, address.c_str());
        return false;
    }
    HomeListing(response, request, propfind, home, account).run();
    return true;
}

}  // namespace DAV
