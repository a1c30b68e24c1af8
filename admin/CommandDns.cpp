// The records of RFC 6764, by which a client that knows just an address finds its server.
#include <algorithm>
#include <iostream>

#include "admin/Commands.h"
#include "admin/Output.h"
#include "admin/Session.h"
#include "groupware/engine/Names.h"

namespace admin {

namespace {

/// Where the server sends clients that ask at its .well-known addresses.
constexpr const char* kContextPath = "/webdav/principals/";

struct Record {
    std::string name;
    const char* type;
    std::string data;
};

std::vector<Record> recordsOf(const std::string& domain, const std::string& host,
                              const std::string& port) {
    std::vector<Record> records;
    for (const std::string service : {"caldav", "carddav"}) {
        const std::string secure = "_" + service + "s._tcp." + domain + ".";
        records.push_back({secure, "SRV", "0 1 " + port + " " + host + "."});
        records.push_back({secure, "TXT", std::string("\"path=") + kContextPath + "\""});
        // Passwords must not travel in plain HTTP: the service is not to be had that way.
        records.push_back({"_" + service + "._tcp." + domain + ".", "SRV", "0 0 0 ."});
    }
    return records;
}

}  // namespace

void printDnsRecords(Session& session, const Arguments& arguments) {
    const std::string domain = groupware::lowerAscii(arguments.domain);
    std::string host = groupware::lowerAscii(arguments.host.empty() ? domain : arguments.host);
    if (host.ends_with('.')) host.pop_back();
    if (!groupware::isDomainName(host)) throw CommandError(arguments.host + " is no host name");
    const std::vector<std::string> hosted = session.engine().database().domains();
    if (std::ranges::find(hosted, domain) == hosted.end()) {
        throw CommandError("the domain " + domain +
                           " is not hosted here; \"cvadmin domain list\" shows the domains");
    }
    Json values = Json::array();
    std::vector<std::vector<std::string>> rows;
    for (const Record& record : recordsOf(domain, host, arguments.port)) {
        values.push_back({{"name", record.name}, {"type", record.type}, {"data", record.data}});
        rows.push_back({record.name, "IN", record.type, record.data});
    }
    if (arguments.json) return printJson(values);
    printColumns(rows);
}

}  // namespace admin
