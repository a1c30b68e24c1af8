#include "host/Routes.h"

namespace host {
namespace {

constexpr std::string_view kExtensionRoot = "/webdav/";
constexpr std::string_view kDiscovery = "/webdav/principals/";

constexpr std::string_view kSetupRoot = "/setup/";

constexpr std::string_view kDiscoveryPaths[] = {"/.well-known/caldav", "/.well-known/caldav/",
                                                "/.well-known/carddav", "/.well-known/carddav/",
                                                "/"};

/// With or without the root's closing slash.
bool isAtOrBelow(std::string_view root, std::string_view path) {
    return path.starts_with(root) || path == root.substr(0, root.size() - 1);
}

}  // namespace

Route routeOf(std::string_view method, std::string_view path) {
    if (isAtOrBelow(kExtensionRoot, path)) return {Route::Kind::kExtension, {}};
    if (path == "/" && (method == "GET" || method == "HEAD")) {
        return {Route::Kind::kRedirect, kExtensionRoot};
    }
    if (method == "OPTIONS" && path == "*") return {Route::Kind::kNothing, {}};
    if (isAtOrBelow(kSetupRoot, path)) return {Route::Kind::kSetup, {}};
    for (const std::string_view known : kDiscoveryPaths) {
        if (path == known) return {Route::Kind::kRedirect, kDiscovery};
    }
    return {Route::Kind::kNotFound, {}};
}

}  // namespace host
