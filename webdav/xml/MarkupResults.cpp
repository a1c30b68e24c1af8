#include "webdav/xml/MarkupResults.h"

#include "webdav/xml/MarkupEscape.h"

namespace webdav {

namespace {

constexpr size_t kFullAt = 1000;
/// A hostile name must not make one record larger than all are meant to be.
constexpr size_t kLongestValue = 100;

std::string_view shortened(std::string_view text) {
    if (text.size() <= kLongestValue) return text;
    size_t end = kLongestValue;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
    return text.substr(0, end);
}

}  // namespace

void MarkupResults::add(std::string_view token, const ResultDetail& detail) {
    if (text_.size() >= kFullAt) return;
    text_ += '<';
    text_ += token;
    attribute("msg", detail.msg);
    attribute("tagname", detail.tagName);
    attribute("encoding", detail.encoding);
    attribute("count", detail.count);
    attribute("length", detail.length);
    attribute("offset", detail.offset);
    attribute("offset2", detail.offset2);
    text_ += "/>";
}

void MarkupResults::attribute(std::string_view name, std::string_view value) {
    if (value.empty()) return;
    text_ += ' ';
    text_ += name;
    text_ += "=\"";
    appendAttributeValue(text_, shortened(value));
    text_ += '"';
}

void MarkupResults::attribute(std::string_view name, const std::optional<uint32_t>& value) {
    if (value) attribute(name, std::to_string(static_cast<int32_t>(*value)));
}

}  // namespace webdav
