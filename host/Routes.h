// Where a request goes: to the extension, to another address, to a page of the host, or nowhere.
#pragma once

#include <string_view>

namespace host {

struct Route {
    enum class Kind { kExtension, kRedirect, kSetup, kNothing, kNotFound };
    Kind kind;                  ///< kNothing: there is nothing to say, and that is well
    std::string_view location;  ///< of a redirect
};

/// By the method and the decoded path.
Route routeOf(std::string_view method, std::string_view path);

}  // namespace host
