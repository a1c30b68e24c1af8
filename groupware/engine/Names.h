// Names of domains, accounts and folders: what is allowed, how they compare, and where they stand
// on disk.
//
// Pure functions. A name that passes here is safe as part of a path and short enough for every
// buffer of the store's interface.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "groupware/db/Database.h"

namespace groupware {

/// The address books of allowed and of blocked senders.
inline constexpr std::string_view kWhiteListName = "White List";
inline constexpr std::string_view kBlackListName = "Black List";

std::string lowerAscii(std::string_view text);
bool equalsIgnoringCase(std::string_view left, std::string_view right);

/// Valid UTF-8 without control characters.
bool isDisplayText(std::string_view text);
/// A host name of at least one label, lower or upper case.
bool isDomainName(std::string_view domain);
/// mailbox@domain, as long as an address may be.
bool isAddress(std::string_view address);

struct AddressParts {
    std::string_view mailbox;
    std::string_view domain;
};
/// Divided at the last "@"; the domain is empty when there is none.
AddressParts addressParts(std::string_view address);

/// A folder's whole name, levels divided by "/".
bool isFolderName(std::string_view name);
/// Work/Project as it stands below the account's directory: Work.IMAP\Project.IMAP.
std::string folderDirectoryName(std::string_view name);
/// The reverse; nothing when no folder could stand there.
std::optional<std::string> folderNameOf(std::string_view directoryName);

/// IPF.Appointment, IPF.Task or IPF.Contact.
const char* folderClass(ItemKind kind);
/// The name of the change marker in a folder of that kind.
const char* markerName(ItemKind kind);

}  // namespace groupware
