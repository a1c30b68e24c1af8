#include "webdav/xml/NamespacePrefix.h"

namespace webdav {

bool ResolvePrefix(MarkupDocument& document, std::string_view uri, std::string& prefix,
                   bool declareIfMissing) {
    if (const std::string* declared = document.declarations().prefixOf(uri)) {
        prefix = *declared;
        return true;
    }
    const auto known = document.prefixes().find(uri);
    if (known != document.prefixes().end()) {
        prefix = known->second;
        return true;
    }
    if (!declareIfMissing) return false;
    const std::string& made = document.choosePrefix(uri);
    if (!document.declareOnRoot(made, uri)) return false;
    prefix = made;
    return true;
}

bool AddUndeclaredNS(MarkupDocument& document, std::string_view uri, std::string_view localName,
                     std::string_view text) {
    if (uri.empty()) return document.addQualified({}, localName, text);
    const std::string& prefix = document.choosePrefix(uri);
    if (!document.canDeclareOnRoot(prefix, uri)) return false;
    return document.addQualified(prefix, localName, text) && document.declareOnRoot(prefix, uri);
}

std::string_view LocalName(const MarkupDocument& document) {
    return localPart(document.tagName());
}

std::string_view localPart(std::string_view tagName) {
    const size_t colon = tagName.find(':');
    return colon == std::string_view::npos ? tagName : tagName.substr(colon + 1);
}

}  // namespace webdav
