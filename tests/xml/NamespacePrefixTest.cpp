#include <string>

#include <gtest/gtest.h>

#include "webdav/xml/NamespacePrefix.h"

using webdav::AddElementNS;
using webdav::MarkupDocument;
using webdav::ResolvePrefix;

namespace {

constexpr std::string_view kDav = "DAV:";
constexpr std::string_view kCalDav = "urn:ietf:params:xml:ns:caldav";

TEST(NamespacePrefix, TakesTheFirstDeclarationOfADocument) {
    struct Case {
        std::string_view text;
        bool found;
        std::string_view prefix;
    };
    const Case cases[] = {
        {"<a xmlns='DAV:'/>", true, ""},
        {"<a><b xmlns:x='DAV:'/><c xmlns:y='DAV:'/></a>", true, "x"},
        {"<a XMLNS:x='&#68;AV:'/>", true, "x"},
        {"<a xmlns:x='dav:'/>", false, ""},
        {"<a x='DAV:'/>", false, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        MarkupDocument document;
        document.setText(std::string(c.text));
        std::string prefix;
        EXPECT_EQ(ResolvePrefix(document, kDav, prefix, false), c.found);
        EXPECT_EQ(prefix, c.prefix);
        EXPECT_EQ(document.text(), c.text);
    }
}

TEST(NamespacePrefix, DeclaresANewPrefixOnTheRoot) {
    MarkupDocument document;
    document.setText("<a k='v'><b xmlns:ns0='u'/></a>");
    std::string prefix;
    ASSERT_TRUE(ResolvePrefix(document, kDav, prefix, true));
    EXPECT_EQ(prefix, "ns1");
    ASSERT_TRUE(ResolvePrefix(document, "v", prefix, true));
    EXPECT_EQ(prefix, "ns2");
    ASSERT_TRUE(ResolvePrefix(document, kDav, prefix, true));
    EXPECT_EQ(prefix, "ns1");
    EXPECT_EQ(document.text(), R"(<a k='v' xmlns:ns1="DAV:" xmlns:ns2="v"><b xmlns:ns0='u'/></a>)");
}

TEST(NamespacePrefix, WritesAnAnswer) {
    MarkupDocument document;
    document.prefixes() = {{std::string(kDav), "D"}, {std::string(kCalDav), "C"}, {"unused", "U"}};
    ASSERT_TRUE(AddElementNS(document, kDav, "multistatus"));
    document.intoElement();
    for (int i = 0; i < 2; ++i) {
        AddElementNS(document, kDav, "response");
        document.intoElement();
        AddElementNS(document, kDav, "href", "/a&b");
        AddElementNS(document, kCalDav, "comp");
        document.setAttribute("name", "VEVENT");
        AddElementNS(document, "urn:x", "y");
        AddElementNS(document, "", "plain");
        EXPECT_FALSE(AddElementNS(document, kDav, "a:b"));
        EXPECT_FALSE(AddElementNS(document, "urn:never", ""));
        document.outOfElement();
    }
    document.resetPosition();
    document.findElement();
    EXPECT_EQ(document.attribute("xmlns:C"), kCalDav);
    document.setAttribute("last", "1");
    const std::string response =
        "<D:response><D:href>/a&amp;b</D:href><C:comp name=\"VEVENT\"/><ns0:y/><plain/>"
        "</D:response>";
    EXPECT_EQ(document.takeText(),
              "<D:multistatus xmlns:D=\"DAV:\" xmlns:C=\"urn:ietf:params:xml:ns:caldav\" "
              "xmlns:ns0=\"urn:x\" last=\"1\">" +
                  response + response + "</D:multistatus>");
}

TEST(NamespacePrefix, WritesWithThePrefixesThatTheDocumentHas) {
    MarkupDocument document;
    document.prefixes() = {{"other", "d"}};
    document.addElement("d:error");
    document.setAttribute("xmlns:d", kDav);
    document.intoElement();
    AddElementNS(document, kDav, "x");
    AddElementNS(document, "other", "y", "t");
    EXPECT_EQ(webdav::LocalName(document), "y");
    EXPECT_EQ(document.text(),
              R"(<d:error xmlns:d="DAV:" xmlns:ns0="other"><d:x/><ns0:y>t</ns0:y></d:error>)");
}

}  // namespace
