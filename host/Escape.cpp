#include "host/Escape.h"

namespace host {

std::string escaped(std::string_view text, size_t longest) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string line;
    for (const char c : text.substr(0, longest)) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte < 0x7F && c != '"' && c != '\\') {
            line.push_back(c);
        } else {
            line.append("\\x").append({kDigits[byte >> 4U], kDigits[byte & 15U]});
        }
    }
    if (text.size() > longest) line.append("...");
    return line;
}

}  // namespace host
