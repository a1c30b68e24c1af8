// The elements of a parsed document with the namespaces that are in scope where they stand. Request
// readers find elements through it, whatever prefixes the client chose.
//
// Made once from a document, in one pass without recursion: linear in the text however deep it is
// nested and however many namespaces it declares. The document must outlive it and not be edited;
// the views it hands out live as long. An undeclared prefix gives the empty URI. Nothing here
// fails.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "webdav/xml/MarkupDocument.h"
#include "webdav/xml/NamespaceScopes.h"

namespace webdav {

class ResolvedNames {
  public:
    explicit ResolvedNames(const MarkupDocument& document);
    ResolvedNames(const ResolvedNames&) = delete;
    ResolvedNames& operator=(const ResolvedNames&) = delete;

    /// The first top-level element, or 0.
    ElementIndex root() const { return table()[0].child; }
    ElementIndex parent(ElementIndex element) const { return table()[element].parent; }
    ElementIndex firstChild(ElementIndex element) const { return table()[element].child; }
    ElementIndex nextSibling(ElementIndex element) const { return table()[element].next; }
    /// The next element in document order, or 0; after 0 comes the first.
    ElementIndex next(ElementIndex element) const { return table().nextInOrder(element); }

    std::string_view namespaceOf(ElementIndex element) const { return uris_[uriOf_[element]]; }
    std::string_view localName(ElementIndex element) const;
    bool is(ElementIndex element, std::string_view uri, std::string_view localName) const;

    /// The text directly within the element, decoded, CDATA sections included.
    std::string text(ElementIndex element) const { return index_.textData(element); }
    bool hasAttribute(ElementIndex element, std::string_view name) const;
    /// The decoded value of the attribute of this qualified name; empty when there is none.
    std::string attribute(ElementIndex element, std::string_view name) const;

    /// The first such element behind `after` in document order, or 0.
    ElementIndex find(std::string_view uri, std::string_view localName,
                      ElementIndex after = 0) const;
    /// The first such element among the children of `parent`, or 0; kDocument has the top level.
    static constexpr ElementIndex kDocument = 0;
    ElementIndex findChild(ElementIndex parent, std::string_view uri,
                           std::string_view localName) const;
    /// All such elements in document order.
    std::vector<ElementIndex> findAll(std::string_view uri, std::string_view localName) const;

  private:
    const ElementTable& table() const { return index_.table(); }

    const IndexedText& index_;
    NamespaceUris uris_;
    std::vector<NamespaceUris::Number> uriOf_;  // by element
};

}  // namespace webdav
