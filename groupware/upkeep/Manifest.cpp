#include "groupware/upkeep/Manifest.h"

namespace groupware {

namespace {

constexpr std::string_view kFirstLine = "CVWebDAV backup 1";
constexpr size_t kDigestBytes = crypto_generichash_BYTES;
constexpr size_t kDigestDigits = 2 * kDigestBytes;

/// Takes a line off the text; nothing when it has no end.
std::optional<std::string_view> takeLine(std::string_view& text) {
    const size_t end = text.find('\n');
    if (end == std::string_view::npos) return std::nullopt;
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end + 1);
    return line;
}

}  // namespace

Digest::Digest() {
    crypto_generichash_init(&state_, nullptr, 0, kDigestBytes);
}

void Digest::add(std::string_view bytes) {
    crypto_generichash_update(&state_, reinterpret_cast<const unsigned char*>(bytes.data()),
                              bytes.size());
}

std::string Digest::hexadecimal() {
    std::array<unsigned char, kDigestBytes> bytes{};
    crypto_generichash_final(&state_, bytes.data(), bytes.size());
    std::string text(kDigestDigits + 1, '\0');
    sodium_bin2hex(text.data(), text.size(), bytes.data(), bytes.size());
    text.pop_back();
    return text;
}

std::string Manifest::text() const {
    std::string text(kFirstLine);
    text.append("\n").append(root).append("\n");
    for (const auto& [name, digest] : digests) {
        text.append(digest).append(" ").append(name).append("\n");
    }
    return text;
}

std::optional<Manifest> Manifest::parse(std::string_view text) {
    if (takeLine(text) != kFirstLine) return std::nullopt;
    const auto root = takeLine(text);
    if (!root) return std::nullopt;
    Manifest manifest{std::string(*root), {}};
    while (!text.empty()) {
        const auto line = takeLine(text);
        if (!line || line->size() <= kDigestDigits || (*line)[kDigestDigits] != ' ') {
            return std::nullopt;
        }
        manifest.digests.emplace(line->substr(kDigestDigits + 1), line->substr(0, kDigestDigits));
    }
    return manifest;
}

}  // namespace groupware
