#include "webdav/dav/PropFindRequest.h"

#include <algorithm>

#include "webdav/base/Text.h"
#include "webdav/dav/Namespaces.h"
#include "webdav/xml/MarkupDocument.h"

namespace DAV {

using webdav::ElementIndex;
using webdav::MarkupDocument;
using webdav::ResolvedNames;

namespace {

// Far beyond what any client asks for; keeps the size of an answer in proportion to its folder.
constexpr size_t kMaxProperties = 128;

bool isPlainText(std::string_view text) {
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20; };
    return webdav::IsValidUtf8(text) && std::none_of(text.begin(), text.end(), isControl);
}

/// False for namespaces whose names no answer can hold: neither as a property found nor as one
/// missed.
bool isWritable(std::string_view namespaceUri) {
    return isPlainText(namespaceUri) && namespaceUri != "http://www.w3.org/XML/1998/namespace" &&
           namespaceUri != "http://www.w3.org/2000/xmlns/";
}

}  // namespace

bool PropFindRequestBase::addProperties(const ResolvedNames& names, ElementIndex prop) {
    for (ElementIndex child = names.firstChild(prop); child != 0;
         child = names.nextSibling(child)) {
        const std::string_view name = names.localName(child);
        const std::string* const uri = writableNamespace(names.namespaceOf(child));
        if (uri == nullptr || !isPlainText(name)) continue;
        if (properties_.size() == kMaxProperties) return false;
        properties_.push_back({*uri, std::string(name)});
    }
    return true;
}

/// The request's own copy of a namespace, or null.
const std::string* PropFindRequestBase::writableNamespace(std::string_view declared) {
    const auto [known, isNew] = byDeclaration_.try_emplace(declared.data(), nullptr);
    if (isNew && isWritable(declared)) known->second = &*namespaces_.emplace(declared).first;
    return known->second;
}

PropFindRequest::PropFindRequest(webdav::ISAPIData& data) : url_(data.GetServerVar("URL")) {
    const std::string& depth = data.GetServerVar("HTTP_DEPTH");
    if (depth == "0") depth_ = 0;
    if (depth == "1") depth_ = 1;
    brief_ = data.GetServerVar("HTTP_BRIEF") == "t";
}

bool PropFindRequest::setXML(std::string_view body) {
    MarkupDocument document;
    document.setText(std::string(body));
    const ResolvedNames names(document);
    const ElementIndex propfind = names.findChild(ResolvedNames::kDocument, kDav, "propfind");
    if (propfind == 0) return false;

    // Only "allprops" is known, with its final s; the standard "allprop" asks for nothing.
    if (names.findChild(propfind, kDav, "allprops") != 0) {
        allprops_ = true;
        return true;
    }
    if (names.findChild(propfind, kDav, "propname") != 0) {
        propname_ = true;
        return true;
    }
    for (ElementIndex child = names.firstChild(propfind); child != 0;
         child = names.nextSibling(child))
        if (names.is(child, kDav, "prop") && !addProperties(names, child)) return false;
    return true;
}

}  // namespace DAV
