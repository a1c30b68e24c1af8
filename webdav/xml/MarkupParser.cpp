#include "webdav/xml/MarkupParser.h"

#include "webdav/xml/NameCharacters.h"

namespace webdav {

MarkupParser::MarkupParser(std::string_view text, bool ignoreCase, ElementTable& table,
                           MarkupResults& results)
    : text_(text), ignoreCase_(ignoreCase), table_(table), results_(results) {}

void MarkupParser::parse() {
    MarkupNode node;
    for (MarkupScanner scanner(text_); scanner.next(node);) {
        if (!node.problem.empty()) {
            problem(node.problem, {.offset = static_cast<uint32_t>(node.offset)});
        }
        if (node.kind == NodeKind::kStartTag || node.kind == NodeKind::kTag) startTag(node);
        if (node.kind == NodeKind::kEndTag) endTag(node);
    }
    while (open_ != 0) leaveOpen(open_, static_cast<uint32_t>(text_.size()));
    checkTop();
}

void MarkupParser::startTag(const MarkupNode& node) {
    if (node.text.size() > ElementRecord::kMaxStartTag ||
        node.tagName.size() > ElementRecord::kMaxName) {
        return leaveOut(node);
    }
    const ElementIndex element = table_.add(open_, table_.lastChild(open_));
    ElementRecord& record = table_[element];
    record.start = static_cast<uint32_t>(node.offset);
    record.length = static_cast<uint32_t>(node.text.size());
    record.setTagLengths(node.text.size(), 0);
    if (node.kind == NodeKind::kTag) return;
    open_ = element;
    if (openNames_) openNames_->opened(element);
}

void MarkupParser::endTag(const MarkupNode& node) {
    const auto offset = static_cast<uint32_t>(node.offset);
    const bool tooLong = node.text.size() > ElementRecord::kMaxEndTag;
    if (tooLong) leaveOut(node);
    const ElementIndex element = openElement(node.tagName);
    if (element == 0) {
        // An end tag of a name that no element in the index can have says nothing of its own.
        if (node.tagName.size() > ElementRecord::kMaxName) return;
        problem("lone_end_tag", {.tagName = node.tagName, .offset = offset});
        table_[open_].flags |= ElementRecord::kProblem;
        return;
    }
    while (open_ != element) leaveOpen(open_, offset);
    if (tooLong) {
        table_[element].flags |= ElementRecord::kProblem | ElementRecord::kEndTagLeftOut;
        close(element, offset, 0);
    } else {
        const auto length = static_cast<uint32_t>(node.text.size());
        close(element, offset + length, length);
    }
}

/// The nearest open element of a name, or 0.
ElementIndex MarkupParser::openElement(std::string_view name) {
    if (open_ == 0 || sameName(nameOf(open_), name, ignoreCase_)) return open_;
    if (!openNames_) openNames_.emplace(table_, text_, ignoreCase_, open_);
    return openNames_->innermost(name);
}

void MarkupParser::leaveOpen(ElementIndex element, uint32_t end) {
    problem("unended_start_tag",
            {.tagName = nameOf(element), .offset = table_[element].start, .offset2 = end});
    table_[element].flags |= ElementRecord::kProblem;
    close(element, end, 0);
}

void MarkupParser::close(ElementIndex element, uint32_t end, uint32_t endTagLength) {
    ElementRecord& record = table_[element];
    record.length = end - record.start;
    record.setTagLengths(record.startTagLength(), endTagLength);
    if (openNames_) openNames_->closed(element);
    open_ = record.parent;
}

void MarkupParser::checkTop() {
    const ElementIndex root = table_[0].child;
    if (root == 0) return problem("no_root_element", {});
    const ElementIndex sibling = table_[root].next;
    if (sibling == 0) return;
    problem("root_has_sibling", {.tagName = nameOf(sibling), .offset = table_[sibling].start});
}

/// Records a tag that is longer than the index can tell; it is passed over like a comment.
void MarkupParser::leaveOut(const MarkupNode& node) {
    problem("truncation_error", {.msg = nodeKindName(node.kind),
                                 .tagName = node.tagName,
                                 .length = static_cast<uint32_t>(node.text.size()),
                                 .offset = static_cast<uint32_t>(node.offset)});
}

void MarkupParser::problem(std::string_view token, const ResultDetail& detail) {
    results_.add(token, detail);
    table_[0].flags |= ElementRecord::kIllFormed;
}

std::string_view MarkupParser::nameOf(ElementIndex element) const {
    return leadingName(text_.substr(table_[element].start + 1));
}

}  // namespace webdav
