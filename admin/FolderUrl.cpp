#include "admin/FolderUrl.h"

#include "groupware/engine/Names.h"

namespace admin {

namespace {

std::string base64(std::string_view bytes) {
    constexpr std::string_view kDigits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (size_t at = 0; at < bytes.size(); at += 3) {
        const std::string_view group = bytes.substr(at, 3);
        uint32_t bits = 0;
        for (size_t i = 0; i < 3; ++i) {
            bits = bits << 8U | (i < group.size() ? static_cast<unsigned char>(group[i]) : 0U);
        }
        for (unsigned i = 0; i < 4; ++i) {
            text += i > group.size() ? '=' : kDigits[bits >> (18U - 6U * i) & 63U];
        }
    }
    return text;
}

bool isUnreserved(char c) {
    constexpr std::string_view kMarks = "-._~";
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           kMarks.find(c) != std::string_view::npos;
}

}  // namespace

std::string folderUrlPath(const groupware::AccountRow& owner, const groupware::FolderRow& folder) {
    const auto [mailbox, domain] = groupware::addressParts(owner.address);
    std::string path =
        folder.kind == groupware::ItemKind::kContact ? "/webdav/carddav/" : "/webdav/caldav/";
    path.append(domain).append("/").append(mailbox);
    return path + "/b64=" + base64(folder.name) + "/";
}

std::string queryEncoded(std::string_view text) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string encoded;
    for (const char c : text) {
        if (isUnreserved(c)) {
            encoded += c;
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        encoded += '%';
        encoded += kDigits[byte >> 4U];
        encoded += kDigits[byte & 15U];
    }
    return encoded;
}

}  // namespace admin
