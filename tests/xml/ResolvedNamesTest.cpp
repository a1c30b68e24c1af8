#include <string>

#include <gtest/gtest.h>

#include "webdav/xml/ResolvedNames.h"

using webdav::ElementIndex;
using webdav::MarkupDocument;
using webdav::ResolvedNames;

namespace {

TEST(ResolvedNames, KnowsTheNamespaceInScopeOfEveryElement) {
    MarkupDocument document;
    document.setText(
        "<a xmlns='u' xmlns:p='v'>"
        "<p:b/><q:b/><b xmlns=''><c/><p:c xmlns:p='w'><p:d/></p:c><p:e/></b><b/>"
        "<p:f xmlns:p=''/><x:g/><x:g xmlns:x='&#117;&amp;'/><xml:h/><b/></a>");
    const ResolvedNames names(document);
    std::string line;
    for (ElementIndex e = 0; (e = names.next(e)) != 0;) {
        line += '{' + std::string(names.namespaceOf(e)) + '}' + std::string(names.localName(e));
    }
    EXPECT_EQ(line,
              "{u}a{v}b{}b{}b{}c{w}c{w}d{v}e{u}b{}f{}g{u&}g"
              "{http://www.w3.org/XML/1998/namespace}h{u}b");
    EXPECT_EQ(names.findAll("u", "b").size(), 2U);
}

TEST(ResolvedNames, ReadsARequest) {
    MarkupDocument document;
    ASSERT_TRUE(document.setText(
        "<?xml version='1.0' encoding='utf-8'?>\r\n"
        "<C:calendar-multiget xmlns:D='DAV:' xmlns:C='urn:c'><prop xmlns='DAV:'><getetag/>"
        "<C:calendar-data/></prop><D:href>/a%20b&amp;c</D:href>"
        "<C:filter><C:time-range start='20170101T000000Z'/></C:filter>"
        "<href>/not/this</href><D:href><![CDATA[/d]]></D:href></C:calendar-multiget>"));
    const ResolvedNames names(document);
    EXPECT_EQ(names.find("urn:d", "calendar-multiget"), 0U);
    EXPECT_EQ(names.find("urn:c", "calendar-multiget"), names.root());
    const ElementIndex prop = names.findChild(names.root(), "DAV:", "prop");
    const ElementIndex data = names.nextSibling(names.firstChild(prop));
    EXPECT_TRUE(names.is(data, "urn:c", "calendar-data"));
    EXPECT_EQ(names.nextSibling(data), 0U);
    EXPECT_EQ(names.parent(data), prop);
    std::string hrefs;
    for (const ElementIndex e : names.findAll("DAV:", "href")) hrefs += names.text(e) + ' ';
    EXPECT_EQ(hrefs, "/a%20b&c /d ");
    const ElementIndex range = names.find("urn:c", "time-range");
    EXPECT_EQ(names.attribute(range, "start"), "20170101T000000Z");
    EXPECT_FALSE(names.hasAttribute(range, "end"));
}

}  // namespace
