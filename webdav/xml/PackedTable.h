// A table of names with numbers, packed into one text an entry: the length of the name in so many
// digits, the number in so many, and the name in lower case, as "60248oslash". Sorted by name and
// checked when it is compiled; a name may stand in it twice.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace webdav {

class PackedTable {
  public:
    using Entries = std::span<const std::string_view>;

    constexpr PackedTable(Entries entries, size_t lengthDigits, size_t numberDigits)
        : entries_(entries), lengthDigits_(lengthDigits), numberDigits_(numberDigits) {}

    constexpr size_t size() const { return entries_.size(); }
    constexpr std::string_view name(std::string_view entry) const {
        return entry.substr(lengthDigits_ + numberDigits_);
    }
    constexpr uint32_t number(std::string_view entry) const {
        return value(entry.substr(lengthDigits_, numberDigits_));
    }

    /// The entries of a name, whatever the case it is given in.
    Entries find(std::string_view anyCaseName) const {
        const auto begin = std::lower_bound(
            entries_.begin(), entries_.end(), anyCaseName,
            [this](std::string_view entry, std::string_view n) { return isLess(name(entry), n); });
        const auto end = std::upper_bound(
            begin, entries_.end(), anyCaseName,
            [this](std::string_view n, std::string_view entry) { return isLess(n, name(entry)); });
        return {begin, end};
    }

    /// Whether the lengths are right and the names sorted.
    constexpr bool isSound() const {
        return std::ranges::all_of(entries_,
                                   [this](std::string_view entry) {
                                       return name(entry).size() ==
                                              value(entry.substr(0, lengthDigits_));
                                   }) &&
               std::ranges::is_sorted(entries_, isLess,
                                      [this](std::string_view entry) { return name(entry); });
    }

  private:
    static constexpr char lower(char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
    }
    static constexpr bool isLess(std::string_view a, std::string_view b) {
        return std::ranges::lexicographical_compare(a, b, {}, lower, lower);
    }
    static constexpr uint32_t value(std::string_view digits) {
        uint32_t number = 0;
        for (const char digit : digits) number = number * 10 + static_cast<uint32_t>(digit - '0');
        return number;
    }

    Entries entries_;
    size_t lengthDigits_;
    size_t numberDigits_;
};

}  // namespace webdav
