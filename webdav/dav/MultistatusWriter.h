// Writes response records as a DAV:multistatus document (RFC 4918 section 13).
#pragma once

#include <string>

#include "webdav/dav/PropertyRecord.h"
#include "webdav/xml/MarkupWriter.h"

namespace DAV {

class MultistatusWriter {
  public:
    /// Brief leaves the 404 propstats of the outermost responses out.
    explicit MultistatusWriter(bool brief);

    void write(const ResponseRecord& response);
    /// Ends the document and hands its text over.
    std::string takeText();

  private:
    void writeResponse(const ResponseRecord& response, bool brief);
    void writePropStat(const PropStatRecord& propstat);
    void writeElement(const ElementRecord& element);

    bool brief_;
    webdav::MarkupWriter document_;
};

}  // namespace DAV
