// The namespace declarations in scope while a document is walked through: each prefix knows its
// current URI, and what a declaration hides comes back when its element is left. So neither depth
// nor number of declarations is ever copied or looked through. ResolvedNames walks with it.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "webdav/xml/ElementTable.h"
#include "webdav/xml/NameIndex.h"

namespace webdav {

/// The URIs by number; 0 is the empty one.
class NamespaceUris {
  public:
    using Number = uint32_t;

    /// Takes a URI in as it stands in a start tag, which must outlive this.
    Number add(std::string_view written);
    std::string_view operator[](Number number) const { return uris_[number]; }

  private:
    std::deque<std::string_view> uris_{std::string_view()};
    std::deque<std::string> decoded_;  // those with references in them
};

class NamespaceScopes {
  public:
    explicit NamespaceScopes(NamespaceUris& uris);
    NamespaceScopes(const NamespaceScopes&) = delete;
    NamespaceScopes& operator=(const NamespaceScopes&) = delete;

    /// Takes the declarations of a start tag in; of two for one prefix the second counts.
    void enter(ElementIndex element, std::string_view startTag);
    void leave(ElementIndex element);
    /// The URI of a prefix here, "" being the default namespace; 0 when it is not declared.
    NamespaceUris::Number lookup(std::string_view prefix) const;

  private:
    struct Prefix {
        std::string_view name;
        NamespaceUris::Number uri;
    };
    struct Hidden {
        ElementIndex by;
        uint32_t prefix;
        NamespaceUris::Number uri;
    };

    void declare(ElementIndex element, std::string_view prefix, std::string_view writtenUri);
    uint32_t numberOf(std::string_view prefix);

    NamespaceUris& uris_;
    std::deque<Prefix> prefixes_;
    NameIndex index_;
    std::vector<Hidden> hidden_;
};

}  // namespace webdav
