// The namespace declarations of a document, read once from all of its elements, so that finding the
// prefix of a namespace does not read the document anew each time. Belongs to a MarkupDocument, or
// to a MarkupWriter for the namespaces that it does not know beforehand.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>

#include "webdav/xml/IndexedText.h"

namespace webdav {

/// From namespace URI to prefix, by byte order.
using PrefixMap = std::map<std::string, std::string, std::less<>>;

class DeclaredNamespaces {
  public:
    DeclaredNamespaces() = default;
    DeclaredNamespaces(const DeclaredNamespaces&) = delete;
    DeclaredNamespaces& operator=(const DeclaredNamespaces&) = delete;

    /// Whether an attribute declares a namespace, judged by the start of its name.
    static bool isDeclaration(std::string_view attributeName);

    /// Reads the declarations of all elements in document order.
    void read(const IndexedText& text);
    void clear();
    /// Notes a declaration that comes behind those known.
    void add(std::string_view prefix, std::string_view uri);

    /// The prefix of the first declaration of a namespace, or null.
    const std::string* prefixOf(std::string_view uri) const {
        // Elements of one namespace mostly follow each other.
        if (lastFound_ == nullptr || lastFound_->first != uri) lastFound_ = find(uri);
        return lastFound_ != nullptr ? &lastFound_->second : nullptr;
    }
    bool isDeclared(std::string_view prefix) const { return prefixes_.contains(prefix); }
    /// The prefix to declare a namespace with: that of the map, else a new one ("ns0", "ns1" and so
    /// on), which then goes into the map. One of the map that is declared already, for another
    /// namespace, is no use.
    const std::string& choosePrefix(PrefixMap& map, std::string_view uri);
    /// "ns0", "ns1" and so on: the first that is not declared.
    std::string unusedPrefix();
    /// The attribute that declares a namespace, with a blank in front.
    static std::string written(std::string_view prefix, std::string_view uri);

  private:
    using PrefixByUri = std::map<std::string, std::string, std::less<>>;

    const PrefixByUri::value_type* find(std::string_view uri) const;

    PrefixByUri prefixByUri_;
    mutable const PrefixByUri::value_type* lastFound_ = nullptr;
    std::set<std::string, std::less<>> prefixes_;
    uint32_t firstUnused_ = 0;  // prefixes only ever get more: no lower number is free
};

}  // namespace webdav
