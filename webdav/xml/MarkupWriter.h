// Writes a document from its beginning to its end: for answers, which nobody looks at before they
// are whole. What it writes is what AddElementNS writes into an empty MarkupDocument, without the
// index that a document keeps of its elements.
//
// Belongs to one thread. Names that no document can hold are refused, all else is escaped.
#pragma once

#include <bitset>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "webdav/xml/DeclaredNamespaces.h"
#include "webdav/xml/TagName.h"

namespace webdav {

/// What a namespace is always written with.
struct KnownPrefix {
    std::string_view uri;
    std::string_view prefix;
};

class MarkupWriter {
  public:
    static constexpr size_t kMaxKnown = 8;

    /// @param known a table, of at most kMaxKnown rows without repetitions, that stays. Other
    /// namespaces are called "ns0" and so on. One is declared on the root when an element first
    /// needs it.
    explicit MarkupWriter(std::span<const KnownPrefix> known);

    /// Begins an element within the innermost open one. False, and nothing is written, for what is
    /// no name and when the root has no room for one more declaration.
    bool open(std::string_view uri, std::string_view localName);
    /// Adds an attribute to the element that has just begun. The name is taken as it is.
    void attribute(std::string_view name, std::string_view value);
    /// Text within the element that has just begun; an empty one leaves it without content.
    void content(std::string_view text);
    /// Markup that is known to be right where it stands, with prefixes that are declared already.
    void markup(std::string_view markup) {
        endStartTag();
        text_ += markup;
    }
    /// Ends the innermost element.
    void close();
    /// An element within the innermost open one, with nothing but text.
    bool element(std::string_view uri, std::string_view localName, std::string_view text = {});
    /// The tags of such an element, to be written as markup, until others are asked for; null where
    /// the element would be refused.
    const TagName* tags(std::string_view uri, std::string_view localName);

    /// Makes sure that a namespace is declared, for markup that uses its prefix; false when the
    /// root has no room for it.
    bool declareNamespace(std::string_view uri) {
        constexpr std::string_view kAnyName = "any";
        return !prefixOf(uri).empty() || declare(uri, kAnyName) != nullptr;
    }

    /// The length of the text so far, and room for a longer one.
    size_t size() const { return text_.size(); }
    void reserve(size_t size) { text_.reserve(size); }
    /// Hands the text over, when all elements are closed.
    std::string takeText();

  private:
    const TagName* tagOf(std::string_view uri, std::string_view localName);
    std::string_view prefixOf(std::string_view uri) const;
    size_t knownNumber(std::string_view uri) const;
    const TagName* declare(std::string_view uri, std::string_view localName);
    void endStartTag() {
        if (std::exchange(startTagIsOpen_, false)) text_ += '>';
    }
    void settle();

    std::span<const KnownPrefix> known_;
    std::bitset<kMaxKnown> declaredKnown_;
    DeclaredNamespaces declared_;  // of the others
    TagNames tags_;
    std::string text_;
    std::string declarations_;  // of the root, that are not yet in the text
    size_t rootEnd_ = 0;        // where they belong
    size_t rootLength_ = 0;     // of the root's start tag with all of them
    std::string endTags_;       // of the open elements
    bool startTagIsOpen_ = false;
};

}  // namespace webdav
