// Guards for what the store hands out: accounts, texts, folder lists, item records.
//
// Each gives back what it holds when it goes, exceptions included; no code path releases by hand.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "webdav/store/StoreOperations.h"

namespace webdav {

/// An account handle of the store, given back with CV_GetFree.
class StoreAccount {
  public:
    static StoreAccount ByEmail(const std::string& address);
    static StoreAccount ByAlias(const std::string& address);

    StoreAccount(StoreAccount&& other) noexcept
        : handle_(std::exchange(other.handle_, STORE_NO_USER)),
          lent_(other.lent_),
          mailDirectory_(std::move(other.mailDirectory_)) {}
    StoreAccount& operator=(StoreAccount&&) = delete;
    StoreAccount(const StoreAccount&) = delete;
    ~StoreAccount();

    /// The same account for somebody who is gone before this is.
    StoreAccount Lent() const { return StoreAccount(handle_, true, mailDirectory_); }

    /// False when there is no such account; nothing else may be asked then.
    bool valid() const { return handle_ != STORE_NO_USER; }
    StoreUserHandle handle() const { return handle_; }

    std::string Email() const;
    /// With a closing backslash; asked for once.
    const std::string& MailDirectory() const;
    std::string FullName() const;

  private:
    explicit StoreAccount(StoreUserHandle handle, bool lent = false,
                          std::optional<std::string> mailDirectory = {})
        : handle_(handle), lent_(lent), mailDirectory_(std::move(mailDirectory)) {}

    StoreUserHandle handle_;
    bool lent_;  ///< another one gives it back
    mutable std::optional<std::string> mailDirectory_;
};

/// A text handed out through an out-pointer, given back with CV_GWDeletePointer.
class StoreText {
  public:
    StoreText() = default;
    StoreText(const StoreText&) = delete;
    StoreText& operator=(const StoreText&) = delete;
    ~StoreText();

    /// For the out-pointer of one store operation.
    char** out() { return &text_; }
    bool present() const { return text_ != nullptr; }
    std::string_view view() const {
        return text_ == nullptr ? std::string_view() : std::string_view(text_);
    }

  private:
    char* text_ = nullptr;
};

/// The folders of one list kind; empty when the store has none to give.
class StoreFolderList {
  public:
    StoreFolderList(const StoreAccount& account, uint32_t listKind);
    StoreFolderList(const StoreFolderList&) = delete;
    StoreFolderList& operator=(const StoreFolderList&) = delete;
    ~StoreFolderList();

    const StoreFolderRecord* begin() const { return folders_; }
    const StoreFolderRecord* end() const { return folders_ + count_; }

  private:
    StoreFolderRecord* folders_ = nullptr;
    uint32_t count_ = 0;
    bool listed_ = false;
};

struct ItemKind;

/// One item record of a kind, prepared and released by the kind's operations.
class ItemRecord {
  public:
    explicit ItemRecord(const ItemKind& kind);
    ItemRecord(const ItemRecord&) = delete;
    ItemRecord& operator=(const ItemRecord&) = delete;
    ~ItemRecord();

    StoreItem* get() { return &item_; }
    StoreItem* operator->() { return &item_; }
    const StoreItem& operator*() const { return item_; }

  private:
    const ItemKind& kind_;
    StoreItem item_{};
};

/// The record array of a listing.
class ItemRecords {
  public:
    explicit ItemRecords(const ItemKind& kind) : kind_(kind) {}
    ItemRecords(const ItemRecords&) = delete;
    ItemRecords& operator=(const ItemRecords&) = delete;
    ~ItemRecords();

    /// Releases what is held and prepares that many fresh records.
    void Renew(size_t count);
    /// Keeps the first records only.
    void Shrink(size_t count);

    StoreItem* data() { return items_.get(); }
    size_t size() const { return count_; }
    const StoreItem* begin() const { return items_.get(); }
    const StoreItem* end() const { return items_.get() + count_; }

  private:
    void Release(size_t from);

    const ItemKind& kind_;
    std::unique_ptr<StoreItem[]> items_;
    size_t count_ = 0;
};

}  // namespace webdav
