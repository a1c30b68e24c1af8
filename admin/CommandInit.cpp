#include <iostream>

#include "admin/Commands.h"
#include "admin/Session.h"
#include "platform/DynamicLibrary.h"

namespace admin {

void initDirectory(Session& session, const Arguments& arguments) {
    require(groupware::initDataDirectory(session.paths(), arguments.domain,
                                         platform::libraryDirectory()));
    std::cout << "Made the data directory " << session.typedDirectory() << " with the domain "
              << arguments.domain << ".\n";
}

}  // namespace admin
