#include "webdav/dav/MultigetRequest.h"

#include "webdav/dav/Namespaces.h"

namespace DAV {

using webdav::ElementIndex;

namespace {

// Every href is answered with every property: keeps that product in proportion to memory.
constexpr size_t kMaxAnswers = 500'000;

}  // namespace

bool MultigetRequest::parse(const webdav::ResolvedNames& names) {
    ElementIndex report =
        names.findChild(webdav::ResolvedNames::kDocument, kCalDav, "calendar-multiget");
    if (report == 0)
        report =
            names.findChild(webdav::ResolvedNames::kDocument, kCardDav, "addressbook-multiget");
    if (report == 0) return false;
    const ElementIndex prop = names.findChild(report, kDav, "prop");
    if (prop == 0 || !addProperties(names, prop)) return false;

    for (const ElementIndex href : names.findAll(kDav, "href")) hrefs_.push_back(names.text(href));
    return hrefs_.size() * properties().size() <= kMaxAnswers;
}

}  // namespace DAV
