#include "admin/Commands.h"
#include "admin/FolderListing.h"
#include "admin/Session.h"

namespace admin {

void addUserFolder(Session& session, const Arguments& arguments) {
    require(groupware::addFolder(session.engine(), arguments.address, kindOfWord(arguments.kind),
                                 arguments.folder));
}

void listFolders(Session& session, const Arguments& arguments) {
    const groupware::AccountRow owner = session.account(arguments.address);
    if (arguments.json) {
        printJson(foldersAsJson(session.engine(), owner));
    } else {
        printFolders(session.engine(), owner);
    }
}

}  // namespace admin
