#include "webdav/xml/NamespaceScopes.h"

#include "webdav/xml/AttributeReader.h"
#include "webdav/xml/MarkupEscape.h"

namespace webdav {

namespace {

constexpr std::string_view kDefaultDeclaration = "xmlns";
constexpr std::string_view kPrefixDeclaration = "xmlns:";
constexpr std::string_view kXmlUri = "http://www.w3.org/XML/1998/namespace";

}  // namespace

NamespaceUris::NamespaceUris(std::string_view text)
    : text_(text), uris_{Uri{}, decodedUri(0, kXmlUri.size())}, decoded_(kXmlUri) {}

NamespaceUris::Number NamespaceUris::add(std::string_view written) {
    if (written.empty()) return 0;
    if (written.find('&') == std::string_view::npos) {
        uris_.push_back({static_cast<uint32_t>(written.data() - text_.data()),
                         static_cast<uint32_t>(written.size())});
    } else {
        const size_t begin = decoded_.size();
        appendDecoded(decoded_, written);
        uris_.push_back(decodedUri(begin, decoded_.size() - begin));
    }
    return static_cast<Number>(uris_.size() - 1);
}

NamespaceScopes::NamespaceScopes(NamespaceUris& uris)
    : uris_(uris), index_([this](uint32_t number) { return nameOf(number); }) {
    prefixes_[numberOf("xml") - 1].uri = NamespaceUris::kXml;
}

void NamespaceScopes::enter(ElementIndex element, std::string_view startTag) {
    MarkupAttribute attribute;
    for (AttributeReader reader(startTag); reader.next(attribute);) {
        if (attribute.name == kDefaultDeclaration) {
            declare(element, {}, attribute.rawValue);
        } else if (attribute.name.starts_with(kPrefixDeclaration)) {
            declare(element, attribute.name.substr(kPrefixDeclaration.size()), attribute.rawValue);
        }
    }
}

void NamespaceScopes::leave(ElementIndex element) {
    for (; !hidden_.empty() && hidden_.back().by == element; hidden_.pop_back()) {
        prefixes_[hidden_.back().prefix - 1].uri = hidden_.back().uri;
    }
}

NamespaceUris::Number NamespaceScopes::lookup(std::string_view prefix) const {
    const uint32_t number = index_.find(prefix);
    return number == 0 ? 0 : prefixes_[number - 1].uri;
}

void NamespaceScopes::declare(ElementIndex element, std::string_view prefix,
                              std::string_view writtenUri) {
    const uint32_t number = numberOf(prefix);
    Prefix& declared = prefixes_[number - 1];
    // Many writers repeat the declaration that is in scope already on every element.
    if (uris_[declared.uri] == writtenUri) return;
    hidden_.push_back({element, number, declared.uri});
    declared.uri = uris_.add(writtenUri);
}

uint32_t NamespaceScopes::numberOf(std::string_view prefix) {
    if (const uint32_t known = index_.find(prefix); known != 0) return known;
    prefixes_.push_back({prefix.data(), static_cast<uint32_t>(prefix.size()), 0});
    const auto number = static_cast<uint32_t>(prefixes_.size());
    index_.add(number);
    return number;
}

std::string_view NamespaceScopes::nameOf(uint32_t number) const {
    const Prefix& prefix = prefixes_[number - 1];
    return {prefix.name, prefix.nameLength};
}

}  // namespace webdav
