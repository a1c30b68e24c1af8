#include <iostream>

#include "admin/Commands.h"
#include "admin/FolderListing.h"
#include "admin/Session.h"
#include "groupware/engine/Folders.h"

namespace admin {

namespace {

/// "Work with 2 folders below it and 12 items"
std::string withContents(const std::string& name, const groupware::Contents& contents) {
    std::string text = name;
    if (contents.folders > 1) {
        text += " with " + countOf(contents.folders - 1, "folder") + " below it and ";
    } else {
        text += " with ";
    }
    return text + countOf(contents.items, "item");
}

void removeFolder(Session& session, const groupware::AccountRow& owner,
                  const Arguments& arguments) {
    groupware::Engine& engine = session.engine();
    const auto folders = groupware::foldersFrom(engine, owner.id, arguments.folder);
    if (folders.empty()) throw CommandError(groupware::noFolder(owner, arguments.folder));
    const std::string all =
        withContents(folders.front().name, groupware::contentsOf(engine, folders));
    Session::confirm("Remove " + all + "?", arguments.yes);
    require(groupware::removeFolder(engine, owner, arguments.folder));
    std::cout << "Removed " << all << ".\n";
}

}  // namespace

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

void renameUserFolder(Session& session, const Arguments& arguments) {
    require(groupware::renameFolder(session.engine(), arguments.address, arguments.folder,
                                    arguments.newName));
}

void removeUserFolder(Session& session, const Arguments& arguments) {
    removeFolder(session, session.account(arguments.address), arguments);
}

void removePublicFolder(Session& session, const Arguments& arguments) {
    removeFolder(session, session.publicAccount(), arguments);
}

}  // namespace admin
