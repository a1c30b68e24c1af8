#include "admin/Output.h"

#include <algorithm>
#include <iostream>

namespace admin {

namespace {

/// Characters, not bytes, so that columns line up below non-ASCII names.
size_t widthOf(const std::string& text) {
    return static_cast<size_t>(std::ranges::count_if(
        text, [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; }));
}

}  // namespace

std::string countOf(size_t count, const std::string& word) {
    return std::to_string(count) + " " + word + (count == 1 ? "" : "s");
}

void printColumns(const std::vector<std::vector<std::string>>& rows) {
    std::vector<size_t> widths;
    for (const auto& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], widthOf(row[i]));
    }
    for (const auto& row : rows) {
        std::string line;
        for (size_t i = 0; i < row.size(); ++i) {
            line += row[i] + std::string(widths[i] - widthOf(row[i]) + 2, ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        std::cout << line << '\n';
    }
}

void printJson(const Json& value) {
    std::cout << value.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

}  // namespace admin
