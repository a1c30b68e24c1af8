// The open elements of a parse by their names. The parser makes one at the first end tag that is
// not that of the innermost open element, and from then on tells it of every element: so an end tag
// finds the nearest open element of its name, or that there is none, without looking through all of
// them.
#pragma once

#include <deque>
#include <string_view>

#include "webdav/xml/ElementTable.h"
#include "webdav/xml/NameIndex.h"

namespace webdav {

class OpenNames {
  public:
    /// Takes in the open elements: `innermost` and all around it. Both table and text stay in use.
    OpenNames(ElementTable& table, std::string_view text, bool ignoreCase, ElementIndex innermost);
    OpenNames(const OpenNames&) = delete;
    OpenNames& operator=(const OpenNames&) = delete;

    /// The innermost open element of a name, or 0.
    ElementIndex innermost(std::string_view name) const;
    void opened(ElementIndex element);
    /// Of the innermost open element only.
    void closed(ElementIndex element);

  private:
    struct Name {
        ElementIndex element;    // one that bears the name
        ElementIndex innermost;  // the innermost open one that does
    };

    std::string_view nameOf(ElementIndex element) const;

    ElementTable& table_;
    std::string_view text_;
    std::deque<Name> names_;
    NameIndex index_;
};

}  // namespace webdav
