#include "host/RequestHead.h"

#include <algorithm>
#include <charconv>

#include "host/Ascii.h"
#include "host/RequestTarget.h"

namespace host {
namespace {

constexpr std::string_view kLineEnd = "\r\n";

bool isTokenByte(char c) {
    return isAlphanumeric(c) || std::string_view("!#$%&'*+-.^_`|~").find(c) != std::string::npos;
}

bool isToken(std::string_view text) {
    return !text.empty() && std::ranges::all_of(text, isTokenByte);
}

/// Controls other than a tab have no place in a value (RFC 9110, 5.5).
bool hasPlainValue(const HeaderField& field) {
    return std::ranges::all_of(field.value, [](char c) {
        return c == '\t' || (static_cast<unsigned char>(c) >= ' ' && c != '\x7F');
    });
}

/// Cuts off and returns what stands before the separator, or everything when there is none.
std::string_view takeUntil(std::string_view& text, std::string_view separator) {
    const size_t end = text.find(separator);
    const std::string_view part = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + separator.size());
    return part;
}

}  // namespace

HeadScanner::Result HeadScanner::scan(std::string_view received) {
    size_t end = received.find('\n', seen_);
    for (; end != std::string_view::npos; end = received.find('\n', lineStart_)) {
        if (end == lineStart_ || received[end - 1] != '\r') return {0, 400};
        const std::string_view line = received.substr(lineStart_, end - 1 - lineStart_);
        if (line.empty() && lines_ > 0) {
            return end + 1 > limits_.maxHead ? Result{0, 431} : Result{end + 1, 0};
        }
        if (const unsigned refusal = checkLine(line)) return {0, refusal};
        ++lines_;
        lineStart_ = end + 1;
    }
    seen_ = received.size();
    if (lines_ == 0) {
        // Something that is no HTTP, a TLS greeting for instance, would never end its line.
        if (!received.empty() && !isTokenByte(received.front())) return {0, 400};
        if (received.size() > limits_.maxRequestLine) return {0, 414};
    }
    return {0, received.size() > limits_.maxHead ? 431U : 0U};
}

unsigned HeadScanner::checkLine(std::string_view line) const {
    if (lines_ == 0) {
        if (line.empty() || !isTokenByte(line.front())) return 400;
        return line.size() > limits_.maxRequestLine ? 414 : 0;
    }
    // A line that continues the one before it is read in different ways by different servers.
    if (line.front() == ' ' || line.front() == '\t') return 400;
    if (std::min(line.find(':'), line.size()) > limits_.maxFieldName) return 431;
    return lines_ > limits_.maxFields ? 431 : 0;
}

unsigned RequestHead::parse(std::string text) {
    text_ = std::move(text);
    lines_ = text_;
    if (const unsigned refusal = parseRequestLine(takeUntil(lines_, kLineEnd))) return refusal;
    if (lines_.ends_with(kLineEnd)) lines_.remove_suffix(kLineEnd.size());
    if (!parseFields(lines_)) return 400;
    if (const unsigned refusal = checkHost()) return refusal;
    if (const unsigned refusal = readFraming()) return refusal;
    if (const unsigned refusal = readExpectation()) return refusal;
    return std::ranges::all_of(fields_, hasPlainValue) ? 0 : 400;
}

unsigned RequestHead::parseRequestLine(std::string_view line) {
    method_ = takeUntil(line, " ");
    target_ = takeUntil(line, " ");
    version_ = line;
    if (!isToken(method_) || target_.empty()) return 400;
    const bool isVersion = version_.size() == 8 && version_.starts_with("HTTP/") &&
                           isDigit(version_[5]) && version_[6] == '.' && isDigit(version_[7]);
    if (!isVersion) return 400;
    return version_ == "HTTP/1.1" || version_ == "HTTP/1.0" ? 0 : 505;
}

bool RequestHead::parseFields(std::string_view lines) {
    while (!lines.empty()) {
        std::string_view line = takeUntil(lines, kLineEnd);
        const size_t colon = line.find(':');
        if (colon == std::string_view::npos || !isToken(line.substr(0, colon))) return false;
        fields_.push_back({line.substr(0, colon), trimmed(line.substr(colon + 1))});
    }
    return true;
}

unsigned RequestHead::checkHost() const {
    const size_t hosts = count("Host");
    if (hosts == 0) return version_ == "HTTP/1.1" ? 400 : 0;
    if (hosts > 1) return 400;
    const std::string host = value("Host").value_or("");
    return host.empty() || isAuthority(host) ? 0 : 400;
}

unsigned RequestHead::readFraming() {
    const size_t lengths = count("Content-Length");
    const size_t codings = count("Transfer-Encoding");
    if (lengths + codings > 1) return 400;
    if (codings == 1) {
        if (version_ != "HTTP/1.1") return 400;
        chunked_ = sameText(*value("Transfer-Encoding"), "chunked");
        return chunked_ ? 0 : 501;
    }
    if (lengths == 0) return 0;
    const std::string text = *value("Content-Length");
    const char* end = text.data() + text.size();
    uint64_t length = 0;
    const auto [rest, error] = std::from_chars(text.data(), end, length);
    if (error == std::errc::result_out_of_range) return 413;
    if (error != std::errc() || rest != end) return 400;
    contentLength_ = length;
    return 0;
}

unsigned RequestHead::readExpectation() {
    const std::optional<std::string> expectation = value("Expect");
    if (!expectation || version_ == "HTTP/1.0") return 0;
    expectsContinue_ = sameText(*expectation, "100-continue");
    return expectsContinue_ ? 0 : 417;
}

size_t RequestHead::count(std::string_view name) const {
    return static_cast<size_t>(std::ranges::count_if(
        fields_, [name](const HeaderField& field) { return sameText(field.name, name); }));
}

std::optional<std::string> RequestHead::value(std::string_view name) const {
    std::optional<std::string> joined;
    for (const HeaderField& field : fields_) {
        if (!sameText(field.name, name)) continue;
        if (joined) {
            joined->append(", ").append(field.value);
        } else {
            joined = field.value;
        }
    }
    return joined;
}

}  // namespace host
