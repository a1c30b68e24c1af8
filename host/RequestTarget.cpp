#include "host/RequestTarget.h"

#include <algorithm>

#include "host/Ascii.h"

namespace host {
namespace {

int hexValue(char c) {
    if (isDigit(c)) return c - '0';
    const char letter = lowered(c);
    return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

bool isControl(char c) {
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

/// The byte that an escape at the start of the text stands for.
std::optional<char> escapedByte(std::string_view text) {
    if (text.size() < 3) return std::nullopt;
    const int high = hexValue(text[1]);
    const int low = hexValue(text[2]);
    if (high < 0 || low < 0) return std::nullopt;
    return static_cast<char>(high * 16 + low);
}

std::optional<std::string> decodePath(std::string_view text) {
    std::string path;
    path.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (c == '%') {
            const std::optional<char> byte = escapedByte(text.substr(i));
            if (!byte) return std::nullopt;
            c = *byte;
            // A slash within a name must not divide it into two.
            if (c == '/') {
                path.append("%2");
                c = 'F';
            }
            i += 2;
        }
        if (isControl(c)) return std::nullopt;
        path.push_back(c);
    }
    return path;
}

/// As the fields of a form are sent, with "+" for a blank.
std::optional<std::string> decodeFormText(std::string_view text) {
    std::string decoded;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            decoded.push_back(text[i] == '+' ? ' ' : text[i]);
            continue;
        }
        const std::optional<char> byte = escapedByte(text.substr(i));
        if (!byte) return std::nullopt;
        decoded.push_back(*byte);
        i += 2;
    }
    return decoded;
}

size_t schemeLength(std::string_view text) {
    for (const std::string_view scheme : {"http://", "https://"}) {
        if (sameText(text.substr(0, scheme.size()), scheme)) return scheme.size();
    }
    return 0;
}

/// Where the host ends and the port's colon, if any, stands.
size_t hostLength(std::string_view authority) {
    if (!authority.starts_with('[')) return std::min(authority.find(':'), authority.size());
    const size_t bracket = authority.find(']');
    return bracket == std::string_view::npos ? 0 : bracket + 1;
}

bool isHostByte(char c) {
    return isAlphanumeric(c) || std::string_view("-._~!$&'()*+,;=%").find(c) != std::string::npos;
}

}  // namespace

std::optional<RequestTarget> parseRequestTarget(std::string_view text, std::string_view method) {
    RequestTarget target;
    if (text == "*" && method == "OPTIONS") {
        target.path = text;
        return target;
    }
    if (const size_t scheme = schemeLength(text); scheme > 0) {
        text.remove_prefix(scheme);
        const size_t end = std::min(text.find_first_of("/?"), text.size());
        target.authority = text.substr(0, end);
        if (!isAuthority(target.authority)) return std::nullopt;
        text.remove_prefix(end);
    } else if (!text.starts_with('/')) {
        return std::nullopt;
    }
    const size_t mark = std::min(text.find('?'), text.size());
    std::optional<std::string> path = decodePath(text.substr(0, mark));
    if (!path) return std::nullopt;
    target.path = path->empty() ? "/" : std::move(*path);
    if (mark < text.size()) target.query = text.substr(mark + 1);
    return target;
}

std::optional<std::string> formField(std::string_view query, std::string_view name) {
    while (!query.empty()) {
        const std::string_view field = query.substr(0, query.find('&'));
        query.remove_prefix(std::min(field.size() + 1, query.size()));
        if (!field.starts_with(name) || field.substr(name.size(), 1) != "=") continue;
        return decodeFormText(field.substr(name.size() + 1));
    }
    return std::string();
}

bool isAuthority(std::string_view text) {
    const std::string_view host = hostOfAuthority(text);
    if (host.empty()) return false;
    if (host.front() == '[') {
        const auto isAddressByte = [](char c) { return isHostByte(c) || c == ':'; };
        if (!std::ranges::all_of(host.substr(1, host.size() - 2), isAddressByte)) return false;
    } else if (!std::ranges::all_of(host, isHostByte)) {
        return false;
    }
    const std::string_view port = text.substr(host.size());
    return port.empty() || (port.front() == ':' && port.size() <= 6 &&
                            std::ranges::all_of(port.substr(1), isDigit));
}

std::string_view hostOfAuthority(std::string_view authority) {
    return authority.substr(0, hostLength(authority));
}

}  // namespace host
