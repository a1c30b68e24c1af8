#include "webdav/dav/Hrefs.h"

#include <algorithm>

#include "webdav/base/Text.h"

namespace DAV {

using webdav::AppendUriPath;
using webdav::AppendUriSegment;

namespace {

// A slash within a name, as web servers leave it in a decoded URL.
constexpr std::string_view kSlash = "%2F";

// A base64 name, and its end where it is filled up.
constexpr std::string_view kBase64Start = "/b64=";
constexpr std::string_view kBase64End = "=/";

/// Encodes what stands between the dividers, which stay.
std::string encodeBetween(std::string_view divider, std::string_view text) {
    std::string encoded;
    for (size_t end = text.find(divider); end != text.npos; end = text.find(divider)) {
        AppendUriPath(encoded, text.substr(0, end));
        encoded += divider;
        text.remove_prefix(end + divider.size());
    }
    AppendUriPath(encoded, text);
    return encoded;
}

std::string encodeSegment(std::string_view name) {
    std::string encoded;
    AppendUriSegment(encoded, name);
    return encoded;
}

std::string_view lastSegment(std::string_view path) {
    return path.substr(path.rfind('/') + 1);  // npos + 1 is the start
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

ItemHref::ItemHref(std::string collectionHref, const webdav::ItemKind& kind)
    : href_(std::move(collectionHref)), collectionSize_(href_.size()), extension_(kind.extension) {}

const std::string& ItemHref::of(const StoreItem& item) {
    href_.resize(collectionSize_);
    if (item.uid != nullptr) AppendUriSegment(href_, item.uid);
    return href_ += extension_;
}

std::string HrefOfUrl(std::string_view url) {
    return encodeBetween(kSlash, url);
}

std::string HrefWithSlash(std::string_view url) {
    std::string href = HrefOfUrl(url);
    if (!href.ends_with('/')) href += '/';
    return href;
}

// An escape stays an escape.
std::string UrlWithSlash(std::string url) {
    url.resize(url.find_last_not_of('/') + 1);  // npos + 1 is the start
    return url += '/';
}

std::string RepairedHref(std::string_view href) {
    return encodeBetween("%", href);
}

std::string NameOfHref(std::string_view href) {
    return webdav::DecodeUriPath(lastSegment(href));
}

std::string NameBelowUrl(std::string_view href, std::string_view collectionUrl) {
    // Hardly an href has an escape: the others are not copied.
    std::string decoded;
    if (href.find('%') != href.npos) href = decoded = webdav::DecodeUriPath(href);
    const size_t found = href.find(collectionUrl);
    if (found == href.npos) return {};
    return std::string(href.substr(found + collectionUrl.size()));
}

std::string NameOfUrl(std::string_view url) {
    const size_t base64 = webdav::ToLowerAscii(url).find(kBase64Start);
    const size_t end =
        base64 == url.npos ? base64 : url.find(kBase64End, base64 + kBase64Start.size());
    return webdav::DecodeSlashes(end == url.npos ? lastSegment(url)
                                                 : url.substr(end + kBase64End.size()));
}

std::string WithoutExtension(std::string name) {
    name.resize(std::min(name.size(), name.rfind('.')));
    return name;
}

std::string_view MailboxOf(std::string_view address) {
    return address.substr(0, address.find('@'));
}

std::string_view DomainOf(std::string_view address) {
    const size_t at = address.find('@');
    return at == address.npos ? address : address.substr(at + 1);
}

}  // namespace DAV
