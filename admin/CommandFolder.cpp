#include "admin/Commands.h"
#include "admin/FolderListing.h"
#include "admin/Session.h"

namespace admin {

void addUserFolder(Session& session, const Arguments& arguments) {
    require(groupware::addFolder(session.engine(), arguments.address, kindOfWord(arguments.kind),
                                 arguments.folder));
}

void listFolders(Session& session, const Arguments& arguments) {
    const int64_t account = session.account(arguments.address).id;
    groupware::Database& database = session.engine().database();
    if (arguments.json) {
        printJson(foldersAsJson(database, account));
    } else {
        printFolders(database, account);
    }
}

}  // namespace admin
