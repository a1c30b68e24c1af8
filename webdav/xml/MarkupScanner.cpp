#include "webdav/xml/MarkupScanner.h"

#include <algorithm>

#include "webdav/xml/NameCharacters.h"

namespace webdav {

namespace {

constexpr auto npos = std::string_view::npos;

struct Delimiters {
    std::string_view opening;
    std::string_view closing;
};

constexpr Delimiters kComment{"<!--", "-->"};
constexpr Delimiters kCData{"<![CDATA[", "]]>"};
constexpr Delimiters kInstruction{"<?", "?>"};
constexpr std::string_view kDocumentTypeWord = "DOCTYPE";

/// One row for each kind of node, in their order.
struct KindRow {
    std::string_view kindName;
    std::string_view nodeName;
    Delimiters delimiters;
};

constexpr KindRow kKinds[] = {
    {"start_tag", {}, {}},
    {"end_tag", {}, {}},
    {"tag", {}, {}},
    {"comment", "#comment", kComment},
    {"processing_instruction", {}, kInstruction},
    {"cdata_section", "#cdata-section", kCData},
    {"document_type", {}, {}},
    {{}, "#text", {}},
};

const KindRow& rowOf(NodeKind kind) {
    return kKinds[static_cast<size_t>(kind)];
}

/// What a document type is read over for, since a ">" or "]" inside of it ends nothing.
constexpr Delimiters kPassedOver[] = {{"\"", "\""}, {"'", "'"}, kComment, kInstruction};

bool equalsWord(std::string_view text, std::string_view upperWord) {
    return std::equal(text.begin(), text.end(), upperWord.begin(), upperWord.end(),
                      [](char c, char upper) { return c == upper || c == upper + ('a' - 'A'); });
}

/// The position behind what `delimiters` enclose at `position`: npos when it has no end, and
/// `position` itself when it does not begin there.
size_t enclosedEnd(std::string_view text, size_t position, const Delimiters& delimiters) {
    if (!text.substr(position).starts_with(delimiters.opening)) return position;
    const size_t end = text.find(delimiters.closing, position + delimiters.opening.size());
    return end == npos ? npos : end + delimiters.closing.size();
}

/// The position behind the document type whose inside starts at `position`, or npos. Its internal
/// subset is passed over and obeyed in nothing.
size_t documentTypeEnd(std::string_view text, size_t position) {
    for (bool inSubset = false; position < text.size();) {
        const char c = text[position];
        if (c == '>' && !inSubset) return position + 1;
        size_t end = position;
        for (const Delimiters& delimiters : kPassedOver) {
            if (end == position) end = enclosedEnd(text, position, delimiters);
        }
        if (end == npos) return npos;
        if (c == '[' || c == ']') inSubset = c == '[';
        position = end == position ? position + 1 : end;
    }
    return npos;
}

}  // namespace

std::string_view nodeKindName(NodeKind kind) {
    return rowOf(kind).kindName;
}

std::string_view MarkupNode::inner() const {
    const auto& [opening, closing] = rowOf(kind).delimiters;
    return text.substr(opening.size(), text.size() - opening.size() - closing.size());
}

std::string_view MarkupNode::name() const {
    return tagName.empty() ? rowOf(kind).nodeName : tagName;
}

bool MarkupScanner::next(MarkupNode& node) {
    if (position_ >= text_.size()) return false;
    node = {};
    node.offset = position_;
    if (text_[position_] != '<') {
        scanText(node);
        return true;
    }
    switch (position_ + 1 < text_.size() ? text_[position_ + 1] : '\0') {
        case '/':
            scanEndTag(node);
            break;
        case '!':
            scanExclamation(node);
            break;
        case '?':
            scanDelimited(node, NodeKind::kProcessingInstruction, "unterminated_tag_syntax");
            break;
        default:
            scanTag(node);
    }
    return true;
}

void MarkupScanner::scanText(MarkupNode& node) {
    take(node, std::min(text_.find('<', position_), text_.size()), NodeKind::kText);
}

void MarkupScanner::scanTag(MarkupNode& node) {
    const std::string_view name = leadingName(text_.substr(position_ + 1));
    if (name.empty()) return takeAsText(node, position_ + 1, "first_tag_syntax");
    for (size_t at = position_ + 1 + name.size(); at < text_.size(); ++at) {
        const char c = text_[at];
        if (c == '>') {
            node.tagName = name;
            return take(node, at + 1, text_[at - 1] == '/' ? NodeKind::kTag : NodeKind::kStartTag);
        }
        if (c == '<') return takeAsText(node, at, "unterminated_tag_syntax");
        if (c == '"' || c == '\'') at = std::min(text_.find(c, at + 1), text_.size());
    }
    takeAsText(node, text_.size(), "unterminated_tag_syntax");
}

void MarkupScanner::scanEndTag(MarkupNode& node) {
    const std::string_view name = leadingName(text_.substr(position_ + 2));
    if (name.empty()) return takeAsText(node, position_ + 2, "first_tag_syntax");
    const size_t end = text_.find_first_of("<>", position_ + 2 + name.size());
    if (end == npos || text_[end] == '<') {
        return takeAsText(node, std::min(end, text_.size()), "unterminated_tag_syntax");
    }
    node.tagName = name;
    take(node, end + 1, NodeKind::kEndTag);
}

void MarkupScanner::scanExclamation(MarkupNode& node) {
    const std::string_view rest = text_.substr(position_);
    if (rest.starts_with(kComment.opening)) {
        scanDelimited(node, NodeKind::kComment, "comment_tag_syntax");
    } else if (rest.starts_with(kCData.opening)) {
        scanDelimited(node, NodeKind::kCDataSection, "cdata_section_syntax");
    } else if (equalsWord(rest.substr(2, kDocumentTypeWord.size()), kDocumentTypeWord)) {
        scanDocumentType(node);
    } else {
        takeAsText(node, position_ + 2, "exclamation_tag_syntax");
    }
}

void MarkupScanner::scanDocumentType(MarkupNode& node) {
    const size_t end = documentTypeEnd(text_, position_ + 2 + kDocumentTypeWord.size());
    if (end == npos) return takeAsText(node, text_.size(), "doctype_tag_syntax");
    take(node, end, NodeKind::kDocumentType);
}

void MarkupScanner::scanDelimited(MarkupNode& node, NodeKind kind, std::string_view problem) {
    const size_t end = enclosedEnd(text_, position_, rowOf(kind).delimiters);
    // Without its end the node takes all that is left: looking on behind its start would cost a
    // search to the end of the text for every such start.
    if (end == npos) return takeAsText(node, text_.size(), problem);
    take(node, end, kind);
}

void MarkupScanner::take(MarkupNode& node, size_t end, NodeKind kind) {
    node.kind = kind;
    node.text = text_.substr(position_, end - position_);
    position_ = end;
}

void MarkupScanner::takeAsText(MarkupNode& node, size_t end, std::string_view problem) {
    node.problem = problem;
    take(node, end, NodeKind::kText);
}

}  // namespace webdav
