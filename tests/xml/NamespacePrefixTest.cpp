#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "webdav/xml/MarkupWriter.h"
#include "webdav/xml/NamespacePrefix.h"

using webdav::AddElementNS;
using webdav::MarkupDocument;
using webdav::ResolvePrefix;

namespace {

constexpr std::string_view kDav = "DAV:";

TEST(NamespacePrefix, TakesTheFirstDeclarationOfADocument) {
    const std::tuple<std::string, bool, std::string_view> cases[] = {
        {"<a xmlns='DAV:'/>", true, ""},
        {"<a><b xmlns:x='DAV:'/><c xmlns:y='DAV:'/></a>", true, "x"},
        {"<a XMLNS:x='&#68;AV:'/>", true, "x"},
        {"<a xmlns:x='dav:'/>", false, ""},
        {"<a x='DAV:'/>", false, ""},
    };
    for (const auto& [text, found, expected] : cases) {
        SCOPED_TRACE(text);
        MarkupDocument document;
        document.setText(text);
        std::string prefix;
        EXPECT_EQ(ResolvePrefix(document, kDav, prefix, false), found);
        EXPECT_EQ(prefix, expected);
        EXPECT_EQ(document.text(), text);
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

/// Namespaces of every sort, as many as the root has room for and more, and texts of every sort.
TEST(NamespacePrefix, AWriterWritesWhatADocumentDoes) {
    const std::string escaped = "u3" + std::string(60, '&');
    const webdav::KnownPrefix prefixes[] = {{kDav, "D"}, {"u1", "E"}, {escaped, "F"}};
    MarkupDocument document;
    for (const auto& [uri, prefix] : prefixes) document.prefixes().emplace(uri, prefix);
    webdav::MarkupWriter writer(prefixes);
    AddElementNS(document, kDav, "m");
    document.intoElement();
    writer.open(kDav, "m");
    for (int i = 0; i < 1500; ++i) {
        const std::string uri =
            i % 7 == 0 ? "" : "u" + std::to_string(i / 2) + std::string(60, '&');
        const std::string name = i % 5 == 0 ? "no name" : "n" + std::to_string(i % 4);
        const std::string text = i % 3 == 0 ? "" : i % 4 == 0 ? "\x01" : "<a & b>";
        const bool added = AddElementNS(document, uri, name, text);
        EXPECT_EQ(writer.open(uri, name), added);
        if (!added) continue;
        if (i % 6 == 0) document.setAttribute("k", "\"");
        if (i % 6 == 0) writer.attribute("k", "\"");
        writer.content(text);
        if (text.empty() && i % 2 == 0) {
            document.intoElement();
            AddElementNS(document, "u" + std::to_string(i % 3), "inner");
            document.outOfElement();
            writer.element("u" + std::to_string(i % 3), "inner");
        }
        writer.close();
    }
    writer.close();
    EXPECT_EQ(writer.takeText(), document.takeText());
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
