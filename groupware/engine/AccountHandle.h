// What stands behind a StoreUserHandle: an account as it was when it was asked for.
//
// Both store libraries make and read these; a handle is given back once, with CV_GetFree.
#pragma once

#include <memory>
#include <string>

#include "abi/StoreTypes.h"
#include "groupware/db/Database.h"

namespace groupware {

struct AccountHandle {
    AccountRow account;
    std::string mailDirectory;  ///< with a closing backslash
};

inline StoreUserHandle handOut(std::unique_ptr<AccountHandle> account) {
    return reinterpret_cast<uintptr_t>(account.release());
}

/// Null for a handle that stands for no account.
inline const AccountHandle* behind(StoreUserHandle handle) {
    if (handle == STORE_NO_USER) return nullptr;
    return reinterpret_cast<const AccountHandle*>(static_cast<uintptr_t>(handle));
}

inline void takeBack(StoreUserHandle handle) {
    const std::unique_ptr<const AccountHandle> account(behind(handle));
}

}  // namespace groupware
