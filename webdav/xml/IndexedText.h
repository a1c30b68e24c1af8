// A document's text and the positions of its elements, kept in step through edits. MarkupDocument
// edits through it at its cursor; ResolvedNames reads it.
//
// The text has a gap where the last edit was, always between two tags or at either end of a text,
// and positions count it: an element that holds the gap is longer by it, one behind it stands later
// by it. So an insertion at the gap changes no record at all, and moving the gap only those that it
// passes. close() brings positions and text to what they mean to the outside.
#pragma once

#include <string>
#include <string_view>

#include "webdav/xml/ElementTable.h"
#include "webdav/xml/GapText.h"
#include "webdav/xml/MarkupResults.h"
#include "webdav/xml/TagName.h"

namespace webdav {

class IndexedText {
  public:
    /// Where an element is to be hung in; the gap is there already.
    struct Place {
        ElementIndex parent = 0;
        ElementIndex previous = 0;
    };

    /// Takes a text and finds its elements; `results` gets what is wrong with it.
    void parse(std::string text, bool ignoreCase, MarkupResults& results);
    /// Hands the text out as it stands and is empty afterwards.
    std::string take();
    /// Closes the gap. The text is valid until the next edit.
    const std::string& close();

    size_t size() const { return text_.size(); }
    const ElementTable& table() const { return table_; }

    std::string_view startTag(ElementIndex element) const;
    std::string_view tagName(ElementIndex element) const;
    /// The text directly within an element, decoded, CDATA sections included.
    std::string textData(ElementIndex element) const;

    /// The position in the text where a new attribute of an element goes: behind the others, or
    /// before them where the last one lacks its value.
    uint32_t attributesEnd(ElementIndex element) const;

    /// The places behind an element, before one, and at the end of one's content (0: of the
    /// document). They write what the place needs to be one: an end tag, or a pair of tags for a
    /// closed one.
    Place openBehind(ElementIndex element);
    Place openBefore(ElementIndex element);
    Place openEndOf(ElementIndex parent);

    /// Writes an element with this text, which may not lie in the document, to a place.
    ElementIndex insertElement(const Place& place, const TagName& tag, std::string_view text);

    /// Sets an attribute, written as ` name="value"`; no argument may lie in the text. False when
    /// the tag would get too long.
    bool setAttribute(ElementIndex element, std::string_view name, std::string_view written);
    /// Adds attributes, written so, behind the others.
    bool appendAttributes(ElementIndex element, std::string_view written);
    /// Replaces what stands between the tags of an element without child elements.
    void setContent(ElementIndex element, std::string_view markup);

  private:
    bool isClosedTag(ElementIndex element) const;
    bool isLeftOpen(ElementIndex element) const;
    uint32_t contentEnd(ElementIndex element) const;
    uint32_t endTagLeftOut(ElementIndex element) const;

    void moveGap(uint32_t position);
    void moveGapForward(uint32_t position);
    void moveGapBack(uint32_t position);
    void moveEnds(ElementIndex element, uint32_t from, uint32_t to);
    void endElement(ElementIndex element);
    void openClosedTag(ElementIndex element);
    void closeEmptyTag(ElementIndex element);
    bool editTag(ElementIndex element, size_t offset, size_t removed, std::string_view written);

    GapText text_;
    ElementTable table_;
    ElementIndex lastBefore_ = 0;  // the last element, by document order, to start before the gap
};

}  // namespace webdav
