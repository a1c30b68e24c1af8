#include "webdav/dav/MultistatusWriter.h"

#include <algorithm>

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

void MultistatusWriter::write(std::string_view href, std::span<const TextProperty> properties) {
    statuses_.clear();
    for (const TextProperty& property : properties) {
        const bool known = std::ranges::find(statuses_, property.status) != statuses_.end();
        if (!known) statuses_.push_back(property.status);
    }
    document_.markup("<D:response>");
    document_.element(kDav, "href", href);
    for (const uint16_t status : statuses_) {
        if (brief_ && status == 404) continue;
        document_.markup("<D:propstat>");
        document_.open(kDav, "prop");
        for (const TextProperty& property : properties)
            if (property.status == status)
                document_.element(property.namespaceUri, property.name, property.text);
        endPropStat(status);
    }
    document_.markup("</D:response>");
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
    for (const PropertyRecord& property : propstat.properties) writeProperty(property);
    endPropStat(propstat.status);
}

void MultistatusWriter::endPropStat(uint16_t status) {
    document_.close();
    if (status == 200) {
        document_.markup("<D:status>HTTP/1.1 200 OK</D:status>");
    } else {
        document_.element(kDav, "status", statusLine(status));
    }
    document_.markup("</D:propstat>");
}

void MultistatusWriter::writeProperty(const PropertyRecord& property) {
    // What a client asks for may have a name that no document can hold.
    if (!document_.open(property.namespaceUri, property.name)) return;
    for (const FixedMarkup& markup : property.markup)
        if (document_.declareNamespace(markup.namespaceUri)) document_.markup(markup.text);
    for (const ElementRecord& child : property.children)
        document_.element(child.namespaceUri, child.name, child.text);
    for (const ResponseRecord& nested : property.responses) writeResponse(nested, false);
    if (property.markup.empty() && property.children.empty() && property.responses.empty())
        document_.content(property.text);
    document_.close();
}

}  // namespace DAV
