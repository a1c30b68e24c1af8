#include "webdav/xml/NamespacePrefix.h"

namespace webdav {

namespace {

/// The prefix to declare a namespace with: that of the document's map, else a new one, which then
/// goes into the map. A prefix of the map that the document has for another namespace is no use.
const std::string& prefixToDeclare(MarkupDocument& document, std::string_view uri) {
    const auto known = document.prefixes().find(uri);
    if (known != document.prefixes().end() && !document.declarations().isDeclared(known->second)) {
        return known->second;
    }
    return document.prefixes()
        .insert_or_assign(std::string(uri), document.unusedPrefix())
        .first->second;
}

}  // namespace

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
    const std::string& made = prefixToDeclare(document, uri);
    if (!document.declareOnRoot(made, uri)) return false;
    prefix = made;
    return true;
}

bool AddUndeclaredNS(MarkupDocument& document, std::string_view uri, std::string_view localName,
                     std::string_view text) {
    if (uri.empty()) return document.addQualified({}, localName, text);
    const std::string& prefix = prefixToDeclare(document, uri);
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
