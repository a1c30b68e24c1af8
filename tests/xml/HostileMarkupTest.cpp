// Shapes that cost a careless engine time by the square, stack by the depth or memory without
// bound. Whoever breaks one of these sees this program hang, overflow or run out of memory.
#include <string>

#include <gtest/gtest.h>

#include "webdav/xml/NamespacePrefix.h"
#include "webdav/xml/ResolvedNames.h"

using webdav::MarkupDocument;
using webdav::ResolvedNames;

namespace {

constexpr int kMany = 100'000;

std::string repeated(std::string_view text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i) all += text;
    return all;
}

std::string numbered(std::string_view before, std::string_view behind, int times) {
    std::string all;
    for (int i = 0; i < times; ++i) (all += before).append(std::to_string(i)).append(behind);
    return all;
}

TEST(HostileMarkup, IsReadInLinearTime) {
    struct Shape {
        const char* what;
        std::string text;
        uint32_t elements;
    };
    const uint32_t many = kMany;
    const Shape shapes[] = {
        {"levels", repeated("<a>", 1'000'000) + repeated("</a>", 1'000'000), 1'000'000},
        {"levels left open", repeated("<a>", kMany), many},
        {"levels of other names and lone end tags",
         numbered("<a", ">", kMany) + repeated("</b>", kMany), many},
        {"levels closed from outside", repeated("<a><b><c></a>", kMany), 3 * many},
        {"levels of declarations", numbered("<p:a xmlns:p='u", "' xmlns='v'>", kMany), many},
        {"attributes", "<a" + repeated(" b='1'", kMany) + "/>", 1},
        {"declarations", "<a" + numbered(" xmlns:p", "='u'", kMany) + "/>", 1},
        {"hrefs in hrefs", "<href xmlns='DAV:'>" + repeated("<href>x", kMany), many + 1},
        {"comments", "<a>" + repeated("<!---->", kMany) + "</a>", 1},
        {"comments without end", repeated("<!--", kMany), 0},
        {"sections without end", repeated("<![CDATA[", kMany), 0},
        {"instructions without end", repeated("<?", kMany), 0},
        {"subsets without end", "<!DOCTYPE a [" + repeated("<!ENTITY b '<!-- -->'>[", kMany), 0},
        {"quotes without end", repeated("<a b='", kMany), 0},
        {"tags without end", repeated("<a ", kMany), 0},
        {"less-than signs", repeated("<", kMany), 0},
        {"references", "<a>" + repeated("&&a;&#9999999999;", kMany) + "</a>", 1},
    };
    for (const Shape& shape : shapes) {
        SCOPED_TRACE(shape.what);
        MarkupDocument document;
        document.setText(shape.text);
        EXPECT_EQ(document.index().table().count(), shape.elements);
        const ResolvedNames names(document);
        size_t length = 0;
        for (const auto e : names.findAll("DAV:", "href")) length += names.text(e).size();
        EXPECT_EQ(length == 0, shape.what != std::string_view("hrefs in hrefs"));
        while (document.findElement()) document.intoElement();
        EXPECT_EQ(document.outOfElement(), shape.elements > 0);
    }
}

TEST(HostileMarkup, IsWrittenInLinearTime) {
    MarkupDocument document;
    webdav::AddElementNS(document, "DAV:", "r");
    document.intoElement();
    for (int i = 0; i < 50'000; ++i) {
        ASSERT_TRUE(webdav::AddElementNS(document, "urn:" + std::to_string(i), "x"));
    }
    for (int i = 0; i < kMany; ++i) {
        webdav::AddElementNS(document, "DAV:", "deep");
        document.intoElement();
        webdav::AddElementNS(document, "DAV:", "leaf", "t");
    }
    while (document.outOfElement()) webdav::AddElementNS(document, "DAV:", "behind");
    MarkupDocument again;
    EXPECT_TRUE(again.setText(document.takeText()));
    EXPECT_EQ(again.index().table().count(), 50'000U + 3U * kMany + 1);
}

TEST(HostileMarkup, RefusesMoreNamespacesThanTheRootCanDeclare) {
    MarkupDocument document;
    webdav::AddElementNS(document, "DAV:", "r");
    document.intoElement();
    const std::string uri(100'000, 'u');
    int added = 0;
    while (webdav::AddElementNS(document, uri + std::to_string(added), "x")) ++added;
    EXPECT_EQ(added, 41);
    EXPECT_TRUE(webdav::AddElementNS(document, "DAV:", "still"));
    MarkupDocument again;
    EXPECT_TRUE(again.setText(document.takeText()));
}

}  // namespace
