// Fuzzes the markup engine: any text is parsed and edited at places that the text itself chooses.
// After each step positions and links must agree with the text, and a well-formed document must
// stay one with the same tree when what was written is parsed again.
#include <cstdlib>
#include <string>
#include <vector>

#include "webdav/xml/MarkupDocument.h"
#include "webdav/xml/NamespacePrefix.h"
#include "webdav/xml/ResolvedNames.h"

using webdav::ElementIndex;
using webdav::ElementRecord;
using webdav::ElementTable;
using webdav::IndexedText;
using webdav::MarkupDocument;

namespace {

void require(bool holds) {
    if (!holds) std::abort();
}

void checkElement(const IndexedText& index, const std::string& text, ElementIndex element) {
    const ElementTable& table = index.table();
    const ElementRecord& record = table[element];
    const ElementRecord& parent = table[record.parent];
    const uint32_t tags = record.startTagLength() + record.endTagLength();
    require(tags <= record.length && record.end() <= text.size());
    require(text[record.start] == '<' && index.startTag(element).ends_with('>'));
    const std::string_view endTag =
        std::string_view(text).substr(0, record.end()).substr(record.end() - record.endTagLength());
    require(endTag.empty() || endTag.starts_with("</" + std::string(index.tagName(element))));
    require(record.start >= parent.start + parent.startTagLength());
    require(record.end() <= parent.end() - parent.endTagLength());
    require(record.previous == 0 ? parent.child == element
                                 : table[record.previous].next == element &&
                                       table[record.previous].end() <= record.start);
    require((record.next == 0) == (table.lastChild(record.parent) == element));
}

/// Checks all elements and lists them as depth, name and text.
std::vector<std::string> checkedTree(const MarkupDocument& document) {
    const IndexedText& index = document.index();
    const ElementTable& table = index.table();
    const webdav::ResolvedNames names(document);
    require(table[0].start == 0 && table[0].length == document.text().size());
    std::vector<std::string> tree;
    ElementIndex last = 0;
    for (ElementIndex e = 0; (e = table.nextInOrder(e)) != 0; last = e) {
        checkElement(index, document.text(), e);
        require(table.previousInOrder(e) == last);
        tree.push_back(std::string(names.namespaceOf(e)) + ' ' + std::string(index.tagName(e)) +
                       ' ' + index.textData(e));
        if (table[e].child == 0 && table[e].next == 0) tree.push_back("^");
    }
    require(tree.size() >= table.count());
    return tree;
}

/// Does one edit or movement; which one, and with what, the byte says.
void step(MarkupDocument& document, unsigned char byte) {
    const std::string value = byte % 5 == 0 ? "" : "<&]]>\"" + std::to_string(byte);
    const std::string uri = "urn:" + std::to_string(byte % 3);
    switch (byte % 13) {
        case 0:
            document.resetPosition();
            break;
        case 1:
            document.outOfElement();
            break;
        case 2:
            document.addElement("added", value);
            break;
        case 3:
            document.insertElement("inserted", value);
            break;
        case 4:
            document.addChildElement("child", value);
            break;
        case 5:
            document.setAttribute(byte % 2 == 0 ? "a" : "id", value);
            break;
        case 6:
            document.setTextData(value);
            break;
        case 7:
            document.setCData(value);
            break;
        case 8:
            webdav::AddElementNS(document, uri, "local", value);
            break;
        case 9:
            document.text();
            break;
        case 10:
            document.intoElement();
            break;
        default:
            document.findElement();
            break;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    MarkupDocument document;
    const bool wellFormed = document.setText(text);
    require(document.text() == text && document.results().empty() == wellFormed);
    checkedTree(document);
    for (const char c : text) step(document, static_cast<unsigned char>(c));
    const std::vector<std::string> tree = checkedTree(document);
    MarkupDocument again;
    const bool stillWellFormed = again.setText(document.text());
    const std::vector<std::string> secondTree = checkedTree(again);
    if (wellFormed) require(stillWellFormed && tree == secondTree);
    require(document.takeText() == again.takeText());
    return 0;
}
