#include "webdav/frame/PathSegments.h"

#include <algorithm>
#include <iterator>

#include "webdav/base/Text.h"

namespace webdav {

namespace {

constexpr size_t kUsualParts = 8;
constexpr std::string_view kBase64Prefix = "b64=";
constexpr std::string_view kBase64Marker = "/b64=";

bool isBase64Name(std::string_view segment) {
    return StartsWithNoCase(segment, kBase64Prefix);
}

/// Puts "_" for each "/" within the first base64 name, which reaches to the item name or the end.
void joinBase64Name(std::string& path) {
    size_t marker = path.find('/');
    while (marker != std::string::npos &&
           !StartsWithNoCase(std::string_view(path).substr(marker), kBase64Marker))
        marker = path.find('/', marker + 1);
    if (marker == std::string::npos) return;
    const size_t start = marker + kBase64Marker.size();
    const size_t end = IsItemName(path) ? path.rfind('/') : path.size();
    if (start < end)
        std::replace(path.begin() + static_cast<std::ptrdiff_t>(start),
                     path.begin() + static_cast<std::ptrdiff_t>(end), '/', '_');
}

std::vector<std::string> plainNames(std::span<const std::string> segments) {
    const auto item = std::ranges::find_if(segments, IsItemName);
    return {segments.begin(), item};
}

std::vector<std::string> folderNames(std::span<const std::string> segments, SegmentForm form) {
    if (form == SegmentForm::kNames || segments.empty() || !isBase64Name(segments.back()))
        return plainNames(segments);
    std::vector<std::string> names(segments.begin(), std::prev(segments.end()));
    const std::string_view encoded = std::string_view(segments.back()).substr(kBase64Prefix.size());
    std::ranges::move(SplitAtSlashes(Base64Decode(encoded)), std::back_inserter(names));
    return names;
}

}  // namespace

bool IsItemName(std::string_view segment) {
    return EndsWithNoCase(segment, ".ics") || EndsWithNoCase(segment, ".vcf");
}

std::vector<std::string> SplitAtSlashes(std::string_view text) {
    std::vector<std::string> parts;
    parts.reserve(kUsualParts);
    while (!text.empty()) {
        const size_t end = std::min(text.find('/'), text.size());
        if (end > 0) parts.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return parts;
}

std::vector<std::string> SplitPath(std::string path) {
    joinBase64Name(path);
    std::vector<std::string> segments = SplitAtSlashes(path);
    for (std::string& segment : segments)
        if (isBase64Name(segment)) {
            if (segment.find('%') != std::string::npos) segment = DecodeSlashes(segment);
            std::ranges::replace(segment, '_', '/');
        }
    return segments;
}

FolderReading ReadSegments(std::span<const std::string> segments, SegmentForm form) {
    if (segments.empty() || !IsItemName(segments.back())) return {folderNames(segments, form), ""};
    return {folderNames(segments.first(segments.size() - 1), form), segments.back()};
}

std::vector<FolderReading> ReadSegmentsForDelete(std::span<const std::string> segments,
                                                 SegmentForm form) {
    if (segments.empty() || IsItemName(segments.back())) return {ReadSegments(segments, form)};
    const std::string& last = segments.back();
    const auto parent = segments.first(segments.size() - 1);
    std::vector<FolderReading> readings = {ReadSegments(segments, form)};
    if (form == SegmentForm::kNames || !isBase64Name(last)) {
        readings.push_back({folderNames(parent, form), last});
    } else if (const size_t slash = last.rfind('/'); slash != std::string::npos) {
        // An item name without extension was joined to the base64 name before it.
        std::vector<std::string> divided(parent.begin(), parent.end());
        divided.push_back(last.substr(0, slash));
        readings.push_back({folderNames(divided, form), last.substr(slash + 1)});
        // Behind its padding a base64 name cannot go on.
        if (last.find('=', kBase64Prefix.size()) < slash) readings.erase(readings.begin());
    }
    return readings;
}

}  // namespace webdav
