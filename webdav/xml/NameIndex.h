// Finds numbers by name in constant time, whatever names an attacker chooses: the parser its open
// elements, ResolvedNames its prefixes.
//
// It holds nothing but the numbers, which start at 1; the names are read through a function from
// where they lie already. The hash is a polynomial modulo a prime at a random point, so that no set
// of names can be made up to collide.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

namespace webdav {

/// Whether two names are the same, with ASCII letters compared without regard to case when asked.
bool sameName(std::string_view a, std::string_view b, bool ignoreCase);

class NameIndex {
  public:
    using NameOf = std::function<std::string_view(uint32_t number)>;

    explicit NameIndex(NameOf nameOf, bool ignoreCase = false);

    /// The number of a name, or 0.
    uint32_t find(std::string_view name) const;
    /// Takes a number in; its name must not be there yet.
    void add(uint32_t number);

  private:
    uint32_t hash(std::string_view name) const;
    size_t slotOf(std::string_view name) const;
    void grow();

    NameOf nameOf_;
    bool ignoreCase_;
    uint64_t point_;
    std::vector<uint32_t> slots_;
    size_t count_ = 0;
};

}  // namespace webdav
