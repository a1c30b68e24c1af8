#include "webdav/dav/PropFindResponse.h"

#include <algorithm>

namespace DAV {

namespace {

constexpr size_t kUsualProperties = 4;

}  // namespace

ResponseRecord& PropFindResponseBase::responseOf(std::string_view href) {
    // The properties of one resource come one after another.
    if (!results_.empty() && results_.back().href == href) return results_.back();
    if (const auto known = index_.find(href); known != index_.end()) return *known->second;

    ResponseRecord& response = results_.emplace_back(ResponseRecord{std::string(href), {}});
    index_.emplace(response.href, &response);
    return response;
}

void PropFindResponseBase::addProperty(std::string_view href, uint16_t status,
                                       PropertyRecord property) {
    std::vector<PropStatRecord>& propstats = responseOf(href).propstats;
    auto propstat = std::find_if(propstats.begin(), propstats.end(),
                                 [status](const auto& known) { return known.status == status; });
    if (propstat == propstats.end()) {
        propstat = propstats.insert(propstat, PropStatRecord{status, {}});
        propstat->properties.reserve(kUsualProperties);
    }
    propstat->properties.push_back(std::move(property));
}

void PropFindResponseBase::addProperties(std::string_view href,
                                         std::span<const TextProperty> properties) {
    for (const TextProperty& each : properties)
        addProperty(href, each.status, {each.namespaceUri, each.name, each.text});
}

std::string PropFindResponseBase::takeMultistatus() {
    writeResults();
    return writer_.takeText();
}

void PropFindResponseBase::writeResults() {
    for (const ResponseRecord& response : results_) writer_.write(response);
    results_.clear();
    index_.clear();
}

}  // namespace DAV
