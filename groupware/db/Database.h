// The one door to the database: every question and every change that the groupware asks of it.
//
// All SQL stands behind this interface, so that another database can take SQLite's place. Reads may
// be called from any thread and see what has been committed. Changes are made within a
// WriteTransaction, of which one is open at a time over all processes. All rows are keyed by their
// account first; the public folders belong to account 0.
//
// A database that fails (disk, lock, damage) raises DatabaseError; "not there" is an empty result.
#pragma once

#include <compare>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "platform/LocalTime.h"

namespace groupware {

inline constexpr int64_t kPublicAccount = 0;
/// The grantee of a public folder's grant that is for everybody.
inline constexpr int64_t kAnyone = kPublicAccount;

/// The three kinds of folders and items; the values stand in the database.
enum class ItemKind : uint8_t { kEvent = 1, kTask = 2, kContact = 3 };

class DatabaseError : public std::runtime_error {
  public:
    DatabaseError(const std::string& what, bool busy) : std::runtime_error(what), busy_(busy) {}
    bool busy() const { return busy_; }  ///< another process held the database for too long

  private:
    bool busy_;
};

struct AccountRow {
    int64_t id = -1;
    std::string address;  ///< mailbox@domain, lower case
    std::string fullName;
    std::string passwordHash;
    bool disabled = false;
    bool frozen = false;
    bool mustChangePassword = false;
    int64_t passwordExpiresMs = 0;  ///< UTC; 0 = never
    bool publishesBusyTime = true;  ///< to whoever asks for free and busy times
    int64_t passwordSetMs = 0;      ///< UTC; 0 = before this was kept
    int64_t passwordDays = 0;       ///< how long a password is good; 0 = for ever
};

struct FolderKey {
    int64_t account = -1;
    int64_t folder = -1;

    friend auto operator<=>(const FolderKey&, const FolderKey&) = default;
};

struct FolderRow {
    FolderKey key;
    std::string name;  ///< UTF-8, levels divided by "/": Work/Project
    ItemKind kind = ItemKind::kEvent;
    bool isDefault = false;
    int64_t stampMs = 0;  ///< UTC; moves forward with every change in the folder
    /// Lets its bearer read the folder without a login; empty for none. Not set as long as only the
    /// folder's class file tells.
    std::optional<std::string> token;
};

/// What somebody may do in a folder of another account, or in a public one. A grant is for that
/// folder alone, not for those below it; it goes when the folder or the grantee does.
struct GrantRow {
    FolderKey folder;
    int64_t grantee = kAnyone;  ///< an account
    std::string address;        ///< of the grantee; empty for kAnyone
    uint32_t rights = 0;        ///< an OR of STORE_RIGHT_...
};

/// The time in which an item can lie, UTC milliseconds. An item without end in sight, or whose
/// times float, is given room enough; whether it really lies in a range its text decides.
struct ItemSpan {
    int64_t firstStartMs = INT64_MIN;
    int64_t lastEndMs = INT64_MAX;
    bool exact = false;  ///< one occurrence in UTC: the span alone decides

    friend bool operator==(const ItemSpan&, const ItemSpan&) = default;
};

/// What a listing needs of an item.
struct ItemRow {
    int64_t number = 0;      ///< within its folder, never used again
    int64_t modifiedMs = 0;  ///< UTC; unlike that of any other item or change in the folder
    std::string uid;
    std::string identifier;  ///< contacts: a text naming the item; empty otherwise
};

struct StoredItem {
    ItemRow row;
    ItemSpan span;
    std::string text;  ///< as the client wrote it, unless the store has changed the item since
};

/// An item without its text, as those know it who keep a folder's contents in mind.
struct ItemHead {
    ItemRow row;
    ItemSpan span;
};

/// Tells states of a folder's contents apart; the default is a folder of which nothing is known.
struct FolderState {
    int64_t stampMs = INT64_MIN;
    int64_t deletions = 0;  ///< that there have ever been

    friend bool operator==(const FolderState&, const FolderState&) = default;
};

/// The states of a folder before and after one change.
struct FolderStep {
    FolderState before;
    FolderState after;
};

/// An item as a change has left it.
struct ItemChange : ItemRow {
    FolderStep step;
};

/// The way from one state of a folder to a later one.
struct FolderChanges {
    FolderState now;
    bool whole = false;             ///< `changed` is all there is; what was known before is void
    std::vector<ItemHead> changed;  ///< in the order of their changes
    std::vector<int64_t> deleted;   ///< numbers, of items that may not have been known
};

struct NewItem {
    std::string_view uid;
    std::string_view text;
    std::string_view identifier;
    ItemSpan span;
};

/// Something in the database that is not as every change leaves it.
struct DatabaseFault {
    std::string what;
    bool mendable = false;
};

/// How far a long run has come. May raise, which ends the run.
using ProgressCall = std::function<void(uint64_t done, uint64_t total)>;

/// The database as it was at one moment, whatever is changed meanwhile.
class DatabaseSnapshot {
  public:
    virtual ~DatabaseSnapshot() = default;
    /// Into a new file; raises DatabaseError, too, when the database is damaged.
    virtual void copyTo(std::string_view path, const ProgressCall& progress) = 0;
};

/// One change of the database: all of it, durably, at commit(), or nothing when it is dropped or
/// commit() raises.
class WriteTransaction {
  public:
    virtual ~WriteTransaction() = default;

