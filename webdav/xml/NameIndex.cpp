#include "webdav/xml/NameIndex.h"

#include <algorithm>
#include <random>
#include <utility>

namespace webdav {

namespace {

constexpr uint64_t kPrime = 4294967291;  // the largest below 2^32
constexpr size_t kFirstSlots = 16;

char folded(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

/// One for the process: to open the source of random numbers costs as much as to read a request.
uint64_t randomPoint() {
    static const uint64_t point = [] {
        std::random_device random;
        return std::uniform_int_distribution<uint64_t>(256, kPrime - 1)(random);
    }();
    return point;
}

}  // namespace

bool sameName(std::string_view a, std::string_view b, bool ignoreCase) {
    if (!ignoreCase) return a == b;
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return folded(x) == folded(y); });
}

NameIndex::NameIndex(NameOf nameOf, bool ignoreCase)
    : nameOf_(std::move(nameOf)),
      ignoreCase_(ignoreCase),
      point_(randomPoint()),
      slots_(kFirstSlots) {}

uint32_t NameIndex::find(std::string_view name) const {
    return slots_[slotOf(name)];
}

void NameIndex::add(uint32_t number) {
    if ((count_ + 1) * 4 > slots_.size() * 3) grow();
    slots_[slotOf(nameOf_(number))] = number;
    ++count_;
}

uint32_t NameIndex::hash(std::string_view name) const {
    uint64_t hash = 1;
    for (const char c : name) {
        const auto byte = static_cast<unsigned char>(ignoreCase_ ? folded(c) : c);
        hash = (hash * point_ + byte + 1) % kPrime;
    }
    return static_cast<uint32_t>(hash);
}

size_t NameIndex::slotOf(std::string_view name) const {
    size_t slot = hash(name) & (slots_.size() - 1);
    while (slots_[slot] != 0 && !sameName(nameOf_(slots_[slot]), name, ignoreCase_)) {
        slot = (slot + 1) & (slots_.size() - 1);
    }
    return slot;
}

void NameIndex::grow() {
    std::vector<uint32_t> old(slots_.size() * 2);
    old.swap(slots_);
    for (const uint32_t number : old) {
        if (number != 0) slots_[slotOf(nameOf_(number))] = number;
    }
}

}  // namespace webdav
