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

    void write(const ResponseRecord& response);
    /// The response of a resource that has no other properties than these.
    void write(std::string_view href, std::span<const TextProperty> properties);
    /// Ends the document and hands its text over.
    std::string takeText();

  private:
    void writeResponse(const ResponseRecord& response, bool brief);
    void writePropStat(const PropStatRecord& propstat);
    void endPropStat(uint16_t status);
    void writeProperty(const PropertyRecord& property);

    bool brief_;
    std::vector<uint16_t> statuses_;  // of one response, in the order of their first use
    webdav::MarkupWriter document_;
};

}  // namespace DAV
