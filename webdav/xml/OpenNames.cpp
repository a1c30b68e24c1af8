#include "webdav/xml/OpenNames.h"

#include "webdav/xml/MarkupScanner.h"
#include "webdav/xml/NameCharacters.h"

namespace webdav {

// While an element is open it has no next sibling yet: its record's link to one holds the next open
// element outwards of the same name, which saves the memory of a second stack.

OpenNames::OpenNames(ElementTable& table, std::string_view text, bool ignoreCase,
                     ElementIndex innermost)
    : table_(table),
      text_(text),
      index_([this](uint32_t number) { return nameOf(names_[number - 1].element); }, ignoreCase) {
    // The outermost comes first, so the way down is marked in the free links on the way up.
    ElementIndex outermost = 0;
    for (ElementIndex e = innermost; e != 0; e = table_[e].parent) {
        table_[e].next = outermost;
        outermost = e;
    }
    while (outermost != 0) {
        const ElementIndex inner = table_[outermost].next;
        opened(outermost);
        outermost = inner;
    }
}

ElementIndex OpenNames::innermost(std::string_view name) const {
    const uint32_t number = index_.find(name);
    return number == 0 ? 0 : names_[number - 1].innermost;
}

void OpenNames::opened(ElementIndex element) {
    const uint32_t known = index_.find(nameOf(element));
    if (known == 0) {
        table_[element].next = 0;
        names_.push_back({element, element});
        index_.add(static_cast<uint32_t>(names_.size()));
    } else {
        Name& name = names_[known - 1];
        table_[element].next = name.innermost;
        name.innermost = element;
    }
}

void OpenNames::closed(ElementIndex element) {
    names_[index_.find(nameOf(element)) - 1].innermost = table_[element].next;
    table_[element].next = 0;
}

std::string_view OpenNames::nameOf(ElementIndex element) const {
    return leadingName(text_.substr(table_[element].start + 1));
}

}  // namespace webdav
