#include "host/Options.h"

#include <algorithm>
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

std::string checkNetwork(const std::string& text) {
    if (Network::parse(text)) return {};
    return "expected a network such as 10.0.0.0/8 or an address, got " + text;
}

/// Values as they were typed, until all of them are known to be right.
struct Texts {
    std::vector<std::string> plain;
    std::vector<std::string> tls;
    std::vector<std::string> proxies;
};

void describe(CLI::App& app, Options& options, Texts& texts) {
    ServerSettings& server = options.server;
    app.set_version_flag("--version", "cvwebdavd " CVWEBDAV_VERSION);
    app.footer(kFooter);
    app.add_option("--data", options.dataDirectory, "The data directory")
        ->required()
        ->type_name("DIR");
    const CLI::Validator isAddress(checkListenAddress, "");
    app.add_option("--listen", texts.plain,
                   "Serve HTTP here (127.0.0.1:8008 when no listener is given); port 0 takes a "
                   "free one")
        ->check(isAddress)
        ->type_name("ADDR:PORT")
        ->allow_extra_args(false);
    CLI::Option* tls = app.add_option("--tls-listen", texts.tls, "Serve HTTPS here")
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
                   "The extension (CVWebDAV in ../lib beside the program)")
        ->type_name("FILE");
    app.add_option("--trusted-proxy", texts.proxies,
                   "Believe X-Forwarded-For and X-Forwarded-Proto from here; the proxy must set "
                   "both; may be given again")
        ->check(CLI::Validator(checkNetwork, ""))
        ->type_name("CIDR")
        ->allow_extra_args(false);
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

std::optional<Options> parseOptions(int argc, const char* const* argv, int& exitCode) {
    Options options;
    options.server.threads = defaultThreads();
    Texts texts;
    CLI::App app(kDescription, "cvwebdavd");
    describe(app, options, texts);
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
    options.server.plain = addressesOf(texts.plain);
    options.server.tls = addressesOf(texts.tls);
    for (const std::string& text : texts.proxies) {
        options.server.trustedProxies.push_back(Network::parse(text).value());
    }
    if (options.server.plain.empty() && options.server.tls.empty()) {
        options.server.plain.push_back({"127.0.0.1", 8008});
    }
    return options;
}

}  // namespace host
