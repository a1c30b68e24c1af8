// Namespaces over the markup engine, which itself knows qualified names only: from a namespace URI
// to the prefix that a document has for it, and back from a tag name to its local part. Writers
// of edited documents add every element with AddElementNS; multistatus answers use MarkupWriter.
//
// The declarations of a document are read once and then remembered, so that adding an element costs
// the same however many stand before it.
#pragma once

#include <string>
#include <string_view>

#include "webdav/xml/MarkupDocument.h"

namespace webdav {

/// Finds the prefix for a namespace URI: that of the first declaration in document order, else that
/// of the document's prefix map, else, when asked to, a new one that is declared on the root.
bool ResolvePrefix(MarkupDocument& document, std::string_view uri, std::string& prefix,
                   bool declareIfMissing);

/// Adds an element of a namespace that no element declares yet, and declares it on the root. The
/// empty URI gives a name without a prefix.
bool AddUndeclaredNS(MarkupDocument& document, std::string_view uri, std::string_view localName,
                     std::string_view text);

/// Adds an element of a namespace at the cursor, as addElement does, and declares the namespace on
/// the root when no element does yet.
inline bool AddElementNS(MarkupDocument& document, std::string_view uri, std::string_view localName,
                         std::string_view text = {}) {
    const std::string* prefix = uri.empty() ? nullptr : document.declarations().prefixOf(uri);
    return prefix != nullptr ? document.addQualified(*prefix, localName, text)
                             : AddUndeclaredNS(document, uri, localName, text);
}

/// The current element's tag name behind its first ":", or all of it.
std::string_view LocalName(const MarkupDocument& document);

/// The same for any tag name.
std::string_view localPart(std::string_view tagName);

}  // namespace webdav
