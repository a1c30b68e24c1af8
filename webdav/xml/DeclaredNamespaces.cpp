#include "webdav/xml/DeclaredNamespaces.h"

#include <algorithm>

#include "webdav/xml/AttributeReader.h"
#include "webdav/xml/MarkupEscape.h"
#include "webdav/xml/NameIndex.h"

namespace webdav {

void DeclaredNamespaces::clear() {
    prefixByUri_.clear();
    lastFound_ = nullptr;
    prefixes_.clear();
    firstUnused_ = 0;
}

void DeclaredNamespaces::read(const IndexedText& text) {
    clear();
    for (ElementIndex e = 0; (e = text.table().nextInOrder(e)) != 0;) {
        MarkupAttribute attribute;
        for (AttributeReader reader(text.startTag(e)); reader.next(attribute);) {
            if (!isDeclaration(attribute.name)) continue;
            const size_t colon = std::min(attribute.name.find(':'), attribute.name.size() - 1);
            add(attribute.name.substr(colon + 1), attribute.value());
        }
    }
}

bool DeclaredNamespaces::isDeclaration(std::string_view attributeName) {
    constexpr std::string_view kWord = "xmlns";
    return sameName(attributeName.substr(0, kWord.size()), kWord, true);
}

void DeclaredNamespaces::add(std::string_view prefix, std::string_view uri) {
    prefixByUri_.emplace(uri, prefix);
    prefixes_.emplace(prefix);
}

const DeclaredNamespaces::PrefixByUri::value_type* DeclaredNamespaces::find(
    std::string_view uri) const {
    const auto found = prefixByUri_.find(uri);
    return found == prefixByUri_.end() ? nullptr : &*found;
}

const std::string& DeclaredNamespaces::choosePrefix(PrefixMap& map, std::string_view uri) {
    const auto known = map.find(uri);
    if (known != map.end() && !isDeclared(known->second)) return known->second;
    return map.insert_or_assign(std::string(uri), unusedPrefix()).first->second;
}

std::string DeclaredNamespaces::written(std::string_view prefix, std::string_view uri) {
    std::string written = prefix.empty() ? " xmlns" : " xmlns:";
    written += prefix;
    written += "=\"";
    appendAttributeValue(written, uri);
    written += '"';
    return written;
}

std::string DeclaredNamespaces::unusedPrefix() {
    for (;; ++firstUnused_) {
        std::string prefix = "ns" + std::to_string(firstUnused_);
        if (!isDeclared(prefix)) return prefix;
    }
}

}  // namespace webdav
