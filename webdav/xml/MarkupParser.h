// Finds the elements of a text and fills the table of their positions. MarkupDocument runs one for
// each text that it is given.
//
// It takes any text: problems are recorded as results and in the flags of the elements that they
// concern, and what is ill-formed is left in the place where it stands. Linear in the text; the
// depth of nesting costs neither stack nor, as long as tags match, memory beside the table.
#pragma once

#include <optional>
#include <string_view>

#include "webdav/xml/ElementTable.h"
#include "webdav/xml/MarkupResults.h"
#include "webdav/xml/MarkupScanner.h"
#include "webdav/xml/OpenNames.h"

namespace webdav {

class MarkupParser {
  public:
    /// `table` holds the record of the document only.
    MarkupParser(std::string_view text, bool ignoreCase, ElementTable& table,
                 MarkupResults& results);

    void parse();

  private:
    void startTag(const MarkupNode& node);
    void endTag(const MarkupNode& node);
    ElementIndex openElement(std::string_view name);
    void leaveOpen(ElementIndex element, uint32_t end);
    void close(ElementIndex element, uint32_t end, uint32_t endTagLength);
    void checkTop();
    void leaveOut(const MarkupNode& node);
    void problem(std::string_view token, const ResultDetail& detail);
    std::string_view nameOf(ElementIndex element) const;

    std::string_view text_;
    bool ignoreCase_;
    ElementTable& table_;
    MarkupResults& results_;
    ElementIndex open_ = 0;  // the innermost open element
    std::optional<OpenNames> openNames_;
};

}  // namespace webdav
