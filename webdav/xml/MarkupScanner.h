// Cuts markup text into its nodes: tags, comments, instructions, sections and the text between.
//
// The parser reads whole documents with it, the reading of an element's text just the pieces
// between its children. One pass, no look-back: every byte is looked at a bounded number of times.
// What is no node of any kind is handed out as text with the name of the problem, and scanning goes
// on.
#pragma once

#include <cstddef>
#include <string_view>

namespace webdav {

enum class NodeKind {
    kStartTag,
    kEndTag,
    kTag,  ///< an element without content, closed in its own tag
    kComment,
    kProcessingInstruction,
    kCDataSection,
    kDocumentType,
    kText,
};

/// The kind's name in result records, "start_tag" and so on; text has none.
std::string_view nodeKindName(NodeKind kind);

struct MarkupNode {
    NodeKind kind = NodeKind::kText;
    size_t offset = 0;         ///< of its first byte in the scanned text
    std::string_view text;     ///< the whole node, delimiters included
    std::string_view tagName;  ///< of the three kinds of tags only
    std::string_view problem;  ///< the result token, when this is text for want of syntax

    /// What stands between the delimiters of a comment, instruction or section; text as it is.
    std::string_view inner() const;
    /// The tag name; "#text", "#cdata-section" or "#comment"; empty for the other kinds.
    std::string_view name() const;
};

class MarkupScanner {
  public:
    explicit MarkupScanner(std::string_view text) : text_(text) {}

    /// Reads the next node; false at the end of the text.
    bool next(MarkupNode& node);

  private:
    void scanText(MarkupNode& node);
    void scanTag(MarkupNode& node);
    void scanEndTag(MarkupNode& node);
    void scanExclamation(MarkupNode& node);
    void scanDocumentType(MarkupNode& node);
    void scanDelimited(MarkupNode& node, NodeKind kind, std::string_view problem);
    void take(MarkupNode& node, size_t end, NodeKind kind);
    void takeAsText(MarkupNode& node, size_t end, std::string_view problem);

    std::string_view text_;
    size_t position_ = 0;
};

}  // namespace webdav
