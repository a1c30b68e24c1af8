#include "host/Options.h"

#include <algorithm>
#include <iostream>
#include <map>
#include <thread>

#include <CLI/CLI.hpp>

#include "host/AdminListener.h"

namespace host {
namespace {

constexpr int kWrongUsage = 2;
constexpr const char* kNoAdmin = "none";
constexpr size_t kMinimumThreads = 4;
constexpr size_t kMaximumThreads = 1024;
constexpr size_t kMaximumBody = 0x7FFFFFFF;

constexpr const char* kDescription =
    "Serves the calendars, tasks and contacts of a data directory over CalDAV and CardDAV.\n"
    "Runs until SIGTERM or SIGINT, then finishes the requests in progress and exits 0.\n"
    "SIGHUP reads certificate and key again.\n"
    "Prints one line for each listener when it is ready.";

constexpr const char* kFooter =
    "\nExamples:\n"
    "  cvwebdavd --data DIR\n"
    "  cvwebdavd --data DIR --listen 127.0.0.1:8008 --listen [::1]:8008\n"
    "  cvwebdavd --data DIR --tls-listen 0.0.0.0:443 --tls-cert chain.pem --tls-key key.pem\n\n"
    "A data directory is made by: cvadmin --data DIR init --domain DOMAIN\n"
    "Exits 1 when it cannot serve, 2 on wrong usage; its log is in DIR/Logs.";

std::string checkListenAddress(const std::string& text) {
    const auto listen = parseListenAddress(text);
    // Behind a "%" an address names its interface.
    if (listen && plainAddress(listen->address.substr(0, listen->address.find('%')))) return {};
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
    bool allowPlain = false;
};

/// Empty when passwords that travel in plain text stay on this machine, or are meant to leave it.
std::string problemOfPlain(const std::vector<ListenAddress>& listeners, bool allowed) {
    for (const ListenAddress& listener : listeners) {
        if (allowed || isLoopback(listener.address)) continue;
        return "--listen " + listener.address +
               " lets other machines send passwords in plain text; use --tls-listen, or add "
               "--allow-plain if something in between encrypts them";
    }
    return {};
}

CLI::Option* addList(CLI::App& app, const char* name, std::vector<std::string>& values,
                     const CLI::Validator& check, const char* help, const char* type) {
    return app.add_option(name, values, help)
        ->check(check)
        ->type_name(type)
        ->allow_extra_args(false);
}

void describeListeners(CLI::App& app, ServerSettings& server, Texts& texts) {
    const CLI::Validator isAddress(checkListenAddress, "");
    addList(app, "--listen", texts.plain, isAddress,
            "Serve HTTP here (127.0.0.1:8008 when no listener is given); port 0 takes a free one; "
            "may be given again",
            "ADDR:PORT");
    app.add_flag("--allow-plain", texts.allowPlain,
                 "Let other machines send passwords over plain HTTP");
    CLI::Option* tls = addList(app, "--tls-listen", texts.tls, isAddress,
                               "Serve HTTPS here; may be given again", "ADDR:PORT");
    CLI::Option* certificate =
        app.add_option("--tls-cert", server.certificateFile,
                       "Certificate chain for HTTPS (PEM); read again on SIGHUP")
            ->type_name("FILE")
            ->needs(tls);
    CLI::Option* key =
        app.add_option("--tls-key", server.keyFile, "Private key of the certificate (PEM)")
            ->type_name("FILE")
            ->needs(tls);
    tls->needs(certificate)->needs(key);
    addList(app, "--trusted-proxy", texts.proxies, CLI::Validator(checkNetwork, ""),
            "Believe X-Forwarded-For and X-Forwarded-Proto from here; the proxy must set both; "
            "may be given again",
            "CIDR");
}

std::string checkAdminAddress(const std::string& text) {
    if (text == kNoAdmin || isAdminAddress(text)) return {};
    return "expected unix:PATH, ADDR:PORT with a loopback address, or none, got " + text;
}

void describeWatching(CLI::App& app, Options& options) {
    ServerSettings& server = options.server;
    app.add_option("--admin-listen", server.adminListen,
                   "Show /metrics, /status and /healthz here; none: nowhere "
                   "(unix:DIR/run/cvwebdavd.sock)")
        ->check(CLI::Validator(checkAdminAddress, ""))
        ->type_name("unix:PATH|ADDR:PORT|none");
    CLI::Option* log = app.add_option("--access-log", server.accessLog,
                                      "Write a line for each request to this file; opened again on "
                                      "SIGHUP")
                           ->type_name("FILE");
    const std::map<std::string, AccessLog::Format> formats = {
        {"combined", AccessLog::Format::kCombined}, {"json", AccessLog::Format::kJson}};
    app.add_option("--access-log-format", server.accessLogFormat, "Form of these lines (combined)")
        ->transform(CLI::Transformer(formats))
        ->type_name("combined|json")
        ->needs(log);
}

void describe(CLI::App& app, Options& options, Texts& texts) {
    ServerSettings& server = options.server;
    app.set_version_flag("--version", "cvwebdavd " CVWEBDAV_VERSION);
    app.footer(kFooter);
    app.add_option("--data", options.dataDirectory, "The data directory")
        ->required()
        ->type_name("DIR");
    describeListeners(app, server, texts);
    app.add_option("--user", options.user, "Go on as this user once the listeners are open")
        ->type_name("NAME");
    describeWatching(app, options);
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

int wrongUsage(const std::string& problem) {
    std::cerr << "cvwebdavd: " << problem << " (see cvwebdavd --help)\n";
    return kWrongUsage;
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
        exitCode = wrongUsage(problem.what());
        return std::nullopt;
    }
    options.server.plain = addressesOf(texts.plain);
    options.server.tls = addressesOf(texts.tls);
    for (const std::string& text : texts.proxies) {
        options.server.trustedProxies.push_back(Network::parse(text).value());
    }
    options.adminAsked = !options.server.adminListen.empty();
    if (options.server.adminListen == kNoAdmin) options.server.adminListen.clear();
    if (options.server.plain.empty() && options.server.tls.empty()) {
        options.server.plain.push_back({"127.0.0.1", 8008});
    }
    const std::string problem = problemOfPlain(options.server.plain, texts.allowPlain);
    if (problem.empty()) return options;
    exitCode = wrongUsage(problem);
    return std::nullopt;
}

}  // namespace host
