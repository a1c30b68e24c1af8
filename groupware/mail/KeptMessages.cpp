#include "groupware/mail/KeptMessages.h"

#include <algorithm>
#include <charconv>

#include "platform/Files.h"

namespace groupware {

namespace {

constexpr int64_t kKeptMs = int64_t{90} * 86'400'000;
constexpr std::string_view kEnding = ".eml";
constexpr size_t kTokenDigits = 32;

bool isToken(std::string_view text) {
    return text.size() == kTokenDigits && std::ranges::all_of(text, [](char c) {
               return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
           });
}

}  // namespace

std::optional<int64_t> madeAt(std::string_view fileName) {
    if (!fileName.ends_with(kEnding)) return std::nullopt;
    fileName.remove_suffix(kEnding.size());
    const size_t last = fileName.rfind('-');
    if (last == std::string_view::npos || !isToken(fileName.substr(last + 1))) return std::nullopt;
    int64_t made = 0;
    const char* end = fileName.data() + fileName.find('-');
    const auto [stop, error] = std::from_chars(fileName.data(), end, made);
    if (error != std::errc{} || stop != end) return std::nullopt;
    return made;
}

void removeOldMessages(const std::string& directory, int64_t nowMs) {
    for (const std::string& name : platform::listDirectory(directory)) {
        const auto made = madeAt(name);
        if (made && nowMs - *made > kKeptMs) platform::removeFile(directory + "\\" + name);
    }
}

}  // namespace groupware
