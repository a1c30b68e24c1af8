#include "groupware/engine/Names.h"

#include <algorithm>
#include <array>

#include "abi/StoreTypes.h"
#include "groupware/engine/ModifiedUtf7.h"
#include "platform/CodePage.h"
#include "platform/Files.h"

namespace groupware {

namespace {

constexpr std::string_view kLevelEnding = ".IMAP";
constexpr size_t kMostLevels = 16;
constexpr std::string_view kMailboxMarks = "._-+=";

struct KindNames {
    const char* folderClass;
    const char* marker;
};
constexpr std::array<KindNames, 3> kKinds = {{{"IPF.Appointment", "Calendar.mrk"},
                                              {"IPF.Task", "TaskList.mrk"},
                                              {"IPF.Contact", "AddrBook.mrk"}}};

const KindNames& namesOf(ItemKind kind) {
    return kKinds.at(static_cast<size_t>(kind) - 1);
}

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool isLetterOrDigit(char c) {
    return (lower(c) >= 'a' && lower(c) <= 'z') || (c >= '0' && c <= '9');
}

bool isLabel(std::string_view label) {
    return !label.empty() && label.size() <= 63 && isLetterOrDigit(label.front()) &&
           isLetterOrDigit(label.back()) &&
           std::ranges::all_of(label, [](char c) { return isLetterOrDigit(c) || c == '-'; });
}

bool isMailboxName(std::string_view mailbox) {
    return !mailbox.empty() && mailbox.front() != '.' && mailbox.back() != '.' &&
           mailbox.find("..") == std::string_view::npos && std::ranges::all_of(mailbox, [](char c) {
               return isLetterOrDigit(c) || kMailboxMarks.find(c) != std::string_view::npos;
           });
}

template <typename Each>
bool everyPart(std::string_view text, char divider, Each each) {
    for (;;) {
        const size_t end = text.find(divider);
        if (!each(text.substr(0, end))) return false;
        if (end == std::string_view::npos) return true;
        text.remove_prefix(end + 1);
    }
}

/// Names that the URLs of collections and items give a meaning of their own, or that come back
/// changed from there, cannot be names of levels.
bool isLevelName(std::string_view level) {
    const std::string lowered = lowerAscii(level);
    return platform::isPlainName(level) && isDisplayText(level) && level.front() != ' ' &&
           level.back() != ' ' && level.back() != '.' &&
           lowered.find(".imap") == std::string::npos && !lowered.starts_with("b64=") &&
           !lowered.starts_with("~shared") && !lowered.starts_with("~public") &&
           !lowered.ends_with(".ics") && !lowered.ends_with(".vcf");
}

}  // namespace

std::string lowerAscii(std::string_view text) {
    std::string lowered(text);
    std::ranges::transform(lowered, lowered.begin(), lower);
    return lowered;
}

bool equalsIgnoringCase(std::string_view left, std::string_view right) {
    return std::ranges::equal(left, right, {}, lower, lower);
}

bool isDisplayText(std::string_view text) {
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; };
    const auto isPrintable = [](char c) { return c >= ' ' && c <= '~'; };
    if (std::ranges::all_of(text, isPrintable)) return true;
    return std::ranges::none_of(text, isControl) &&
           platform::utf16ToUtf8(platform::utf8ToUtf16(text)) == text;
}

bool isDomainName(std::string_view domain) {
    return domain.size() < STORE_DOMAIN_NAME_SIZE && everyPart(domain, '.', isLabel);
}

bool isAddress(std::string_view address) {
    const auto [mailbox, domain] = addressParts(address);
    return address.size() < STORE_ADDRESS_SIZE && isMailboxName(mailbox) && isDomainName(domain);
}

AddressParts addressParts(std::string_view address) {
    const size_t at = address.rfind('@');
    if (at == std::string_view::npos) return {address, {}};
    return {address.substr(0, at), address.substr(at + 1)};
}

bool isFolderName(std::string_view name) {
    const auto dividers = static_cast<size_t>(std::ranges::count(name, '/'));
    return name.size() < STORE_NAME_SIZE && dividers < kMostLevels &&
           everyPart(name, '/', isLevelName) &&
           folderDirectoryName(name).size() < sizeof(StoreFolderRecord::imapName);
}

std::string folderDirectoryName(std::string_view name) {
    std::string directory;
    everyPart(name, '/', [&](std::string_view level) {
        if (!directory.empty()) directory += '\\';
        directory += encodeModifiedUtf7(level);
        directory += kLevelEnding;
        return true;
    });
    return directory;
}

std::optional<std::string> folderNameOf(std::string_view directoryName) {
    std::string name;
    const bool good = everyPart(directoryName, '\\', [&](std::string_view part) {
        if (part.size() <= kLevelEnding.size()) return false;
        const size_t stem = part.size() - kLevelEnding.size();
        if (!equalsIgnoringCase(part.substr(stem), kLevelEnding)) return false;
        const std::string level = decodeModifiedUtf7(part.substr(0, stem));
        if (!isLevelName(level)) return false;
        if (!name.empty()) name += '/';
        name += level;
        return true;
    });
    if (!good) return std::nullopt;
    return name;
}

const char* folderClass(ItemKind kind) {
    return namesOf(kind).folderClass;
}

const char* markerName(ItemKind kind) {
    return namesOf(kind).marker;
}

}  // namespace groupware
