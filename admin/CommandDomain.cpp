#include <iostream>

#include "admin/Commands.h"
#include "admin/Output.h"
#include "admin/Session.h"

namespace admin {

void addDomain(Session& session, const Arguments& arguments) {
    require(groupware::addDomain(session.engine(), arguments.domain));
}

void listDomains(Session& session, const Arguments& arguments) {
    const std::vector<std::string> domains = session.engine().database().domains();
    if (arguments.json) {
        printJson(Json(domains));
        return;
    }
    for (const std::string& domain : domains) std::cout << domain << '\n';
}

}  // namespace admin
