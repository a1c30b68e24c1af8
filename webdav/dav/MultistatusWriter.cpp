#include "webdav/dav/MultistatusWriter.h"

#include <string>

#include "webdav/dav/Namespaces.h"
#include "webdav/frame/ISAPIRequest.h"

namespace DAV {

namespace {

webdav::PrefixMap prefixes() {
    return {
        {std::string(kDav), "D"},
        {std::string(kCalDav), "C"},
        {std::string(kCalendarServer), "CS"},
        {std::string(kCardDav), "card"},
    };
}

std::string statusLine(uint16_t status) {
    std::string line = "HTTP/1.1 ";
    line += std::to_string(status);
    line += ' ';
    return line += webdav::ISAPIRequest::StatusText(status);
}

}  // namespace

MultistatusWriter::MultistatusWriter(bool brief) : brief_(brief), document_(prefixes()) {
    document_.open(kDav, "multistatus");
}

void MultistatusWriter::write(const ResponseRecord& response) {
    writeResponse(response, brief_);
}

std::string MultistatusWriter::takeText() {
    document_.close();
    return document_.takeText();
}

void MultistatusWriter::writeResponse(const ResponseRecord& response, bool brief) {
    document_.markup("<D:response>");
    document_.element(kDav, "href", response.href);
    for (const PropStatRecord& propstat : response.propstats)
        if (!brief || propstat.status != 404) writePropStat(propstat);
    document_.markup("</D:response>");
}

void MultistatusWriter::writePropStat(const PropStatRecord& propstat) {
    document_.markup("<D:propstat>");
    document_.open(kDav, "prop");
    for (const PropertyRecord& property : propstat.properties) writeElement(property);
    document_.close();
    if (propstat.status == 200) {
        document_.markup("<D:status>HTTP/1.1 200 OK</D:status>");
    } else {
        document_.element(kDav, "status", statusLine(propstat.status));
    }
    document_.markup("</D:propstat>");
}

void MultistatusWriter::writeElement(const ElementRecord& element) {
    // What a client asks for may have a name that no document can hold.
    if (!document_.open(element.namespaceUri, element.name)) return;
    for (const auto& [name, value] : element.attributes) document_.attribute(name, value);
    for (const ElementRecord& child : element.children) writeElement(child);
    for (const ResponseRecord& nested : element.responses) writeResponse(nested, false);
    if (element.children.empty() && element.responses.empty()) document_.content(element.text);
    document_.close();
}

}  // namespace DAV
