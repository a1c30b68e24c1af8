// Text of the module: byte strings, UTF-8 when they come from clients or the store.
//
// Pure functions, safe from every thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace webdav {

/// RFC 4648 base64 without line breaks.
std::string Base64Encode(std::string_view bytes);
/// The reverse; stops at the first "=" and passes over bytes outside the alphabet.
std::string Base64Decode(std::string_view text);

/// A display name in the store's IMAP folder name form (RFC 3501 section 5.1.3).
std::string EncodeModifiedUtf7(std::string_view utf8);

/// Judges the text up to its first NUL.
bool IsValidUtf8(std::string_view text);
/// A copy without the bytes that belong to no valid sequence, nor U+FFFF; judges the whole length.
std::string RemoveInvalidUtf8(std::string_view bytes);

/// ASCII comparisons without regard to case.
bool EqualsNoCase(std::string_view left, std::string_view right);
bool StartsWithNoCase(std::string_view text, std::string_view prefix);
bool EndsWithNoCase(std::string_view text, std::string_view suffix);
std::string ToLowerAscii(std::string_view text);

/// A path as it stands in a URI (RFC 3986): what may not stand there is percent-encoded, "/" and
/// the characters of pchar stay.
std::string EncodeUriPath(std::string_view decoded);
void AppendUriPath(std::string& encoded, std::string_view decoded);
/// One segment of it: "/" is encoded as well.
void AppendUriSegment(std::string& encoded, std::string_view decoded);
/// The one escape that web servers leave in a decoded path: a slash within a name.
std::string DecodeSlashes(std::string_view name);
/// Percent escapes decoded once, "+" left alone; a malformed escape stays as it is.
std::string DecodeUriPath(std::string_view encoded);

}  // namespace webdav
