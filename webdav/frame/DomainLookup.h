// Which domain a user name without "@" belongs to: that of the address and name the client used.
//
// Reads the store's domain file anew at each call; safe from every thread.
#pragma once

#include <string>
#include <string_view>

namespace webdav {

/// The server's name is looked for first, among the default domain's and those of the domain file,
/// then its address; what matches none belongs to the default domain.
std::string LookUpDomain(std::string_view serverAddress, std::string_view serverName);

}  // namespace webdav
