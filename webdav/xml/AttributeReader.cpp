#include "webdav/xml/AttributeReader.h"

#include <algorithm>

#include "webdav/xml/MarkupEscape.h"

namespace webdav {

namespace {

// For a few bytes at a time this is quicker than a search for a set of them.
constexpr bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}
constexpr bool endsName(char c) {
    return isBlank(c) || c == '=' || c == '"' || c == '\'';
}

/// The length of what stands in front of the first such byte.
template <typename Is>
size_t lengthUntil(std::string_view text, Is is) {
    return static_cast<size_t>(std::ranges::find_if(text, is) - text.begin());
}

}  // namespace

std::string MarkupAttribute::value() const {
    return decodeReferences(rawValue);
}

AttributeReader::AttributeReader(std::string_view startTag) {
    if (startTag.empty()) return;
    const size_t closing = startTag.ends_with("/>") ? 2 : 1;
    rest_ = startTag.substr(1, startTag.size() - 1 - closing);
    takeName();
}

bool AttributeReader::next(MarkupAttribute& attribute) {
    attribute = {};
    while (skipBlanks(), !rest_.empty()) {
        attribute.name = takeName();
        if (!attribute.name.empty()) {
            const std::string_view behindName = rest_;
            skipBlanks();
            if (rest_.starts_with('=')) {
                attribute.rawValue = takeValue();
            } else {
                rest_ = behindName;
            }
            return true;
        }
        takeValue();  // a stray "=" or quoted text
    }
    return false;
}

std::string_view AttributeReader::takeName() {
    const std::string_view name = rest_.substr(0, lengthUntil(rest_, endsName));
    rest_.remove_prefix(name.size());
    return name;
}

std::string_view AttributeReader::takeValue() {
    if (rest_.starts_with('=')) rest_.remove_prefix(1);
    skipBlanks();
    wantsValue_ = rest_.empty();
    if (rest_.starts_with('"') || rest_.starts_with('\'')) return takeQuoted();
    const std::string_view value = rest_.substr(0, lengthUntil(rest_, isBlank));
    rest_.remove_prefix(value.size());
    return value;
}

std::string_view AttributeReader::takeQuoted() {
    const size_t closing = rest_.find(rest_.front(), 1);
    const std::string_view value = rest_.substr(1, closing - 1);
    wantsValue_ = closing == std::string_view::npos;
    rest_.remove_prefix(closing == std::string_view::npos ? rest_.size() : closing + 1);
    return value;
}

void AttributeReader::skipBlanks() {
    while (!rest_.empty() && isBlank(rest_.front())) rest_.remove_prefix(1);
}

bool findAttribute(std::string_view startTag, std::string_view name, MarkupAttribute& attribute) {
    for (AttributeReader reader(startTag); reader.next(attribute);) {
        if (attribute.name == name) return true;
    }
    return false;
}

}  // namespace webdav
