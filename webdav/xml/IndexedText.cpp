#include "webdav/xml/IndexedText.h"

#include <utility>

#include "webdav/xml/AttributeReader.h"
#include "webdav/xml/MarkupEscape.h"
#include "webdav/xml/MarkupParser.h"
#include "webdav/xml/MarkupScanner.h"
#include "webdav/xml/NameCharacters.h"

namespace webdav {

namespace {

/// Appends what a piece of content between two elements holds of text.
void appendText(std::string& out, std::string_view content) {
    MarkupNode node;
    for (MarkupScanner scanner(content); scanner.next(node);) {
        if (node.kind == NodeKind::kText) appendDecoded(out, node.text);
        if (node.kind == NodeKind::kCDataSection) out += node.inner();
    }
}

void appendElement(std::string& out, const TagName& tag, std::string_view text) {
    if (text.empty()) return tag.appendEmptyTag(out);
    out += tag.startTag();
    appendContent(out, text);
    out += tag.endTag();
}

}  // namespace

void IndexedText::parse(std::string text, bool ignoreCase, MarkupResults& results) {
    text_.assign(std::move(text));
    table_.clear();
    table_[0].length = text_.gapBegin();
    MarkupParser(text_.front(), ignoreCase, table_, results).parse();
    lastBefore_ = table_.count();  // the parser numbers the elements in document order
}

std::string IndexedText::take() {
    table_.clear();
    lastBefore_ = 0;
    return text_.take();
}

const std::string& IndexedText::close() {
    moveGap(GapText::kEnd);
    table_[0].length = text_.gapBegin();
    return text_.front();
}

std::string_view IndexedText::startTag(ElementIndex element) const {
    const ElementRecord& record = table_[element];
    return text_.view(record.start, record.start + record.startTagLength());
}

std::string_view IndexedText::tagName(ElementIndex element) const {
    return leadingName(startTag(element).substr(1));
}

std::string IndexedText::textData(ElementIndex element) const {
    std::string text;
    const ElementRecord& record = table_[element];
    uint32_t begin = record.start + record.startTagLength();
    for (ElementIndex child = record.child; child != 0; child = table_[child].next) {
        appendText(text, text_.view(begin, table_[child].start));
        begin = table_[child].end();
    }
    appendText(text, text_.view(begin, contentEnd(element)));
    return text;
}

bool IndexedText::isClosedTag(ElementIndex element) const {
    const ElementRecord& record = table_[element];
    return record.length == record.startTagLength() && startTag(element).ends_with("/>");
}

bool IndexedText::isLeftOpen(ElementIndex element) const {
    const ElementRecord& record = table_[element];
    return record.endTagLength() == 0 && !isClosedTag(element) &&
           (record.flags & ElementRecord::kEndTagLeftOut) == 0;
}

uint32_t IndexedText::contentEnd(ElementIndex element) const {
    return element == 0 ? GapText::kEnd : table_[element].end() - table_[element].endTagLength();
}

uint32_t IndexedText::endTagLeftOut(ElementIndex element) const {
    const ElementRecord& record = table_[element];
    if ((record.flags & ElementRecord::kEndTagLeftOut) == 0) return 0;
    const uint32_t limit = record.next != 0 ? table_[record.next].start : contentEnd(record.parent);
    MarkupNode node;
    MarkupScanner(text_.view(record.end(), limit)).next(node);
    return static_cast<uint32_t>(node.text.size());
}

uint32_t IndexedText::attributesEnd(ElementIndex element) const {
    const std::string_view tag = startTag(element);
    AttributeReader reader(tag);
    const char* const nameEnd = reader.rest().data();
    for (MarkupAttribute attribute; reader.next(attribute);) continue;
    const size_t closing = tag.size() - (isClosedTag(element) ? 2 : 1);
    const size_t end = reader.wantsValue() ? static_cast<size_t>(nameEnd - tag.data())
                                           : tag.find_last_not_of(" \t\r\n", closing - 1) + 1;
    return table_[element].start + static_cast<uint32_t>(end);
}

IndexedText::Place IndexedText::openBehind(ElementIndex element) {
    const ElementRecord& record = table_[element];
    if (isLeftOpen(element)) endElement(element);
    const uint32_t end = record.end() == text_.gapBegin() ? text_.gapEnd() : record.end();
    moveGap(end + endTagLeftOut(element));
    return {record.parent, element};
}

IndexedText::Place IndexedText::openBefore(ElementIndex element) {
    const ElementRecord& record = table_[element];
    moveGap(record.start);
    return {record.parent, record.previous};
}

IndexedText::Place IndexedText::openEndOf(ElementIndex parent) {
    if (parent != 0 && isClosedTag(parent)) {
        openClosedTag(parent);
        return {parent, 0};
    }
    const ElementIndex last = table_.lastChild(parent);
    if (last != 0 && isLeftOpen(last)) endElement(last);
    moveGap(contentEnd(parent));
    return {parent, last};
}

ElementIndex IndexedText::insertElement(const Place& place, const TagName& tag,
                                        std::string_view text) {
    const uint32_t start = text_.gapBegin();
    text_.putBy([&](std::string& out) { appendElement(out, tag, text); });
    moveEnds(place.parent, start, text_.gapBegin());
    const ElementIndex element = table_.add(place.parent, place.previous);
    ElementRecord& record = table_[element];
    record.start = start;
    record.length = text_.gapBegin() - start;
    if (text.empty()) {
        record.setTagLengths(record.length, 0);
    } else {
        record.setTagLengths(tag.startTag().size(), tag.endTag().size());
    }
    lastBefore_ = element;
    return element;
}

bool IndexedText::setAttribute(ElementIndex element, std::string_view name,
                               std::string_view written) {
    const std::string_view tag = startTag(element);
    MarkupAttribute attribute;
    for (AttributeReader reader(tag); reader.next(attribute);) {
        if (attribute.name != name) continue;
        const auto begin = static_cast<size_t>(attribute.name.data() - tag.data());
        const auto end = static_cast<size_t>(reader.rest().data() - tag.data());
        return editTag(element, begin, end - begin, written.substr(1));
    }
    return appendAttributes(element, written);
}

bool IndexedText::appendAttributes(ElementIndex element, std::string_view written) {
    return editTag(element, attributesEnd(element) - table_[element].start, 0, written);
}

bool IndexedText::editTag(ElementIndex element, size_t offset, size_t removed,
                          std::string_view written) {
    ElementRecord& record = table_[element];
    const uint32_t length = record.startTagLength();
    const size_t newLength = length - removed + written.size();
    if (newLength > ElementRecord::kMaxStartTag) return false;
    const std::string tail(startTag(element).substr(offset + removed));
    moveGap(record.start + length);
    const uint32_t end = text_.gapBegin();
    text_.drop(length - static_cast<uint32_t>(offset));
    text_.put(written);
    text_.put(tail);
    record.setTagLengths(newLength, record.endTagLength());
    moveEnds(element, end, text_.gapBegin());
    return true;
}

void IndexedText::setContent(ElementIndex element, std::string_view markup) {
    const ElementRecord& record = table_[element];
    if (isClosedTag(element)) {
        if (markup.empty()) return;
        openClosedTag(element);
    } else {
        if (isLeftOpen(element)) endElement(element);
        moveGap(contentEnd(element));
    }
    const uint32_t begin = record.start + record.startTagLength();
    const uint32_t end = text_.gapBegin();
    text_.drop(end - begin);
    text_.put(markup);
    moveEnds(element, end, text_.gapBegin());
    if (markup.empty() && record.endTagLength() != 0) closeEmptyTag(element);
}

/// Moves the gap and all positions that depend on it; `position` is counted before the move.
void IndexedText::moveGap(uint32_t position) {
    if (position < text_.gapBegin()) {
        moveGapBack(position);
    } else if (position > text_.gapEnd()) {
        moveGapForward(position);
    }
}

void IndexedText::moveGapForward(uint32_t position) {
    const uint32_t gap = text_.gapSize();
    ElementIndex element = lastBefore_;
    ElementIndex next = table_[element].child;
    for (;;) {
        // Elements that end before the new place; those that held the gap hold it no longer.
        while (next == 0 && element != 0 && table_[element].end() <= position) {
            ElementRecord& left = table_[element];
            if (left.start < text_.gapBegin() && left.end() > text_.gapEnd()) left.length -= gap;
            next = left.next;
            element = left.parent;
        }
        if (next == 0 || table_[next].start >= position) break;
        ElementRecord& passed = table_[next];
        const bool holdsIt = passed.end() > position;
        passed.start -= gap;
        if (holdsIt) passed.length += gap;
        lastBefore_ = element = next;
        next = passed.child;
    }
    text_.moveGap(position);
}

void IndexedText::moveGapBack(uint32_t position) {
    const uint32_t gap = text_.gapSize();
    ElementIndex element = lastBefore_;
    while (element != 0 && table_[element].start >= position) {
        ElementRecord& passed = table_[element];
        if (passed.end() > text_.gapEnd()) passed.length -= gap;
        passed.start += gap;
        element = table_.previousInOrder(element);
    }
    lastBefore_ = element;
    for (; element != 0 && table_[element].end() <= text_.gapBegin();
         element = table_[element].parent) {
        if (table_[element].end() > position) table_[element].length += gap;
    }
    text_.moveGap(position);
}

/// Sets the end of an element anew, and of those around it that end with it for want of an end tag.
void IndexedText::moveEnds(ElementIndex element, uint32_t from, uint32_t to) {
    for (; element != 0 && table_[element].end() == from; element = table_[element].parent) {
        table_[element].length = to - table_[element].start;
    }
}

/// Gives an element that was left open its end tag, at the place where it ends.
void IndexedText::endElement(ElementIndex element) {
    ElementRecord& record = table_[element];
    moveGap(record.end());
    const std::string endTag = "</" + std::string(tagName(element)) + ">";
    const uint32_t end = text_.gapBegin();
    text_.put(endTag);
    moveEnds(element, end, text_.gapBegin());
    record.setTagLengths(record.startTagLength(), endTag.size());
}

/// Makes a start and an end tag of a closed one, with the gap between them.
void IndexedText::openClosedTag(ElementIndex element) {
    ElementRecord& record = table_[element];
    moveGap(record.end());
    const std::string_view name = tagName(element);
    const auto endTagLength = static_cast<uint32_t>(name.size() + 3);
    text_.putBehind({"</", name, ">"});
    const uint32_t end = text_.gapBegin();
    text_.drop(2);
    // What ends in one more slash would be a closed tag still.
    text_.put(text_.front().ends_with('/') ? " >" : ">");
    record.setTagLengths(text_.gapBegin() - record.start, endTagLength);
    moveEnds(element, end, text_.gapEnd() + endTagLength);
}

/// Makes one closed tag of a start and an end tag that have just the gap between them.
void IndexedText::closeEmptyTag(ElementIndex element) {
    ElementRecord& record = table_[element];
    const uint32_t end = record.end();
    text_.dropBehind(record.endTagLength());
    text_.drop(1);
    text_.put("/>");
    record.setTagLengths(record.startTagLength() + 1, 0);
    moveEnds(element, end, text_.gapBegin());
}

}  // namespace webdav
