// A markup document as one text with a table of element positions, read and edited through a
// cursor.
//
// Requests are parsed into one, answers are built in one. It takes any text: what is wrong with it
// is told in results(), and the document stays usable. A document belongs to one thread at a time,
// its const operations included. Nothing here throws but std::length_error ("string too long") for
// a text beyond 4 GB.
//
// Parsing is linear in the text; adding an element where the last edit was takes constant time,
// however large the document is, and an edit elsewhere time in proportion to the distance.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "webdav/xml/AttributeReader.h"
#include "webdav/xml/DeclaredNamespaces.h"
#include "webdav/xml/IndexedText.h"
#include "webdav/xml/MarkupResults.h"
#include "webdav/xml/TagName.h"
#include "webdav/xml/TextEncoding.h"

namespace webdav {

class MarkupDocument {
  public:
    /// Document flag: tag names compare without regard to case, as in HTML.
    static constexpr uint32_t kIgnoreCase = 8;
    /// What a file may hold so that its text does not get too long in UTF-8.
    static constexpr size_t kMaxFileBytes = size_t{1} << 30;

    explicit MarkupDocument(uint32_t flags = 0) : flags_(flags) {}

    /// Replaces the document and parses it; tells whether it is well-formed. The cursor is reset.
    bool setText(std::string text);
    /// The same with the text of a file, in whatever encoding it is; false as well when it cannot
    /// be read or holds more than maxBytes, and then the document is empty.
    bool load(std::string_view path, size_t maxBytes = kMaxFileBytes);
    /// Writes the document to a file; false when that, or the encoding, cannot be.
    bool save(std::string_view path, SaveOptions options = {});
    /// The document as it stands; valid until the next edit.
    const std::string& text() const;
    /// Hands the text out and leaves the document empty.
    std::string takeText();
    /// What the last parse, load or save has to tell, one markup element each.
    const std::string& results() const { return results_.text(); }

    /// Puts the cursor before the first element of the document.
    void resetPosition();
    /// Makes the next element of the current level current, or the next one of the given name.
    /// Without one the cursor stays and the answer is false.
    bool findElement(std::string_view name = {});
    /// Makes the children of the current element the level.
    bool intoElement();
    /// Makes the element whose children are the level current again.
    bool outOfElement();

    /// The name of the current element; empty without one. Valid until the next edit.
    std::string_view tagName() const;
    /// The text directly within the current element, decoded, CDATA sections included.
    std::string textData() const;
    bool hasAttribute(std::string_view name) const;
    /// The decoded value of an attribute of the current element; empty when it has none such.
    std::string attribute(std::string_view name) const;
    /// The attributes of the current element in order; valid until the next edit.
    AttributeReader attributes() const;

    /// Adds an element behind the current one, or at the end of the level when there is no current
    /// one, and makes it current. False for what is no name, and for a second root.
    bool addElement(std::string_view name, std::string_view text = {});
    /// The same for a name with a prefix; with an empty one it is the local name alone.
    bool addQualified(const std::string& prefix, std::string_view localName,
                      std::string_view text = {});
    /// Adds an element before the current one, or at the start of the level.
    bool insertElement(std::string_view name, std::string_view text = {});
    /// Adds an element within the current one, behind its current child or as the last.
    bool addChildElement(std::string_view name, std::string_view text = {});
    /// Sets an attribute of the current element; a new one goes behind the others.
    bool setAttribute(std::string_view name, std::string_view value);
    /// Sets the text of the current element, which must not have child elements.
    bool setTextData(std::string_view text);
    /// The same as a CDATA section.
    bool setCData(std::string_view text);

    /// The prefixes to write namespaces with that the document does not declare yet.
    PrefixMap& prefixes() { return prefixes_; }
    const PrefixMap& prefixes() const { return prefixes_; }
    /// What the elements of the document declare; see NamespacePrefix.h.
    const DeclaredNamespaces& declarations() {
        if (!declarationsRead_) readDeclarations();
        return declared_;
    }
    /// Declares a namespace on the root element. The root is rewritten only when it is looked at,
    /// so that an answer with many namespaces does not move its text for each of them.
    bool declareOnRoot(std::string_view prefix, std::string_view uri);
    /// Whether the root's start tag has room for one more declaration.
    bool canDeclareOnRoot(std::string_view prefix, std::string_view uri) const;
    /// The prefix of the map, or a new one, that no element declares; see DeclaredNamespaces.
    const std::string& choosePrefix(std::string_view uri);

    /// The text with its positions, for reading by element index; valid until the next edit.
    const IndexedText& index() const;

  private:
    bool ignoresCase() const { return (flags_ & kIgnoreCase) != 0; }
    bool parse(std::string text);
    void readDeclarations();
    void settle() const;
    std::string_view currentTag() const;
    ElementIndex root() const { return content_.table()[0].child; }
    bool addTagged(const TagName& tag, std::string_view text);
    bool setContent();

    uint32_t flags_;
    // An edit leaves a gap in the text, and the root's new declarations aside; reading the document
    // as a whole settles both, which is no change that a caller could see.
    mutable IndexedText content_;
    mutable std::string rootDeclarations_;
    MarkupResults results_;
    ElementIndex parent_ = 0;
    ElementIndex current_ = 0;
    ElementIndex child_ = 0;
    PrefixMap prefixes_;
    DeclaredNamespaces declared_;
    bool declarationsRead_ = false;
    std::unique_ptr<TagNames> tags_;  // made when an element is added
    TagName tag_;                     // of an element that is added by its whole name
    std::string markup_;              // what is being written besides
};

}  // namespace webdav
