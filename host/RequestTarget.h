// The request target: what the request line names, taken apart and decoded.
//
// Pure functions for the session; a target that cannot be taken apart is no target (400).
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace host {

struct RequestTarget {
    std::string path;       ///< percent escapes decoded, once; that of a slash stays "%2F"
    std::string query;      ///< as it was sent, without the "?"
    std::string authority;  ///< of an absolute target, otherwise empty
};

/// Reads "/path?query", "http://authority/path?query", or of OPTIONS "*". Nothing for any other
/// form, a malformed escape, or a control byte in the decoded path.
std::optional<RequestTarget> parseRequestTarget(std::string_view text,
                                                std::string_view method = {});

/// A field of a query, decoded as forms send it; empty when it is not there. Nothing when an escape
/// in it is malformed.
std::optional<std::string> formField(std::string_view query, std::string_view name);

/// True for a host name or address, with or without a port behind a colon.
bool isAuthority(std::string_view text);

/// The authority without its port; an IPv6 address keeps its brackets.
std::string_view hostOfAuthority(std::string_view authority);

}  // namespace host
