#include "admin/Commands.h"
#include "admin/FolderUrl.h"
#include "admin/Output.h"
#include "admin/Session.h"
#include "groupware/engine/AccessToken.h"

namespace admin {

void manageToken(Session& session, const Arguments& arguments) {
    groupware::Engine& engine = session.engine();
    const groupware::AccountRow owner = session.account(arguments.address);
    const groupware::FolderRow folder = session.folder(arguments.address, arguments.folder);
    if (arguments.revoke) {
        require(groupware::removeAccessToken(engine, owner, folder.name));
        return;
    }
    std::string token;
    require(groupware::makeAccessToken(engine, owner, folder.name, token));

    const std::string query = "?token=" + queryEncoded(token);
    const std::string path = folderUrlPath(owner, folder);
    const bool isCalendar = folder.kind == groupware::ItemKind::kEvent;
    const std::string whole = path + "calendar.ics" + query;
    if (arguments.json) {
        Json value = {{"token", token}, {"url", path + query}};
        if (isCalendar) value["calendarUrl"] = whole;
        printJson(value);
        return;
    }
    std::vector<std::vector<std::string>> rows = {{"Token", token}, {"Folder", path + query}};
    if (isCalendar) rows.push_back({"Whole calendar", whole});
    printColumns(rows);
}

}  // namespace admin
