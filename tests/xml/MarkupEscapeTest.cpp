#include <string>

#include <gtest/gtest.h>

#include "webdav/xml/MarkupEscape.h"

using namespace std::string_literals;

namespace {

TEST(MarkupEscape, WritesTextSoThatAReaderGetsItBack) {
    const std::string text = "a&b<c>d\"e'f\tg\r\nh\x01\0\x1F\x7F\xC3\xA9]]>"s;
    std::string content;
    webdav::appendContent(content, text);
    EXPECT_EQ(content, "a&amp;b&lt;c&gt;d\"e'f\tg\r\nh\x7F\xC3\xA9]]&gt;");
    std::string value;
    webdav::appendAttributeValue(value, text);
    EXPECT_EQ(value, "a&amp;b&lt;c&gt;d&quot;e&apos;f&#9;g&#13;&#10;h\x7F\xC3\xA9]]&gt;");
    EXPECT_EQ(webdav::decodeReferences(content), webdav::decodeReferences(value));
    for (size_t at = 0; at < 40; ++at) {  // in each of the steps that the escaping makes
        std::string filled(40, 'x');
        filled[at] = '<';
        content.clear();
        webdav::appendContent(content, filled);
        EXPECT_EQ(content, filled.replace(at, 1, "&lt;"));
    }
    std::string section;
    webdav::appendCData(section,
                        "a]]>b]]]>\x02"
                        "c");
    EXPECT_EQ(section, "<![CDATA[a]]]]><![CDATA[>b]]]]]><![CDATA[>c]]>");
}

TEST(MarkupEscape, WritesNodesThatEndWhereTheyShould) {
    const std::pair<std::string_view, std::string_view> comments[] = {
        {"a", "<!--a-->"},
        {"", "<!---->"},
        {"-a--b-", "<!-- -a- -b- -->"},
        {"-->x", "<!-- - ->x-->"},
        {"-\x01-", "<!-- - - -->"},
    };
    for (const auto& [text, written] : comments) {
        std::string comment;
        webdav::appendComment(comment, text);
        EXPECT_EQ(comment, written);
    }
    std::string instruction;
    webdav::appendInstruction(instruction, "xml version='1.0'?>a");
    EXPECT_EQ(instruction, "<?xml version='1.0'? >a?>");
}

TEST(MarkupEscape, DecodesReferencesAndLeavesWhatIsNone) {
    const std::pair<std::string_view, std::string_view> cases[] = {
        {"&amp;amp;&lt;&gt;&quot;&apos;", "&amp;<>\"'"},
        {"&#65;&#x42;&#X43;&#233;&#x20AC;&#x1F600;", "ABC\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"},
        {"&#0000000000000000000000000065;", "A"},
        {"&#10;&#13;&#9;", "\n\r\t"},
        {"&#0;&#1;&#xD800;&#xFFFF;&#x110000;&#4294967361;&#99999999999999999999;",
         "&#0;&#1;&#xD800;&#xFFFF;&#x110000;&#4294967361;&#99999999999999999999;"},
        {"&;&#;&#x;&#xg;&#-5;&AMP;&unknown;&amp &", "&;&#;&#x;&#xg;&#-5;&AMP;&unknown;&amp &"},
        {"&&amp;&#&lt;", "&&&#<"},
        {"&Oslash;&oslash;&AElig;&aelig;&ETH;&eth;&lArr;&larr;&Dagger;&dagger;",
         "\u00D8\u00F8\u00C6\u00E6\u00D0\u00F0\u21D0\u2190\u2021\u2020"},
        {"&lceil;&sup1;&nbsp;&thetasym;&Omega;&omega;&szlig;&euro;&frac12;",
         "\u2308\u00B9\u00A0\u03D1\u03A9\u03C9\u00DF\u20AC\u00BD"},
        {"&Szlig;&Nbsp;&osla;&oslashx;", "&Szlig;&Nbsp;&osla;&oslashx;"},
    };
    for (const auto& [text, decoded] : cases) EXPECT_EQ(webdav::decodeReferences(text), decoded);
}

}  // namespace
