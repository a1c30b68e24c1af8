#include "tests/wire/WireLog.h"

#include <algorithm>

namespace wire {

namespace {

constexpr size_t kTagLength = 14;

bool isTag(std::string_view text) {
    return text.size() == kTagLength + 3 && text.front() == '[' && text.ends_with("] ") &&
           std::ranges::all_of(text.substr(1, kTagLength),
                               [](char c) { return c >= 'A' && c <= 'Z'; });
}

/// "[time] LEVEL, [TAG] message" without the time and the tag.
std::string plainLine(std::string_view line) {
    if (const size_t end = line.find("] "); line.starts_with('[') && end != line.npos) {
        line.remove_prefix(end + 2);
    }
    const size_t comma = line.find(", ");
    if (comma == line.npos) return std::string(line);
    std::string plain(line.substr(0, comma + 2));
    line.remove_prefix(comma + 2);
    if (isTag(line.substr(0, kTagLength + 3))) line.remove_prefix(kTagLength + 3);
    return plain.append(line);
}

}  // namespace

std::vector<std::vector<std::string>> logByRequest(std::string_view log) {
    std::vector<std::vector<std::string>> requests(1);
    while (!log.empty()) {
        const size_t end = std::min(log.find("\r\n"), log.size());
        std::string line = plainLine(log.substr(0, end));
        if (line.starts_with("INFO, Connection: ")) requests.emplace_back();
        requests.back().push_back(std::move(line));
        log.remove_prefix(std::min(end + 2, log.size()));
    }
    return requests;
}

std::optional<std::string> firstMissing(const std::vector<std::string>& expected,
                                        const std::vector<std::string>& lines, Captures& captures) {
    size_t next = 0;
    for (const std::string& pattern : expected) {
        while (next < lines.size() && firstDifference(pattern, lines[next], captures)) ++next;
        if (next == lines.size()) return pattern;
        ++next;
    }
    return std::nullopt;
}

}  // namespace wire
