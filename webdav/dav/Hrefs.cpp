#include "webdav/dav/Hrefs.h"

#include "webdav/base/Text.h"

namespace DAV {

using webdav::EncodeUriPath;

namespace {

// A slash within a name would divide it into two segments.
std::string encodeSegment(std::string_view name) {
    std::string encoded;
    for (size_t slash = name.find('/'); slash != name.npos; slash = name.find('/')) {
        encoded += EncodeUriPath(name.substr(0, slash)) + "%2F";
        name.remove_prefix(slash + 1);
    }
    return encoded + EncodeUriPath(name);
}

}  // namespace

std::string PrincipalHref(std::string_view address) {
    return "/webdav/principals/" + encodeSegment(address);
}

std::string UserHref(std::string_view keyword, std::string_view address) {
    std::string href = "/webdav/";
    href += keyword;
    href += '/' + encodeSegment(DomainOf(address)) + '/' + encodeSegment(MailboxOf(address)) + '/';
    return href;
}

std::string CollectionHref(std::string_view homeKeyword, std::string_view address,
                           std::string_view name) {
    return UserHref(homeKeyword, address) + "b64=" + webdav::Base64Encode(name) + "/";
}

std::string ItemHref(std::string_view collectionHref, std::string_view uid,
                     const webdav::ItemKind& kind) {
    std::string href(collectionHref);
    href += encodeSegment(uid);
    href += kind.extension;
    return href;
}

std::string HrefWithSlash(std::string_view decodedPath) {
    std::string href = EncodeUriPath(decodedPath);
    if (!href.ends_with('/')) href += '/';
    return href;
}

std::string RepairedHref(std::string_view href) {
    // What stands between percent signs is treated by itself, so that an escape stays an escape.
    std::string repaired;
    for (size_t percent = href.find('%'); percent != href.npos; percent = href.find('%')) {
        repaired += EncodeUriPath(href.substr(0, percent)) + '%';
        href.remove_prefix(percent + 1);
    }
    return repaired + EncodeUriPath(href);
}

std::string NameOfHref(std::string_view href) {
    if (const size_t slash = href.rfind('/'); slash != href.npos) href.remove_prefix(slash + 1);
    return webdav::DecodeUriPath(href);
}

std::string WithoutExtension(std::string_view name) {
    return std::string(name.substr(0, name.rfind('.')));
}

std::string_view MailboxOf(std::string_view address) {
    return address.substr(0, address.find('@'));
}

std::string_view DomainOf(std::string_view address) {
    const size_t at = address.find('@');
    return at == address.npos ? address : address.substr(at + 1);
}

}  // namespace DAV
