#include "webdav/dav/MultistatusWriter.h"

#include <algorithm>
#include <utility>

#include "webdav/dav/Namespaces.h"
#include "webdav/frame/ISAPIRequest.h"

namespace DAV {

namespace {

constexpr std::string_view kPropBegin = "<D:propstat><D:prop>";
constexpr std::string_view kPropEnd = "</D:prop>";

constexpr size_t kUsualStatusEnd = 80;

// One long item does not mean that all are.
constexpr size_t kLongestExpected = 2048;
constexpr size_t kMostRoom = size_t{64} << 20;

constexpr webdav::KnownPrefix kPrefixes[] = {
    {kDav, "D"},
    {kCalDav, "C"},
    {kCalendarServer, "CS"},
    {kCardDav, "card"},
};

/// With the start tag of the href, or all of that when it is empty.
std::string_view responseBegin(std::string_view href) {
    return href.empty() ? "<D:response><D:href/>" : "<D:response><D:href>";
}

std::string propStatEnd(uint16_t status) {
    std::string end;
    end.reserve(kUsualStatusEnd);
    end = "<D:status>HTTP/1.1 ";
    end += std::to_string(status);
    end += ' ';
    end += webdav::ISAPIRequest::StatusText(status);
    return end += "</D:status></D:propstat>";
}

}  // namespace

MultistatusWriter::MultistatusWriter(bool brief) : brief_(brief), document_(kPrefixes) {
    document_.open(kDav, "multistatus");
}

void MultistatusWriter::write(const ResponseRecord& response) {
    writeResponse(response, brief_);
}

void MultistatusWriter::writeItem(std::string_view href, std::span<const TextProperty> properties) {
    if (!hasForm(href, properties)) makeForm(href, properties);
    const size_t begin = document_.size();
    document_.markup(responseBegin(href));
    // Of all that markup escapes, a URI may hold "&" alone.
    writeText(href, href.find('&') == href.npos);
    for (const Gap& gap : gaps_) {
        const TextProperty& property = properties[gap.property];
        document_.markup(gap.markup);
        writeText(property.text, property.plain);
    }
    document_.markup(rest_);
    if (expectedItems_ > 0) makeRoom(document_.size() - begin);
}

std::string MultistatusWriter::takeText() {
    document_.close();
    return document_.takeText();
}

/// For all items, now that the length of one is known.
void MultistatusWriter::makeRoom(size_t length) {
    const size_t expected = std::min(length * 5 / 4, kLongestExpected);
    const size_t room = std::exchange(expectedItems_, 0) * expected;
    document_.reserve(document_.size() + std::min(room, kMostRoom));
}

void MultistatusWriter::writeText(std::string_view text, bool plain) {
    if (plain) {
        document_.markup(text);
    } else {
        document_.content(text);
    }
}

bool MultistatusWriter::hasForm(std::string_view href,
                                std::span<const TextProperty> properties) const {
    return !rest_.empty() && hrefIsEmpty_ == href.empty() &&
           std::ranges::equal(shapes_, properties, [](const Shape& shape, const TextProperty& its) {
               return shape.status == its.status && shape.empty == its.text.empty();
           });
}

void MultistatusWriter::makeForm(std::string_view href, std::span<const TextProperty> properties) {
    hrefIsEmpty_ = href.empty();
    shapes_.clear();
    gaps_.clear();
    rest_ = hrefIsEmpty_ ? "" : "</D:href>";
    std::vector<uint16_t> statuses;  // in the order of their first use
    for (const TextProperty& property : properties) {
        shapes_.push_back({property.status, property.text.empty()});
        const bool known = std::ranges::find(statuses, property.status) != statuses.end();
        if (!known) statuses.push_back(property.status);
    }
    for (const uint16_t status : statuses)
        if (!brief_ || status != 404) addPropStat(status, properties);
    rest_ += "</D:response>";
}

void MultistatusWriter::addPropStat(uint16_t status, std::span<const TextProperty> properties) {
    bool empty = true;
    for (size_t i = 0; i < properties.size(); ++i) {
        const TextProperty& property = properties[i];
        if (property.status != status) continue;
        // What a client asks for may have a name that no document can hold.
        const webdav::TagName* const tag = document_.tags(property.namespaceUri, property.name);
        if (tag == nullptr) continue;
        if (std::exchange(empty, false)) rest_ += kPropBegin;
        if (property.text.empty()) {
            tag->appendEmptyTag(rest_);
        } else {
            rest_ += tag->startTag();
            gaps_.push_back({std::exchange(rest_, std::string(tag->endTag())), i});
        }
    }
    rest_ += empty ? "<D:propstat><D:prop/>" : kPropEnd;
    rest_ += propStatEnd(status);
}

void MultistatusWriter::writeResponse(const ResponseRecord& response, bool brief) {
    document_.markup(responseBegin(response.href));
    if (!response.href.empty()) {
        document_.content(response.href);
        document_.markup("</D:href>");
    }
    for (const PropStatRecord& propstat : response.propstats)
        if (!brief || propstat.status != 404) writePropStat(propstat);
    document_.markup("</D:response>");
}

void MultistatusWriter::writePropStat(const PropStatRecord& propstat) {
    document_.markup("<D:propstat>");
    document_.open(kDav, "prop");
    for (const PropertyRecord& property : propstat.properties) writeProperty(property);
    document_.close();
    document_.markup(propStatEnd(propstat.status));
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
