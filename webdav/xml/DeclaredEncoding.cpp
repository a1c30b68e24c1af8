#include "webdav/xml/DeclaredEncoding.h"

#include "webdav/base/Text.h"
#include "webdav/xml/AttributeReader.h"
#include "webdav/xml/MarkupScanner.h"
#include "webdav/xml/NameCharacters.h"

namespace webdav {

namespace {

/// Declarations stand at the start; a text without one is not read to its end for it.
constexpr size_t kLookedThrough = 4096;

/// The value of an attribute whose name is compared without regard to case.
std::string attributeOf(std::string_view tag, std::string_view name) {
    MarkupAttribute attribute;
    for (AttributeReader reader(tag); reader.next(attribute);) {
        if (EqualsNoCase(attribute.name, name)) return attribute.value();
    }
    return {};
}

/// The charset in a content type, "text/html; charset=utf-8".
std::string charsetOf(std::string_view contentType) {
    constexpr std::string_view kWord = "charset=";
    for (; contentType.size() > kWord.size(); contentType.remove_prefix(1)) {
        if (!EqualsNoCase(contentType.substr(0, kWord.size()), kWord)) continue;
        contentType.remove_prefix(kWord.size());
        return std::string(contentType.substr(0, contentType.find_first_of(" \t\r\n;\"'")));
    }
    return {};
}

}  // namespace

std::string declaredEncoding(std::string_view markup) {
    MarkupNode node;
    for (MarkupScanner scanner(markup.substr(0, kLookedThrough)); scanner.next(node);) {
        if (node.kind == NodeKind::kProcessingInstruction && leadingName(node.inner()) == "xml") {
            std::string encoding = attributeOf(node.text, "encoding");
            if (!encoding.empty()) return encoding;
        }
        const bool isMeta = (node.kind == NodeKind::kStartTag || node.kind == NodeKind::kTag) &&
                            EqualsNoCase(node.tagName, "meta");
        if (!isMeta || !EqualsNoCase(attributeOf(node.text, "http-equiv"), "Content-Type")) {
            continue;
        }
        std::string charset = charsetOf(attributeOf(node.text, "content"));
        if (!charset.empty()) return charset;
    }
    return {};
}

}  // namespace webdav
