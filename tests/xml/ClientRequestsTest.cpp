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
    {"iOS, account set-up",
     R"(<?xml version="1.0" encoding="UTF-8"?>
<A:propfind xmlns:A="DAV:">
  <A:prop>
    <A:current-user-principal/>
    <A:principal-URL/>
    <A:resourcetype/>
  </A:prop>
</A:propfind>
)",
     "propfind(prop(current-user-principal principal-URL resourcetype))"},
    {"iOS, home listing",
     R"(<?xml version="1.0" encoding="UTF-8"?>
<A:propfind xmlns:A="DAV:"><A:prop><A:add-member/>
<D:allowed-sharing-modes xmlns:D="http://calendarserver.org/ns/"/>
<E:calendar-color xmlns:E="http://apple.com/ns/ical/"/>
<C:calendar-timezone xmlns:C="urn:ietf:params:xml:ns:caldav"/>
<B:bulk-requests xmlns:B="http://me.com/_namespace/"/></A:prop></A:propfind>)",
     "propfind(prop(add-member S:allowed-sharing-modes I:calendar-color C:calendar-timezone "
     "{http://me.com/_namespace/}bulk-requests))"},
    {"iOS, changes",
     R"(<?xml version="1.0" encoding="UTF-8"?>
<A:sync-collection xmlns:A="DAV:"><A:sync-token/><A:sync-level>1</A:sync-level>)"
     R"(<A:prop><A:getetag/></A:prop></A:sync-collection>)",
     R"(sync-collection(sync-token sync-level"1" prop(getetag)))"},
    {"macOS, items since",
     R"(<?xml version="1.0" encoding="UTF-8"?>
<B:calendar-query xmlns:B="urn:ietf:params:xml:ns:caldav">
  <A:prop xmlns:A="DAV:"><A:getetag/><A:getcontenttype/></A:prop>
  <B:filter><B:comp-filter name="VCALENDAR"><B:comp-filter name="VEVENT">
    <B:time-range start="20240101T000000Z"/></B:comp-filter></B:comp-filter></B:filter>
</B:calendar-query>)",
     "C:calendar-query(prop(getetag getcontenttype) C:filter(C:comp-filter[name=VCALENDAR]("
     "C:comp-filter[name=VEVENT](C:time-range[start=20240101T000000Z]))))"},
    {"macOS, new calendar",
     R"(<?xml version="1.0" encoding="UTF-8"?>
<B:mkcalendar xmlns:B="urn:ietf:params:xml:ns:caldav">
  <A:set xmlns:A="DAV:"><A:prop>
    <D:calendar-color xmlns:D="http://apple.com/ns/ical/" symbolic-color="custom">#FF2968FF)"
     R"(</D:calendar-color>
    <A:displayname>Work &amp; Home</A:displayname>
    <B:calendar-timezone>BEGIN:VCALENDAR&#13;
END:VCALENDAR&#13;
</B:calendar-timezone>
    <B:supported-calendar-component-set><B:comp name="VEVENT"/></B:supported-calendar-component-set>
  </A:prop></A:set>
</B:mkcalendar>)",
     R"(C:mkcalendar(set(prop(I:calendar-color[symbolic-color=custom]"#FF2968FF" )"
     "displayname\"Work & Home\" C:calendar-timezone\"BEGIN:VCALENDAR\r\nEND:VCALENDAR\r\n\" "
     "C:supported-calendar-component-set(C:comp[name=VEVENT]))))"},
    {"macOS, order of calendars",
     R"(<?xml version="1.0" encoding="UTF-8"?>
<A:propertyupdate xmlns:A="DAV:"><A:set><A:prop><D:calendar-order )"
     R"(xmlns:D="http://apple.com/ns/ical/">3</D:calendar-order></A:prop></A:set>
