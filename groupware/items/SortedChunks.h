// A sorted list of which many versions can be kept: versions share what they have in common.
//
// The entries stand in chunks of a few hundred; a change copies the one chunk that it concerns and
// the list of chunks. A version that is no longer changed may be read by any number of threads, and
// copied to make the next one.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

namespace groupware {

/// Key gives the part of an entry that the list is sorted by; no two entries have the same.
template <typename Entry, typename Key>
class SortedChunks {
  public:
    using Chunk = std::vector<Entry>;

    SortedChunks() = default;
    /// Takes entries in any order.
    explicit SortedChunks(std::vector<Entry> entries) {
        std::ranges::sort(entries, {}, Key());
        for (size_t from = 0; from < entries.size(); from += kChunkSize) {
            const size_t to = std::min(from + kChunkSize, entries.size());
            chunks_.push_back(std::make_shared<const Chunk>(entries.begin() + offset(from),
                                                            entries.begin() + offset(to)));
        }
    }

    void insert(Entry entry) {
        if (chunks_.empty()) {
            chunks_.push_back(std::make_shared<const Chunk>(1, std::move(entry)));
            return;
        }
        const size_t place = std::min(chunkFor(Key()(entry)), chunks_.size() - 1);
        Chunk chunk = *chunks_[place];
        chunk.insert(std::ranges::lower_bound(chunk, Key()(entry), {}, Key()), std::move(entry));
        if (chunk.size() < 2 * kChunkSize) {
            chunks_[place] = std::make_shared<const Chunk>(std::move(chunk));
            return;
        }
        const auto middle = chunk.begin() + offset(kChunkSize);
        chunks_[place] = std::make_shared<const Chunk>(middle, chunk.end());
        chunks_.insert(chunks_.begin() + offset(place),
                       std::make_shared<const Chunk>(chunk.begin(), middle));
    }

    /// Does nothing when there is no such entry.
    template <typename Wanted>
    void erase(const Wanted& key) {
        if (find(key) == nullptr) return;
        const size_t place = chunkFor(key);
        Chunk chunk = *chunks_[place];
        chunk.erase(std::ranges::lower_bound(chunk, key, {}, Key()));
        if (chunk.empty()) {
            chunks_.erase(chunks_.begin() + offset(place));
        } else {
            chunks_[place] = std::make_shared<const Chunk>(std::move(chunk));
        }
    }

    /// Null when there is no such entry.
    template <typename Wanted>
    const Entry* find(const Wanted& key) const {
        const size_t place = chunkFor(key);
        if (place == chunks_.size()) return nullptr;
        const auto entry = std::ranges::lower_bound(*chunks_[place], key, {}, Key());
        return Key()(*entry) == key ? &*entry : nullptr;
    }

    /// Calls with the entries from a key on, in order, until the callee returns false.
    template <typename Wanted, typename Visit>
    void eachFrom(const Wanted& key, Visit visit) const {
        for (size_t place = chunkFor(key); place < chunks_.size(); ++place) {
            const Chunk& chunk = *chunks_[place];
            for (auto entry = std::ranges::lower_bound(chunk, key, {}, Key()); entry != chunk.end();
                 ++entry) {
                if (!visit(*entry)) return;
            }
        }
    }

    /// Calls with every entry, in order.
    template <typename Visit>
    void each(Visit visit) const {
        for (const auto& chunk : chunks_) {
            for (const Entry& entry : *chunk) visit(entry);
        }
    }

    size_t size() const {
        size_t sum = 0;
        for (const auto& chunk : chunks_) sum += chunk->size();
        return sum;
    }

  private:
    static constexpr size_t kChunkSize = 128;

    static std::ptrdiff_t offset(size_t index) { return static_cast<std::ptrdiff_t>(index); }

    /// The first chunk that ends with the key or later; none has no entries.
    template <typename Wanted>
    size_t chunkFor(const Wanted& key) const {
        const auto last = [](const auto& chunk) -> decltype(auto) { return Key()(chunk->back()); };
        const auto found = std::ranges::lower_bound(chunks_, key, {}, last);
        return static_cast<size_t>(found - chunks_.begin());
    }

    std::vector<std::shared_ptr<const Chunk>> chunks_;
};

}  // namespace groupware
