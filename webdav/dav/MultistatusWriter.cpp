#include "webdav/dav/MultistatusWriter.h"

#include <utility>

#include "webdav/base/CStr.h"
#include "webdav/dav/Namespaces.h"
#include "webdav/frame/ISAPIRequest.h"
#include "webdav/xml/NamespacePrefix.h"

namespace DAV {

using webdav::AddElementNS;

MultistatusWriter::MultistatusWriter(bool brief) : brief_(brief) {
    document_.prefixes() = {
        {std::string(kDav), "D"},
        {std::string(kCalDav), "C"},
        {std::string(kCalendarServer), "CS"},
        {std::string(kCardDav), "card"},
    };
    AddElementNS(document_, kDav, "multistatus");
    document_.intoElement();
}

void MultistatusWriter::write(const ResponseRecord& response) {
    writeResponse(response, brief_);
}

std::string MultistatusWriter::takeText() {
    document_.outOfElement();
    return document_.takeText();
}

void MultistatusWriter::writeResponse(const ResponseRecord& response, bool brief) {
    AddElementNS(document_, kDav, "response");
    document_.intoElement();
    AddElementNS(document_, kDav, "href", response.href);
    for (const PropStatRecord& propstat : response.propstats)
        if (!brief || propstat.status != 404) writePropStat(propstat);
    document_.outOfElement();
}

void MultistatusWriter::writePropStat(const PropStatRecord& propstat) {
    AddElementNS(document_, kDav, "propstat");
    document_.intoElement();
    AddElementNS(document_, kDav, "prop");
    document_.intoElement();
    for (const PropertyRecord& property : propstat.properties) writeElement(property);
    document_.outOfElement();
    AddElementNS(document_, kDav, "status",
                 webdav::FormatText("HTTP/1.1 %d %s", propstat.status,
                                    webdav::ISAPIRequest::StatusText(propstat.status)));
    document_.outOfElement();
}

void MultistatusWriter::writeElement(const ElementRecord& element) {
    const bool nests = !element.children.empty() || !element.responses.empty();
    const std::string_view text = nests ? std::string_view() : std::string_view(element.text);
    // What a client asks for may have a name that no document can hold.
    if (!AddElementNS(document_, element.namespaceUri, element.name, text)) return;
    for (const auto& [name, value] : element.attributes) document_.setAttribute(name, value);
    if (!nests) return;
    document_.intoElement();
    for (const ElementRecord& child : element.children) writeElement(child);
    for (const ResponseRecord& nested : element.responses) writeResponse(nested, false);
    document_.outOfElement();
}

}  // namespace DAV
