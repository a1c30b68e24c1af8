// Writes response records as a DAV:multistatus document (RFC 4918 section 13).
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "webdav/dav/PropertyRecord.h"
#include "webdav/xml/MarkupWriter.h"

namespace DAV {

class MultistatusWriter {
  public:
    /// Brief leaves the 404 propstats of the outermost responses out.
    explicit MultistatusWriter(bool brief);

    /// How many items there will be: the text gets room for as many as the first one, within
    /// bounds.
    void expectItems(size_t count) { expectedItems_ = count; }
    void write(const ResponseRecord& response);
    /// The response of an item; the href is a valid URI reference. All calls of one answer give the
    /// same properties, with texts and statuses of their own.
    void writeItem(std::string_view href, std::span<const TextProperty> properties);
    /// Ends the document and hands its text over.
    std::string takeText();

  private:
    /// All that tells the forms of two items' responses apart, of one property.
    struct Shape {
        uint16_t status;
        bool empty;
    };
    /// The markup in front of the text of a property, which is told by its number.
    struct Gap {
        std::string markup;
        size_t property;
    };

    void makeRoom(size_t length);
    void writeText(std::string_view text, bool plain);
    bool hasForm(std::string_view href, std::span<const TextProperty> properties) const;
    void makeForm(std::string_view href, std::span<const TextProperty> properties);
    void addPropStat(uint16_t status, std::span<const TextProperty> properties);
    void writeResponse(const ResponseRecord& response, bool brief);
    void writePropStat(const PropStatRecord& propstat);
    void writeProperty(const PropertyRecord& property);

    bool brief_;
    size_t expectedItems_ = 0;  // 0 once there is room for them
    webdav::MarkupWriter document_;

    // The form of an item's response, made for the first one and kept, since the others mostly have
    // the same.
    bool hrefIsEmpty_ = false;
    std::vector<Shape> shapes_;
    std::vector<Gap> gaps_;
    std::string rest_;  // behind the last text
};

}  // namespace DAV
