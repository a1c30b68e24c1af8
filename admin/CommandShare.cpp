#include <iostream>

#include "admin/Commands.h"
#include "admin/FolderListing.h"
#include "admin/Rights.h"
#include "admin/Session.h"
#include "groupware/engine/Settings.h"
#include "groupware/engine/Sharing.h"

namespace admin {

namespace {

/// The command line has let no other list through.
uint32_t rightsOf(const Arguments& arguments) {
    return rightsOfList(arguments.rights).value_or(0);
}

}  // namespace

void shareFolder(Session& session, const Arguments& arguments) {
    require(groupware::shareFolder(session.engine(), arguments.address, arguments.folder,
                                   arguments.grantee, rightsOf(arguments)));
}

void unshareFolder(Session& session, const Arguments& arguments) {
    require(groupware::unshareFolder(session.engine(), arguments.address, arguments.folder,
                                     arguments.grantee));
}

void addPublicFolder(Session& session, const Arguments& arguments) {
    require(
        groupware::addPublicFolder(session.engine(), kindOfWord(arguments.kind), arguments.folder));
    if (groupware::publicFoldersEnabled(session.paths())) return;
    if (!groupware::enablePublicFolders(session.paths())) {
        throw CommandError("the folder is made, but public folders are off and could not be " +
                           std::string("switched on; set EnablePublicFolders in Corvane.ini to 1"));
    }
    std::cout << "Public folders were off; they are on now (EnablePublicFolders in Corvane.ini).\n";
}

void grantPublicFolder(Session& session, const Arguments& arguments) {
    require(groupware::grantPublicFolder(session.engine(), arguments.folder, arguments.grantee,
                                         rightsOf(arguments)));
}

void revokePublicFolder(Session& session, const Arguments& arguments) {
    require(groupware::revokePublicFolder(session.engine(), arguments.folder, arguments.grantee));
}

void listPublicFolders(Session& session, const Arguments& arguments) {
    const groupware::AccountRow owner = session.publicAccount();
    if (arguments.json) {
        printJson(foldersAsJson(session.engine(), owner));
    } else {
        printFolders(session.engine(), owner);
    }
}

}  // namespace admin
