// What a markup text declares as its own charset: in an XML declaration, or for HTML in a meta
// element with the content type. Read from bytes that are not decoded yet; never fails.
#pragma once

#include <string>
#include <string_view>

namespace webdav {

/// The declared name as it is written; empty when there is none at the start of the text.
std::string declaredEncoding(std::string_view markup);

}  // namespace webdav
