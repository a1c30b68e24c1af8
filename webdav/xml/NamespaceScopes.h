// The namespace declarations in scope while a document is walked through: each prefix knows its
// current URI, and what a declaration hides comes back when its element is left. So neither depth
// nor number of declarations is ever copied or looked through. ResolvedNames walks with it.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

#include "webdav/xml/ElementTable.h"
#include "webdav/xml/NameIndex.h"

namespace webdav {

/// The URIs by number; 0 is the empty one. It holds where they stand, not what they are: a document
/// may consist of little else.
class NamespaceUris {
  public:
    using Number = uint32_t;
    static constexpr Number kXml = 1;  ///< that of the prefix "xml", which needs no declaration

    /// `text` must outlive this.
    explicit NamespaceUris(std::string_view text);

    /// Takes a URI in as it stands in a start tag of the text.
    Number add(std::string_view written);
    /// Valid until the next one is added; always at the same place from then on.
    std::string_view operator[](Number number) const {
        const auto [begin, length] = uris_[number];
        const bool isDecoded = (length & kDecoded) != 0;
        return (isDecoded ? std::string_view(decoded_) : text_).substr(begin, length & ~kDecoded);
    }

  private:
    /// A URI is part of a start tag, so its length leaves the highest bit free.
    static constexpr uint32_t kDecoded = 1U << 31;
    struct Uri {
        uint32_t begin;
        uint32_t length;  // with kDecoded when it stands in decoded_
    };

    static Uri decodedUri(size_t begin, size_t length) {
        return {static_cast<uint32_t>(begin), static_cast<uint32_t>(length) | kDecoded};
    }

    std::string_view text_;
    std::deque<Uri> uris_;
    std::string decoded_;  // those that do not stand in the text so, one behind the other
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
        const char* name;
        uint32_t nameLength;
        NamespaceUris::Number uri;
    };
    struct Hidden {
        ElementIndex by;
        uint32_t prefix;
        NamespaceUris::Number uri;
    };

    void declare(ElementIndex element, std::string_view prefix, std::string_view writtenUri);
    uint32_t numberOf(std::string_view prefix);
    std::string_view nameOf(uint32_t number) const;

    NamespaceUris& uris_;
    std::deque<Prefix> prefixes_;
    NameIndex index_;
    std::deque<Hidden> hidden_;
};

}  // namespace webdav
