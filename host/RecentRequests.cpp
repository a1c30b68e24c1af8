#include "host/RecentRequests.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "host/Escape.h"
#include "host/TimeText.h"
#include "platform/LocalTime.h"

namespace host {
namespace {

using Json = nlohmann::ordered_json;

constexpr size_t kMostAreas = 50;
constexpr size_t kMostEntries = 10;
constexpr unsigned kFirstRefusal = 400;
constexpr unsigned kFirstError = 500;
constexpr const char* kOtherPaths = "(other)";

/// The first two names of a path: what kind of thing it is about.
std::string_view areaOf(std::string_view path) {
    const size_t second = path.find('/', 1);
    return second == std::string_view::npos ? path : path.substr(0, path.find('/', second + 1));
}

}  // namespace

void RecentRequests::note(const RequestRecord& record) {
    const Request& request = record.request;
    // What was no request tells of who sent it, not of the server.
    if (request.target.path.empty()) return;
    std::string area = kOtherPaths;
    // Who is refused must not choose the names.
    if (record.status > 0 && record.status < kFirstRefusal) {
        area = escaped(areaOf(request.target.path));
        if (areas_.size() >= kMostAreas && !areas_.contains(area)) area = kOtherPaths;
    }
    Area& sum = areas_[area];
    ++sum.requests;
    sum.took += record.took;

    const bool isSlow = slowest_.size() < kMostEntries || record.took > slowest_.back().took;
    const bool isError = record.status >= kFirstError;
    if (!isSlow && !isError) return;
    const Entry entry{platform::nowUtcMs(), escaped(request.head.method()),
                      escaped(request.target.path), record.status, record.took};
    if (isSlow) {
        const auto place =
            std::ranges::upper_bound(slowest_, entry.took, std::greater<>(), &Entry::took);
        slowest_.insert(place, entry);
        slowest_.resize(std::min(slowest_.size(), kMostEntries));
    }
    if (isError) {
        errors_.push_front(entry);
        errors_.resize(std::min(errors_.size(), kMostEntries));
    }
}

Json RecentRequests::json(const Entry& entry) {
    return {{"at", isoTime(entry.utcMs)},
            {"method", entry.method},
            {"path", entry.path},
            {"status", entry.status},
            {"seconds", secondsOf(entry.took)}};
}

void RecentRequests::addTo(Json& status) const {
    std::vector<std::pair<std::string, Area>> areas(areas_.begin(), areas_.end());
    std::ranges::stable_sort(areas, std::greater<>(),
                             [](const auto& area) { return area.second.requests; });
    areas.resize(std::min(areas.size(), kMostEntries));
    Json& busiest = status["busiest"] = Json::array();
    for (const auto& [path, sum] : areas) {
        busiest.push_back(
            {{"path", path}, {"requests", sum.requests}, {"seconds", secondsOf(sum.took)}});
    }
    Json& slowest = status["slowest"] = Json::array();
    for (const Entry& entry : slowest_) slowest.push_back(json(entry));
    Json& errors = status["errors"] = Json::array();
    for (const Entry& entry : errors_) errors.push_back(json(entry));
}

}  // namespace host
