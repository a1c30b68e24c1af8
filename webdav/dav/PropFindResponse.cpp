#include "webdav/dav/PropFindResponse.h"

#include <algorithm>

#include "webdav/base/CStr.h"
#include "webdav/dav/MultistatusWriter.h"

namespace DAV {

ResponseRecord& PropFindResponseBase::responseOf(std::string_view href) {
    // The properties of one resource come one after another.
    if (!results_.empty() && results_.back().href == href) return results_.back();
    if (const auto known = index_.find(href); known != index_.end()) return results_[known->second];

    ResponseRecord& response = results_.emplace_back(ResponseRecord{std::string(href), {}});
    index_.emplace(response.href, results_.size() - 1);
    return response;
}

void PropFindResponseBase::addProperty(std::string_view href, uint16_t status,
                                       PropertyRecord property) {
    std::vector<PropStatRecord>& propstats = responseOf(href).propstats;
    auto propstat = std::find_if(propstats.begin(), propstats.end(),
                                 [status](const auto& known) { return known.status == status; });
    if (propstat == propstats.end())
        propstat = propstats.insert(propstat, PropStatRecord{status, {}});
    propstat->properties.push_back(std::move(property));
}

std::string PropFindResponseBase::writeMultistatus(bool brief) const {
    MultistatusWriter writer(brief);
    for (const ResponseRecord& response : results_) writer.write(response);
    return writer.takeText();
}

}  // namespace DAV
