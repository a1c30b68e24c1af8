// The tree of a document as one line, "a(b c(d))", for comparing documents in tests.
#pragma once

#include <string>

#include "webdav/xml/MarkupDocument.h"

inline std::string outline(const webdav::MarkupDocument& document) {
    const webdav::IndexedText& index = document.index();
    const webdav::ElementTable& table = index.table();
    std::string line;
    for (webdav::ElementIndex element = table[0].child; element != 0;) {
        line += index.tagName(element);
        if (table[element].child != 0) {
            line += '(';
            element = table[element].child;
            continue;
        }
        for (; element != 0 && table[element].next == 0; element = table[element].parent)
            line += table[element].parent != 0 ? ")" : "";
        line += element != 0 ? " " : "";
        element = table[element].next;
    }
    return line;
}
