// Request bodies in the forms that clients write them in: each has its own way with prefixes,
// declarations, blanks and quotes, and all must be read alike.
#include <string>

#include <gtest/gtest.h>

#include "webdav/xml/ResolvedNames.h"

using webdav::ElementIndex;
using webdav::MarkupDocument;
using webdav::ResolvedNames;

namespace {

std::string shortName(std::string_view uri) {
    constexpr std::pair<std::string_view, const char*> kShort[] = {
        {"DAV:", ""},
        {"urn:ietf:params:xml:ns:caldav", "C:"},
        {"urn:ietf:params:xml:ns:carddav", "R:"},
        {"http://calendarserver.org/ns/", "S:"},
        {"http://apple.com/ns/ical/", "I:"},
    };
    for (const auto& [known, name] : kShort) {
        if (known == uri) return name;
    }
    return '{' + std::string(uri) + '}';
}

/// An element as `name[attribute=value]"text"(child child)`, those that are DAV: without a prefix.
std::string described(const ResolvedNames& names, const MarkupDocument& document, ElementIndex e) {
    std::string line = shortName(names.namespaceOf(e)) + std::string(names.localName(e));
    webdav::MarkupAttribute attribute;
    webdav::AttributeReader reader(document.index().startTag(e));
    while (reader.next(attribute)) {
        if (attribute.name.starts_with("xmlns")) continue;
        line += '[' + std::string(attribute.name) + '=' + attribute.value() + ']';
    }
    const std::string text = names.text(e);
    if (text.find_first_not_of(" \t\r\n") != std::string::npos) line += '"' + text + '"';
    std::string children;
    for (ElementIndex c = names.firstChild(e); c != 0; c = names.nextSibling(c)) {
        children += (children.empty() ? "" : " ") + described(names, document, c);
    }
    return children.empty() ? line : line + '(' + children + ')';
}

struct Request {
    const char* client;
    const char* body;
    const char* described;
};

constexpr Request kRequests[] = {
    {"iOS, home listing",
     R"(<?xml version="1.0" encoding="UTF-8"?>
<A:propfind xmlns:A="DAV:"><A:prop><A:add-member/>
<D:allowed-sharing-modes xmlns:D="http://calendarserver.org/ns/"/>
<B:bulk-requests xmlns:B="http://me.com/_namespace/"/></A:prop></A:propfind>)",
     "propfind(prop(add-member S:allowed-sharing-modes {http://me.com/_namespace/}bulk-requests))"},
    {"macOS, new calendar",
     R"(<B:mkcalendar xmlns:B="urn:ietf:params:xml:ns:caldav">
  <A:set xmlns:A="DAV:"><A:prop>
    <D:calendar-color xmlns:D="http://apple.com/ns/ical/" symbolic-color="custom">#FF2968FF)"
     R"(</D:calendar-color>
    <A:displayname>Work &amp; Home</A:displayname>
    <B:calendar-timezone>BEGIN:VCALENDAR&#13;
END:VCALENDAR&#13;
</B:calendar-timezone>
  </A:prop></A:set>
</B:mkcalendar>)",
     R"(C:mkcalendar(set(prop(I:calendar-color[symbolic-color=custom]"#FF2968FF" )"
     "displayname\"Work & Home\" C:calendar-timezone\"BEGIN:VCALENDAR\r\nEND:VCALENDAR\r\n\")))"},
    {"DAVx5, new address book",
     R"(<?xml version='1.0' encoding='UTF-8' ?><mkcol xmlns="DAV:" )"
     R"(xmlns:CARD="urn:ietf:params:xml:ns:carddav"><set><prop><resourcetype><collection />)"
     R"(<CARD:addressbook /></resourcetype><displayname>Freunde &#128516;</displayname>)"
     R"(<CARD:addressbook-description></CARD:addressbook-description></prop></set></mkcol>)",
     "mkcol(set(prop(resourcetype(collection R:addressbook) "
     "displayname\"Freunde \xF0\x9F\x98\x84\" R:addressbook-description)))"},
    {"Evolution, the tag of a folder",
     "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<propfind xmlns=\"DAV:\"><prop>"
     "<getctag xmlns=\"http://calendarserver.org/ns/\"/><getetag/></prop></propfind>\n",
     "propfind(prop(S:getctag getetag))"},
    {"Evolution, all items",
     "<C:calendar-query xmlns:C=\"urn:ietf:params:xml:ns:caldav\" xmlns:D=\"DAV:\">"
     "<C:filter><C:comp-filter name=\"VCALENDAR\"><C:comp-filter name=\"VEVENT\">"
     "<C:time-range start=\"20240101T000000Z\" end=\"20240301T000000Z\"/></C:comp-filter>"
     "</C:comp-filter></C:filter></C:calendar-query>\n",
     "C:calendar-query(C:filter(C:comp-filter[name=VCALENDAR]("
     "C:comp-filter[name=VEVENT](C:time-range[start=20240101T000000Z][end=20240301T000000Z]))))"},
    {"a synchroniser in Outlook",
     "<?xml version='1.0'?>\r\n<D:propfind xmlns:D=\"DAV:\">\r\n  <D:prop>\r\n    "
     "<D:current-user-privilege-set />\r\n  </D:prop>\r\n</D:propfind>\r\n ",
     "propfind(prop(current-user-privilege-set))"},
    {"another with a byte-order mark and fullest tags",
     "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"utf-8\"?><d:property-search xmlns:d=\"DAV:\" "
     "test=\"anyof\"><d:prop><d:displayname></d:displayname></d:prop>"
     "<d:match><![CDATA[Smith & Co]]></d:match></d:property-search>",
     "property-search[test=anyof](prop(displayname) match\"Smith & Co\")"},
    {"vdirsyncer, items",
     R"(
            <C:calendar-multiget xmlns="DAV:"
                xmlns:C="urn:ietf:params:xml:ns:caldav">
                <prop>
                    <C:calendar-data/>
                </prop>
                <href>/b64=Q2Fs/x%20y.ics</href><href>/b64=Q2Fs/z&amp;.ics</href>
            </C:calendar-multiget>)",
     "C:calendar-multiget(prop(C:calendar-data) href\"/b64=Q2Fs/x%20y.ics\" "
     "href\"/b64=Q2Fs/z&.ics\")"},
};

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

TEST(ResolvedNames, OfRequestsAreReadWhateverFormTheyHave) {
    for (const Request& request : kRequests) {
        SCOPED_TRACE(request.client);
        MarkupDocument document;
        EXPECT_TRUE(document.setText(request.body)) << document.results();
        const ResolvedNames names(document);
        EXPECT_EQ(described(names, document, names.root()), request.described);
    }
}

}  // namespace
