#include "host/Routes.h"

namespace host {
namespace {

constexpr std::string_view kExtensionRoot = "/webdav/";
constexpr std::string_view kDiscovery = "/webdav/principals/";

constexpr std::string_view kDiscoveryPaths[] = {"/.well-known/caldav", "/.well-known/caldav/",
                                                "/.well-known/carddav", "/.well-known/carddav/",
                                                "/"};

}  // namespace

Route routeOf(std::string_view method, std::string_view path) {
    // With or without its closing slash.
    if (path.starts_with(kExtensionRoot) || path == kExtensionRoot.substr(0, 7)) {
        return {Route::Kind::kExtension, {}};
    }
    if (path == "/" && (method == "GET" || method == "HEAD")) {
        return {Route::Kind::kRedirect, kExtensionRoot};
    }
    for (const std::string_view known : kDiscoveryPaths) {
        if (path == known) return {Route::Kind::kRedirect, kDiscovery};
    }
    return {Route::Kind::kNotFound, {}};
}

}  // namespace host