    virtual void addDomain(std::string_view domain) = 0;
    /// The new account's id; its default folders are the caller's to add.
    virtual int64_t addAccount(const AccountRow& account) = 0;
    virtual void updateAccount(const AccountRow& account) = 0;
    virtual void removeAccount(int64_t account) = 0;
    virtual void addAlias(std::string_view alias, int64_t account) = 0;
    virtual void removeAlias(std::string_view alias) = 0;
    virtual FolderKey addFolder(int64_t account, std::string_view name, ItemKind kind,
                                bool isDefault) = 0;
    virtual void renameFolder(FolderKey folder, std::string_view name) = 0;
    /// With its items and grants.
    virtual void removeFolder(FolderKey folder) = 0;
    virtual void setToken(FolderKey folder, std::string_view token) = 0;
    /// In the place of the rights that the grantee had there.
    virtual void setGrant(FolderKey folder, int64_t grantee, uint32_t rights) = 0;
    /// False when there is no such grant.
    virtual bool removeGrant(FolderKey folder, int64_t grantee) = 0;

    /// The following three give the item (and the folder) a new stamp: later than every stamp the
    /// folder has given before, and not before the clock.
    virtual ItemChange insertItem(FolderKey folder, const NewItem& item) = 0;
    /// Nothing when there is no such item.
    virtual std::optional<ItemChange> updateItem(FolderKey folder, int64_t number,
                                                 const NewItem& item) = 0;
    /// Nothing when there is no such item.
    virtual std::optional<FolderStep> deleteItem(FolderKey folder, int64_t number) = 0;

    /// Reads within the transaction, for changes that depend on what is there.
    virtual std::optional<int64_t> itemNumber(FolderKey folder, std::string_view uid) = 0;
    virtual std::optional<StoredItem> item(FolderKey folder, int64_t number) = 0;

    /// Mends the faults that can be.
    virtual void mendFaults() = 0;

    virtual void commit() = 0;
};

class Database {
  public:
    virtual ~Database() = default;

    virtual std::vector<std::string> domains() = 0;
    virtual std::optional<AccountRow> account(std::string_view address) = 0;
    virtual std::optional<AccountRow> accountById(int64_t id) = 0;
    /// By address or, when there is no such account, by alias.
    virtual std::optional<AccountRow> accountByAlias(std::string_view address) = 0;
    virtual std::vector<AccountRow> accounts() = 0;
    virtual std::vector<std::string> aliases(int64_t account) = 0;
    /// Grows with every change to the account's folders and items. Nothing when there is no such
    /// account; also for kPublicAccount.
    virtual std::optional<int64_t> accountVersion(int64_t id) = 0;

    virtual std::vector<FolderRow> folders(int64_t account) = 0;
    /// Names match without regard to ASCII case.
    virtual std::optional<FolderRow> folder(int64_t account, std::string_view name) = 0;
    virtual std::optional<FolderRow> defaultFolder(int64_t account, ItemKind kind) = 0;
    /// The folder with that directory, found as told when it is not known from before: all that it
    /// takes must be the directory and what stands in the database.
    virtual std::optional<FolderRow> folderOfDirectory(
        std::string_view directory, const std::function<std::optional<FolderRow>()>& find) = 0;

    /// On the account's folders, in the order of folders and addresses.
    virtual std::vector<GrantRow> grantsOn(int64_t account) = 0;
    /// To that grantee, in the order of accounts and folders.
    virtual std::vector<GrantRow> grantsTo(int64_t grantee) = 0;
    /// 0 when nothing is granted.
    virtual uint32_t grantedRights(FolderKey folder, int64_t grantee) = 0;

    virtual size_t itemCount(FolderKey folder) = 0;
    virtual size_t itemCount() = 0;  ///< of all folders
    /// In the order of their numbers. May return more than itemCount() told just before.
    virtual std::vector<ItemRow> items(FolderKey folder) = 0;
    /// Items whose span touches the range (start before toMs, end after fromMs), each handed over
    /// with its text only when its span is not exact.
    virtual void itemsInSpan(FolderKey folder, int64_t fromMs, int64_t toMs,
                             const std::function<void(StoredItem&&)>& each) = 0;
    /// Every item with its text, in the order of their numbers.
    virtual void eachItem(FolderKey folder, const std::function<void(StoredItem&&)>& each) = 0;
    /// What has changed since a state that was told before; nothing when there is no such folder.
    virtual std::optional<FolderChanges> changesSince(FolderKey folder,
                                                      const FolderState& since) = 0;
    virtual std::optional<StoredItem> item(FolderKey folder, int64_t number) = 0;
    virtual std::optional<StoredItem> itemByIdentifier(FolderKey folder,
                                                       std::string_view identifier) = 0;
    virtual std::optional<int64_t> itemNumber(FolderKey folder, std::string_view uid) = 0;

    /// All that was committed before can be read by everybody, and nothing else changes meanwhile.
    virtual std::unique_ptr<WriteTransaction> begin() = 0;
    /// For a change that rests on what it reads within itself alone: it reaches the disk together
    /// with those that other threads make at the same time. What it reads may be theirs and not be
    /// on disk yet, so even one that finds nothing to do is committed before anybody is told.
    virtual std::unique_ptr<WriteTransaction> beginGrouped() = 0;

    /// Reads the whole file.
    virtual std::vector<DatabaseFault> faults() = 0;
    virtual std::unique_ptr<DatabaseSnapshot> snapshot() = 0;
};

/// UTC milliseconds since 1970; what stamps follow.
using Clock = std::function<int64_t()>;

/// Opens the embedded database, making it when create is set. The path is by the product's rule.
std::unique_ptr<Database> openSqliteDatabase(std::string_view path, bool create,
                                             Clock clock = platform::nowUtcMs);

}  // namespace groupware
