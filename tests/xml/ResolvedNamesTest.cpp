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

}  // namespace
