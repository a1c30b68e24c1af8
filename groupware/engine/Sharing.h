// How an administrator gives people rights in folders that are not their own.
//
// Used by cvadmin. Each call is one durable change or none; what cannot be done is told as a
// Problem. Addresses may be aliases. A grant is for the one folder, not for those below it, and
// counts from the next request on.
#pragma once

#include <cstdint>
#include <string_view>

#include "abi/StoreTypes.h"
#include "groupware/engine/Engine.h"
#include "groupware/engine/Problem.h"

namespace groupware {

/// Rights in a folder; what is granted is an OR of them.
inline constexpr uint32_t kReadRight = STORE_RIGHT_READ;
inline constexpr uint32_t kWriteRight = STORE_RIGHT_WRITE;
inline constexpr uint32_t kInsertRight = STORE_RIGHT_INSERT;
inline constexpr uint32_t kDeleteRight = STORE_RIGHT_DELETE;
inline constexpr uint32_t kAllRights = STORE_RIGHTS_ALL;

/// Stands for everybody in the place of an address.
inline constexpr std::string_view kAnyoneWord = "anyone";

/// Gives the grantee these rights in the place of those it had.
Problem shareFolder(Engine& engine, std::string_view owner, std::string_view folder,
                    std::string_view grantee, uint32_t rights);
Problem unshareFolder(Engine& engine, std::string_view owner, std::string_view folder,
                      std::string_view grantee);

/// The grantee is an address or kAnyoneWord.
Problem grantPublicFolder(Engine& engine, std::string_view folder, std::string_view grantee,
                          uint32_t rights);
Problem revokePublicFolder(Engine& engine, std::string_view folder, std::string_view grantee);

}  // namespace groupware