<A:remove><A:prop><D:calendar-color xmlns:D="http://apple.com/ns/ical/"/></A:prop></A:remove>
</A:propertyupdate>)",
     R"(propertyupdate(set(prop(I:calendar-order"3")) remove(prop(I:calendar-color))))"},
    {"macOS, contacts",
     R"(<?xml version="1.0" encoding="UTF-8"?>
<E:addressbook-multiget xmlns:E="urn:ietf:params:xml:ns:carddav"><A:prop xmlns:A="DAV:">)"
     R"(<A:getetag/><E:address-data/></A:prop><A:href xmlns:A="DAV:">/a%40b/1.vcf</A:href>)"
     R"(<A:href xmlns:A="DAV:">/2.vcf</A:href></E:addressbook-multiget>)",
     R"(R:addressbook-multiget(prop(getetag R:address-data) href"/a%40b/1.vcf" href"/2.vcf"))"},
    {"DAVx5, what there is",
     R"(<?xml version='1.0' encoding='UTF-8' ?><propfind xmlns="DAV:" )"
     R"(xmlns:CAL="urn:ietf:params:xml:ns:caldav" xmlns:CARD="urn:ietf:params:xml:ns:carddav">)"
     R"(<prop><resourcetype /><displayname /><CARD:addressbook-home-set /><CAL:calendar-home-set />)"
     R"(<n0:calendar-color xmlns:n0="http://apple.com/ns/ical/" /></prop></propfind>)",
     "propfind(prop(resourcetype displayname R:addressbook-home-set C:calendar-home-set "
     "I:calendar-color))"},
    {"DAVx5, items",
     R"(<?xml version='1.0' encoding='UTF-8' ?><CAL:calendar-multiget xmlns="DAV:" )"
     R"(xmlns:CAL="urn:ietf:params:xml:ns:caldav"><prop><getcontenttype /><getetag />)"
     R"(<CAL:schedule-tag /><CAL:calendar-data /></prop><href>/b64=Q2Fs/%7Ba%7D.ics</href>)"
     R"(</CAL:calendar-multiget>)",
     "C:calendar-multiget(prop(getcontenttype getetag C:schedule-tag C:calendar-data) "
     "href\"/b64=Q2Fs/%7Ba%7D.ics\")"},
    {"DAVx5, new address book",
     R"(<?xml version='1.0' encoding='UTF-8' ?><mkcol xmlns="DAV:" )"
     R"(xmlns:CARD="urn:ietf:params:xml:ns:carddav"><set><prop><resourcetype><collection />)"
     R"(<CARD:addressbook /></resourcetype><displayname>Freunde &#128516;</displayname>)"
     R"(<CARD:addressbook-description></CARD:addressbook-description></prop></set></mkcol>)",
     "mkcol(set(prop(resourcetype(collection R:addressbook) "
     "displayname\"Freunde \xF0\x9F\x98\x84\" R:addressbook-description)))"},
    {"tasks.org, open tasks",
     R"(<?xml version='1.0' encoding='UTF-8' ?><CAL:calendar-query xmlns="DAV:" )"
     R"(xmlns:CAL="urn:ietf:params:xml:ns:caldav"><prop><getetag /></prop><CAL:filter>)"
     R"(<CAL:comp-filter name="VCALENDAR"><CAL:comp-filter name="VTODO" /></CAL:comp-filter>)"
     R"(</CAL:filter></CAL:calendar-query>)",
     "C:calendar-query(prop(getetag) "
     "C:filter(C:comp-filter[name=VCALENDAR](C:comp-filter[name=VTODO])))"},
    {"tasks.org, name and colour of a list",
     R"(<?xml version='1.0' encoding='UTF-8' ?><propertyupdate xmlns="DAV:"><set><prop>)"
     R"(<displayname>Groceries</displayname><n0:calendar-color )"
     R"(xmlns:n0="http://apple.com/ns/ical/">#1976D2FF</n0:calendar-color></prop></set>)"
     R"(</propertyupdate>)",
     R"(propertyupdate(set(prop(displayname"Groceries" I:calendar-color"#1976D2FF"))))"},
    {"Thunderbird, a calendar",
     R"(<?xml version="1.0" encoding="UTF-8"?>
<D:propfind xmlns:D='DAV:' xmlns:CS='http://calendarserver.org/ns/' )"
     R"(xmlns:C='urn:ietf:params:xml:ns:caldav'><D:prop><D:resourcetype/><D:owner/>)"
     R"(<D:supported-report-set/><C:supported-calendar-component-set/><CS:getctag/></D:prop>)"
     R"(</D:propfind>)",
     "propfind(prop(resourcetype owner supported-report-set C:supported-calendar-component-set "
     "S:getctag))"},
    {"Thunderbird, contacts",
     R"(<addressbook-multiget xmlns="urn:ietf:params:xml:ns:carddav" )"
     R"(xmlns:d="DAV:" xmlns:cs="http://calendarserver.org/ns/">
            <d:prop>
              <d:getetag/>
              <address-data/>
            </d:prop>
            <d:href>/x/1.vcf</d:href>
          </addressbook-multiget>)",
     R"(R:addressbook-multiget(prop(getetag R:address-data) href"/x/1.vcf"))"},
    {"Evolution, the tag of a folder",
     "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<propfind xmlns=\"DAV:\"><prop>"
     "<getctag xmlns=\"http://calendarserver.org/ns/\"/><getetag/></prop></propfind>\n",
     "propfind(prop(S:getctag getetag))"},
    {"Evolution, all items",
     "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<C:calendar-query "
     "xmlns:C=\"urn:ietf:params:xml:ns:caldav\" xmlns:D=\"DAV:\"><D:prop><D:getetag/></D:prop>"
     "<C:filter><C:comp-filter name=\"VCALENDAR\"><C:comp-filter name=\"VEVENT\">"
     "<C:time-range start=\"20240101T000000Z\" end=\"20240301T000000Z\"/></C:comp-filter>"
     "</C:comp-filter></C:filter></C:calendar-query>\n",
     "C:calendar-query(prop(getetag) C:filter(C:comp-filter[name=VCALENDAR]("
     "C:comp-filter[name=VEVENT](C:time-range[start=20240101T000000Z][end=20240301T000000Z]))))"},
    {"a synchroniser in Outlook",
     "<?xml version='1.0'?>\r\n<D:propfind xmlns:D=\"DAV:\" "
     "xmlns:C=\"urn:ietf:params:xml:ns:caldav\">\r\n  <D:prop>\r\n    "
     "<D:current-user-privilege-set "
     "/>\r\n    <C:supported-calendar-component-set/>\r\n  </D:prop>\r\n</D:propfind>\r\n ",
     "propfind(prop(current-user-privilege-set C:supported-calendar-component-set))"},
    {"another with a byte-order mark and fullest tags",
     "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"utf-8\"?><d:principal-property-search "
     "xmlns:d=\"DAV:\" test=\"anyof\"><d:property-search><d:prop><d:displayname></d:displayname>"
     "</d:prop><d:match><![CDATA[Smith & Co]]></d:match></d:property-search>"
     "</d:principal-property-search>",
     "principal-property-search[test=anyof](property-search(prop(displayname) "
     "match\"Smith & Co\"))"},
    {"the WebDAV folders of Windows",
     R"(<?xml version="1.0" encoding="utf-8" ?><D:propertyupdate xmlns:D="DAV:" )"
     R"(xmlns:Z="urn:schemas-microsoft-com:"><D:set><D:prop><Z:Win32FileAttributes>00000020)"
     R"(</Z:Win32FileAttributes></D:prop></D:set></D:propertyupdate>)",
     "propertyupdate(set(prop({urn:schemas-microsoft-com:}Win32FileAttributes\"00000020\")))"},
    {"vdirsyncer, collections",
     R"(
    <propfind xmlns="DAV:" xmlns:C="urn:ietf:params:xml:ns:caldav"
        xmlns:APPLE="http://apple.com/ns/ical/">
        <prop>
            <resourcetype />
            <APPLE:calendar-color />
        </prop>
    </propfind>
    )",
     "propfind(prop(resourcetype I:calendar-color))"},
    {"vdirsyncer, items",
     R"(<?xml version="1.0" encoding="utf-8" ?>
            <C:calendar-multiget xmlns="DAV:"
                xmlns:C="urn:ietf:params:xml:ns:caldav">
                <prop>
                    <getetag/>
                    <C:calendar-data/>
                </prop>
                <href>/b64=Q2Fs/x%20y.ics</href><href>/b64=Q2Fs/z&amp;.ics</href>
            </C:calendar-multiget>)",
     "C:calendar-multiget(prop(getetag C:calendar-data) href\"/b64=Q2Fs/x%20y.ics\" "
     "href\"/b64=Q2Fs/z&.ics\")"},
    {"vdirsyncer, a colour",
     "<?xml version='1.0' encoding='UTF-8'?>\n<ns0:propertyupdate xmlns:ns0=\"DAV:\"><ns0:set>"
     "<ns0:prop><ns1:calendar-color xmlns:ns1=\"http://apple.com/ns/ical/\">#ff0000"
     "</ns1:calendar-color></ns0:prop></ns0:set></ns0:propertyupdate>",
     R"(propertyupdate(set(prop(I:calendar-color"#ff0000"))))"},
};

TEST(ClientRequests, AreReadWhateverFormTheyHave) {
    for (const Request& request : kRequests) {
        SCOPED_TRACE(request.client);
        MarkupDocument document;
        EXPECT_TRUE(document.setText(request.body)) << document.results();
        const ResolvedNames names(document);
        EXPECT_EQ(described(names, document, names.root()), request.described);
    }
}

}  // namespace
