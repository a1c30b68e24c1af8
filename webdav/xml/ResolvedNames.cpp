#include "webdav/xml/ResolvedNames.h"

#include <algorithm>

#include "webdav/xml/NamespacePrefix.h"

namespace webdav {

namespace {

std::string_view prefixOf(std::string_view tagName) {
    const size_t colon = tagName.find(':');
    return colon == std::string_view::npos ? std::string_view() : tagName.substr(0, colon);
}

}  // namespace

ResolvedNames::ResolvedNames(const MarkupDocument& document)
    : index_(document.index()), uris_(document.text()), uriOf_(table().count() + 1) {
    NamespaceScopes scopes(uris_);
    ElementIndex element = root();
    while (element != 0) {
        scopes.enter(element, index_.startTag(element));
        uriOf_[element] = scopes.lookup(prefixOf(index_.tagName(element)));
        if (const ElementIndex child = firstChild(element); child != 0) {
            element = child;
            continue;
        }
        scopes.leave(element);
        while (element != 0 && nextSibling(element) == 0) {
            element = parent(element);
            scopes.leave(element);
        }
        if (element != 0) element = nextSibling(element);
    }
}

std::string_view ResolvedNames::localName(ElementIndex element) const {
    return localPart(index_.tagName(element));
}

bool ResolvedNames::is(ElementIndex element, std::string_view uri,
                       std::string_view localName) const {
    return namespaceOf(element) == uri && this->localName(element) == localName;
}

bool ResolvedNames::hasAttribute(ElementIndex element, std::string_view name) const {
    MarkupAttribute attribute;
    return findAttribute(index_.startTag(element), name, attribute);
}

std::string ResolvedNames::attribute(ElementIndex element, std::string_view name) const {
    MarkupAttribute attribute;
    return findAttribute(index_.startTag(element), name, attribute) ? attribute.value()
                                                                    : std::string();
}

ElementIndex ResolvedNames::find(std::string_view uri, std::string_view localName,
                                 ElementIndex after) const {
    ElementIndex element = next(after);
    while (element != 0 && !is(element, uri, localName)) element = next(element);
    return element;
}

ElementIndex ResolvedNames::findChild(ElementIndex parent, std::string_view uri,
                                      std::string_view localName) const {
    ElementIndex child = firstChild(parent);
    while (child != 0 && !is(child, uri, localName)) child = nextSibling(child);
    return child;
}

std::vector<ElementIndex> ResolvedNames::findAll(std::string_view uri,
                                                 std::string_view localName) const {
    std::vector<ElementIndex> found;
    for (ElementIndex e = 0; (e = find(uri, localName, e)) != 0;) found.push_back(e);
    return found;
}

}  // namespace webdav
