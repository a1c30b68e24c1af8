#include "groupware/mail/Spool.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "groupware/engine/Names.h"
#include "groupware/ical/AsciiText.h"
#include "groupware/mail/KeptMessages.h"
#include "groupware/mail/MailMessage.h"
#include "platform/LocalTime.h"

namespace groupware {

namespace {

constexpr std::string_view kEnding = ".eml";
constexpr std::string_view kSender = "X-Sender: ";
constexpr std::string_view kReceiver = "X-Receiver: ";
constexpr size_t kLongestMessage = size_t{64} * 1024 * 1024;

/// Cuts a field of that name off the front of the text; its address, or nothing.
std::optional<std::string> cutAddress(std::string_view& text, std::string_view name) {
    if (!text.starts_with(name)) return std::nullopt;
    text.remove_prefix(name.size());
    const std::string_view address = trimmed(cutFirst(text, '\n'));
    if (!isAddress(address)) return std::nullopt;
    return std::string(address);
}

}  // namespace

std::string SpoolEntry::fileName() const {
    return std::to_string(createdMs) + "-" + std::to_string(attempts) + "-" +
           std::to_string(dueMs) + "-" + token + std::string(kEnding);
}

std::optional<SpoolEntry> SpoolEntry::fromName(std::string_view name) {
    if (!name.ends_with(kEnding)) return std::nullopt;
    name.remove_suffix(kEnding.size());
    SpoolEntry entry;
    for (int64_t* number : {&entry.createdMs, &entry.attempts, &entry.dueMs}) {
        const std::string_view digits = cutFirst(name, '-');
        const char* end = digits.data() + digits.size();
        const auto [stop, error] = std::from_chars(digits.data(), end, *number);
        if (error != std::errc{} || stop != end || *number < 0) return std::nullopt;
    }
    const bool good = !name.empty() && std::ranges::all_of(name, [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z');
    });
    if (!good) return std::nullopt;
    entry.token = name;
    return entry;
}

bool Spool::add(const Envelope& envelope, std::string_view message, int64_t nowMs) const {
    if (!platform::createDirectories(directory_)) return false;
    std::string text(kSender);
    text.append(envelope.sender).append("\r\n").append(kReceiver).append(envelope.recipient);
    text.append("\r\n").append(message);
    const SpoolEntry entry{nowMs, 0, nowMs, randomToken()};
    return platform::replaceFile(path(entry), text, 0640, true);
}

bool Spool::empty() const {
    return entries().empty();
}

std::unique_ptr<platform::FileLock> Spool::tryLock(std::chrono::milliseconds limit) const {
    return platform::FileLock::acquire(directory_ + "\\" + kLockName, limit);
}

std::vector<SpoolEntry> Spool::entries() const {
    std::vector<SpoolEntry> entries;
    for (const std::string& name : platform::listDirectory(directory_)) {
        if (auto entry = SpoolEntry::fromName(name)) entries.push_back(std::move(*entry));
    }
    std::ranges::sort(entries, {}, &SpoolEntry::dueMs);
    return entries;
}

std::optional<SpooledMessage> Spool::read(const SpoolEntry& entry) const {
    const auto file = platform::readFile(path(entry), kLongestMessage);
    if (!file) return std::nullopt;
    std::string_view rest = *file;
    auto sender = cutAddress(rest, kSender);
    auto recipient = sender ? cutAddress(rest, kReceiver) : std::nullopt;
    if (!recipient) return std::nullopt;
    return SpooledMessage{{std::move(*sender), std::move(*recipient)}, std::string(rest)};
}

void Spool::remove(const SpoolEntry& entry) const {
    platform::removeFile(path(entry));
}

bool Spool::putOff(const SpoolEntry& entry, int64_t dueMs) const {
    SpoolEntry later = entry;
    ++later.attempts;
    later.dueMs = dueMs;
    return platform::renameFile(path(entry), path(later));
}

void Spool::giveUp(const SpoolEntry& entry, std::string_view reason) const {
    const std::string failed = directory_ + "\\failed";
    removeOldMessages(failed, platform::nowUtcMs());
    std::string text = "X-Failure: " + headerText(reason) + "\r\n";
    text += platform::readFile(path(entry), kLongestMessage).value_or("");
    const bool kept = platform::createDirectories(failed) &&
                      platform::replaceFile(failed + "\\" + entry.fileName(), text, 0640, true);
    if (kept) remove(entry);
}

}  // namespace groupware
