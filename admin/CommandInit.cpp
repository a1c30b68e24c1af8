#include <iostream>

#include "admin/Commands.h"
#include "admin/Session.h"
#include "platform/DynamicLibrary.h"

namespace admin {

namespace {

/// Programs stand in bin, the store libraries in lib beside it.
std::string libraryDirectory() {
    std::string directory = platform::programDirectory();
    if (!directory.empty()) directory.pop_back();
    directory.erase(directory.find_last_of('\\') + 1);
    return directory + "lib";
}

}  // namespace

void initDirectory(Session& session, const Arguments& arguments) {
    require(groupware::initDataDirectory(session.paths(), arguments.domain, libraryDirectory()));
    std::cout << "Made the data directory " << session.typedDirectory() << " with the domain "
              << arguments.domain << ".\n";
}

}  // namespace admin
