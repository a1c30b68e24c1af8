#include "host/Options.h"

#include <algorithm>
#include <charconv>
#include <iostream>
#include <thread>

#include <CLI/CLI.hpp>

namespace host {
namespace {

constexpr int kWrongUsage = 2;
constexpr size_t kMinimumThreads = 4;
constexpr size_t kMaximumThreads = 1024;
constexpr size_t kMaximumBody = 0x7FFFFFFF;

constexpr const char* kDescription =
    "Serves the calendars, tasks and contacts of a data directory over CalDAV and CardDAV.\n"
    "Runs until SIGTERM or SIGINT, then finishes the requests in progress and exits 0.\n"
    "Prints one line for each listener when it is ready.";

constexpr const char* kFooter =
    "\nExamples:\n"
    "  cvwebdavd --data DIR\n"
    "  cvwebdavd --data DIR --listen 127.0.0.1:8008 --listen [::1]:8008\n"
    "  cvwebdavd --data DIR --tls-listen 0.0.0.0:443 --tls-cert chain.pem --tls-key key.pem\n\n"
    "A data directory is made by: cvadmin --data DIR init --domain DOMAIN\n"
    "Exits 1 when it cannot serve, 2 on wrong usage; its log is in DIR/Logs.";

std::string checkListenAddress(const std::string& text) {
    if (parseListenAddress(text)) return {};
    return "expected ADDR:PORT such as 127.0.0.1:8008 or [::1]:8008, got " + text;
}

size_t defaultThreads() {
    return std::max<size_t>(kMinimumThreads, std::thread::hardware_concurrency() * size_t{2});
}

struct ListenTexts {
    std::vector<std::string> plain;
    std::vector<std::string> tls;
};

void describe(CLI::App& app, Options& options, ListenTexts& listen) {
    ServerSettings& server = options.server;
    app.set_version_flag("--version", "cvwebdavd " CVWEBDAV_VERSION);
    app.footer(kFooter);
    app.add_option("--data", options.dataDirectory, "The data directory")
        ->required()
        ->type_name("DIR");
    const CLI::Validator isAddress(checkListenAddress, "");
    app.add_option("--listen", listen.plain,
                   "Serve HTTP here (127.0.0.1:8008 when no listener is given); port 0 takes a "
                   "free one")
        ->check(isAddress)
        ->type_name("ADDR:PORT")
        ->allow_extra_args(false);
    CLI::Option* tls = app.add_option("--tls-listen", listen.tls, "Serve HTTPS here")
                           ->check(isAddress)
                           ->type_name("ADDR:PORT")
                           ->allow_extra_args(false);
    CLI::Option* certificate =
        app.add_option("--tls-cert", server.certificateFile, "Certificate chain for HTTPS (PEM)")
            ->type_name("FILE")
            ->needs(tls);
    CLI::Option* key =
        app.add_option("--tls-key", server.keyFile, "Private key of the certificate (PEM)")
            ->type_name("FILE")
            ->needs(tls);
    tls->needs(certificate)->needs(key);
    app.add_option("--module", options.module,
                   "The extension (CVWebDAV, as installed with the program)")
        ->type_name("FILE");
    app.add_option("--threads", server.threads, "Requests handled at once")
        ->check(CLI::Range(size_t{1}, kMaximumThreads))
        ->type_name("N")
        ->capture_default_str();
    app.add_option("--max-body", server.limits.maxBody, "Largest request body taken")
        ->check(CLI::Range(size_t{0}, kMaximumBody))
        ->type_name("BYTES")
        ->capture_default_str();
}

std::vector<ListenAddress> addressesOf(const std::vector<std::string>& texts) {
    std::vector<ListenAddress> addresses;
    for (const std::string& text : texts) addresses.push_back(parseListenAddress(text).value());
    return addresses;
}

}  // namespace

std::optional<ListenAddress> parseListenAddress(const std::string& text) {
    const size_t colon = text.rfind(':');
    if (colon == std::string::npos || colon + 1 == text.size()) return std::nullopt;
    ListenAddress listen;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data() + colon + 1, end, listen.port);
    if (error != std::errc() || rest != end) return std::nullopt;
    listen.address = text.substr(0, colon);
    if (listen.address.size() > 2 && listen.address.front() == '[' &&
        listen.address.back() == ']') {
        listen.address = listen.address.substr(1, listen.address.size() - 2);
    } else if (listen.address.find(':') != std::string::npos) {
        return std::nullopt;
    }
    if (listen.address.empty()) return std::nullopt;
    return listen;
}

std::optional<Options> parseOptions(int argc, const char* const* argv, int& exitCode) {
    Options options;
    options.server.threads = defaultThreads();
    ListenTexts listen;
    CLI::App app(kDescription, "cvwebdavd");
    describe(app, options, listen);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& request) {
        exitCode = app.exit(request);
        return std::nullopt;
    } catch (const CLI::ParseError& problem) {
        std::cerr << "cvwebdavd: " << problem.what() << " (see cvwebdavd --help)\n";
        exitCode = kWrongUsage;
        return std::nullopt;
    }
    options.server.plain = addressesOf(listen.plain);
    options.server.tls = addressesOf(listen.tls);
    if (options.server.plain.empty() && options.server.tls.empty()) {
        options.server.plain.push_back({"127.0.0.1", 8008});
    }
    return options;
}

}  // namespace host
