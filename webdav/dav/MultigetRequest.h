// What a multiget REPORT asks for (RFC 4791 section 7.9, RFC 6352 section 8.7).
#pragma once

#include <string>
#include <vector>

#include "webdav/dav/PropFindRequest.h"

namespace DAV {

class MultigetRequest : public PropFindRequestBase {
  public:
    /// False when the document is no multiget or names no properties.
    virtual bool parse(const webdav::ResolvedNames& names);

    /// As the client sent them, in document order.
    const std::vector<std::string>& hrefs() const { return hrefs_; }

  private:
    std::vector<std::string> hrefs_;
};

}  // namespace DAV
