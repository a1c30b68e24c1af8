// Values by name in bounded memory: when it is full, the one that was not used for longest goes.
// For one thread.
#pragma once

#include <cstddef>
#include <list>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace host {

template <typename Value>
class BoundedMap {
  public:
    explicit BoundedMap(size_t capacity) : capacity_(capacity) {}

    /// Null when there is none of that name.
    Value* find(std::string_view name) {
        const auto found = index_.find(name);
        if (found == index_.end()) return nullptr;
        entries_.splice(entries_.begin(), entries_, found->second);
        return &found->second->second;
    }

    /// Makes it when there is none.
    Value& at(std::string_view name) {
        if (Value* value = find(name)) return *value;
        if (index_.size() == capacity_) erase(entries_.back().first);
        entries_.emplace_front(std::string(name), Value());
        index_.emplace(entries_.front().first, entries_.begin());
        return entries_.front().second;
    }

    void erase(std::string_view name) {
        const auto found = index_.find(name);
        if (found == index_.end()) return;
        const auto entry = found->second;
        // The index names the entry's own text.
        index_.erase(found);
        entries_.erase(entry);
    }

    size_t size() const { return index_.size(); }

  private:
    using Entries = std::list<std::pair<std::string, Value>>;

    const size_t capacity_;
    Entries entries_;  ///< the last used first
    std::unordered_map<std::string_view, typename Entries::iterator> index_;
};

}  // namespace host
