#include "webdav/store/StoreHandles.h"

#include "webdav/store/ItemKind.h"

namespace webdav {

namespace {

/// What an operation wrote into a buffer of that size; cut there, should it have filled it whole.
template <size_t kSize>
std::string filledText(void (*operation)(StoreUserHandle, char*), StoreUserHandle user) {
    char buffer[kSize] = {};
    operation(user, buffer);
    buffer[kSize - 1] = '\0';
    return buffer;
}

}  // namespace

StoreAccount StoreAccount::ByEmail(const std::string& address) {
    return StoreAccount(store().CV_GetByEmail(address.c_str()));
}

StoreAccount StoreAccount::ByAlias(const std::string& address) {
    return StoreAccount(store().CV_GetByAlias(address.c_str(), ""));
}

StoreAccount::~StoreAccount() {
    if (valid() && !lent_) store().CV_GetFree(handle_);
}

std::string StoreAccount::Email() const {
    return filledText<STORE_ADDRESS_SIZE>(store().CV_GetEmail, handle_);
}

const std::string& StoreAccount::MailDirectory() const {
    if (mailDirectory_) return *mailDirectory_;
    mailDirectory_ = filledText<STORE_PATH_SIZE>(store().CV_GetMailDir, handle_);
    // Rights are judged by this prefix: without its end, "bob" would begin "bobby".
    if (!mailDirectory_->empty() && mailDirectory_->back() != '\\') *mailDirectory_ += '\\';
    return *mailDirectory_;
}

std::string StoreAccount::FullName() const {
    return filledText<STORE_NAME_SIZE>(store().CV_GetFullName, handle_);
}

StoreText::~StoreText() {
    if (text_ != nullptr) store().CV_GWDeletePointer(text_);
}

StoreFolderList::StoreFolderList(const StoreAccount& account, uint32_t listKind) {
    listed_ = store().CV_GetIMAPFolderList(account.handle(), listKind, &folders_, &count_) != 0;
    if (!listed_ || folders_ == nullptr) count_ = 0;
}

StoreFolderList::~StoreFolderList() {
    void* holder = folders_;
    if (listed_) store().CV_DeletePointer(folders_, &holder);
}

ItemRecord::ItemRecord(const ItemKind& kind) : kind_(kind) {
    (store().*kind_.operations.init)(&item_);
}

ItemRecord::~ItemRecord() {
    (store().*kind_.operations.free)(&item_);
}

ItemRecords::~ItemRecords() {
    Release(0);
}

void ItemRecords::Renew(size_t count) {
    Release(0);
    // The operation prepares a record whatever its memory held.
    items_ = std::make_unique_for_overwrite<StoreItem[]>(count);
    const auto init = store().*kind_.operations.init;
    for (; count_ < count; ++count_) init(&items_[count_]);
}

void ItemRecords::Shrink(size_t count) {
    if (count < count_) Release(count);
}

void ItemRecords::Release(size_t from) {
    const auto free = store().*kind_.operations.free;
    while (count_ > from) free(&items_[--count_]);
}

}  // namespace webdav
