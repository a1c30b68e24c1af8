#include "webdav/dav/MultigetRequest.h"

#include "webdav/dav/Namespaces.h"

namespace DAV {

using webdav::ElementIndex;

namespace {

// Every href is answered with every property: keeps that product in proportion to memory.
constexpr size_t kMaxAnswers = 5'000'000;

}  // namespace

bool MultigetRequest::parse(const webdav::ResolvedNames& names) {
    ElementIndex report = names.find(kCalDav, "calendar-multiget");
    if (report == 0) report = names.find(kCardDav, "addressbook-multiget");
    if (report == 0) return false;
    const ElementIndex prop = names.find(kDav, "prop");
    if (prop == 0 || !addProperties(names, prop)) return false;

    for (const ElementIndex href : names.findAll(kDav, "href")) hrefs_.push_back(names.text(href));
    return hrefs_.size() * properties().size() <= kMaxAnswers;
}

}  // namespace DAV
