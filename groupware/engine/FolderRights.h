// What an account may do in which folder, and which folders of others it may read.
//
// Asked by the store libraries for each request, and answered from the database each time, so that
// a grant counts from the next request on. Safe from every thread; raises DatabaseError.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "groupware/engine/Engine.h"

namespace groupware {

/// The rights, an OR of STORE_RIGHT_..., of the account of that address in the folder whose
/// directory that is: all in its own folders, in others those granted to it, in public folders with
/// those granted to everybody. A name that is no account, such as "guest", may read where everybody
/// may, and nothing else.
uint32_t rightsInFolder(Engine& engine, std::string_view directory, std::string_view accountName);
/// The same; none in folders that are not public.
uint32_t rightsInPublicFolder(Engine& engine, std::string_view directory,
                              std::string_view accountName);

struct OwnedFolder {
    AccountRow owner;
    FolderRow folder;
};

/// Folders of other accounts that the account may read; none while these are switched off. Their
/// directories are up to date.
std::vector<OwnedFolder> sharedFolders(Engine& engine, const AccountRow& account);
/// Public folders that the account may read, on the same terms.
std::vector<OwnedFolder> publicFolders(Engine& engine, const AccountRow& account);

}  // namespace groupware
