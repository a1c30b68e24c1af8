#include "webdav/frame/DomainLookup.h"

#include <algorithm>
#include <vector>

#include "abi/StoreTypes.h"
#include "platform/Files.h"
#include "webdav/base/Text.h"
#include "webdav/store/StoreSettings.h"

namespace webdav {

namespace {

constexpr const char* kPlaceholderDomain = "localhost";
constexpr const char* kDomainSection = "Domain";
constexpr size_t kLongestFile = 4 << 20;
constexpr size_t kLongestLine = 511;
constexpr std::string_view kBlanks = " \t\r";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// A domain and one thing that its clients may have used to reach it.
struct DomainEntry {
    std::string domain;
    std::string key;  ///< "FQDN", "IP" or "IP6"
    std::string value;
};

std::string_view trimmed(std::string_view text) {
    const size_t start = text.find_first_not_of(kBlanks);
    if (start == std::string_view::npos) return {};
    return text.substr(start, text.find_last_not_of(kBlanks) - start + 1);
}

/// An address without the brackets that it has in a URL, a name without its closing dot.
std::string_view plainHost(std::string_view host) {
    if (host.starts_with('[') && host.ends_with(']')) return host.substr(1, host.size() - 2);
    if (host.ends_with('.')) host.remove_suffix(1);
    return host;
}

/// The lines of the domain file: a section for each domain, in it what leads to it.
std::vector<DomainEntry> readDomainFile() {
    const std::string file =
        platform::readFile(StoreFilePath(STORE_FILE_DOMAINS), kLongestFile).value_or("");
    std::vector<DomainEntry> entries;
    std::string domain;
    std::string_view rest = file;
    if (rest.starts_with(kByteOrderMark)) rest.remove_prefix(kByteOrderMark.size());
    while (!rest.empty()) {
        const size_t end = std::min(rest.find('\n'), rest.size());
        const std::string_view line = trimmed(rest.substr(0, std::min(end, kLongestLine)));
        rest.remove_prefix(std::min(end + 1, rest.size()));
        const size_t equals = line.find('=');
        if (line.starts_with('[') && line.ends_with(']')) {
            domain = line.substr(1, line.size() - 2);
        } else if (equals != std::string_view::npos && !domain.empty()) {
            entries.push_back({domain, std::string(trimmed(line.substr(0, equals))),
                               std::string(trimmed(line.substr(equals + 1)))});
        }
    }
    return entries;
}

/// The domain of the first entry of that key which leads to the host; empty without one.
std::string domainOf(const std::vector<DomainEntry>& entries, std::string_view key,
                     std::string_view host) {
    for (const DomainEntry& entry : entries) {
        const std::string_view value = plainHost(entry.value);
        if (!value.empty() && EqualsNoCase(entry.key, key) && EqualsNoCase(value, host))
            return entry.domain;
    }
    return {};
}

/// The domain that the name is or lies in, the longest of several: mail.example.test belongs to
/// example.test.
std::string domainAbove(const std::vector<DomainEntry>& entries, std::string_view name) {
    std::string found;
    for (const DomainEntry& entry : entries) {
        const bool above =
            EqualsNoCase(name, entry.domain) || EndsWithNoCase(name, "." + entry.domain);
        if (above && entry.domain.size() > found.size()) found = entry.domain;
    }
    return found;
}

}  // namespace

std::string LookUpDomain(std::string_view serverAddress, std::string_view serverName) {
    const std::string_view address = plainHost(serverAddress);
    const std::string_view name = plainHost(serverName);
    const std::string standard = StoreSetting(kDomainSection, "DomainName", kPlaceholderDomain);

    // The default domain's own entries stand in the main settings and go before all others.
    std::vector<DomainEntry> entries = {
        {standard, "FQDN", StoreSetting(kDomainSection, "FQDN", "")},
        {standard, "IP", StoreSetting(kDomainSection, "DomainIP", "127.0.0.1")},
        {standard, "IP6", StoreSetting(standard, "IP6", "::1")},
    };
    std::ranges::move(readDomainFile(), std::back_inserter(entries));

    const bool isIp6 = address.find(':') != std::string_view::npos;
    std::string found = domainOf(entries, "FQDN", name);
    if (found.empty()) found = domainAbove(entries, name);
    if (found.empty()) found = domainOf(entries, isIp6 ? "IP6" : "IP", address);
    return found.empty() ? standard : found;
}

}  // namespace webdav
