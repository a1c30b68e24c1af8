// Numbers texts: the first that is put in is 0, the next new one 1, and so on.
//
// One flat table for a number of texts that is known beforehand; the texts stay the caller's. For
// the UIDs of a folder and the hrefs of a request, of which there may be many. Belongs to one
// thread.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string_view>
#include <vector>

namespace webdav {

class TextTable {
  public:
    explicit TextTable(size_t mostTexts) : slots_(std::bit_ceil(2 * mostTexts + 2)) {
        texts_.reserve(mostTexts);
    }

    /// False when the text is in already.
    bool add(std::string_view text) {
        Slot& slot = slotOf(text);
        if (slot.place != 0) return false;
        texts_.push_back(text);
        slot.place = static_cast<uint32_t>(texts_.size());
        return true;
    }

    /// Its number.
    std::optional<size_t> find(std::string_view text) {
        const Slot& slot = slotOf(text);
        return slot.place == 0 ? std::nullopt : std::optional<size_t>(slot.place - 1);
    }

    size_t size() const { return texts_.size(); }

  private:
    struct Slot {
        uint32_t hash = 0;
        uint32_t place = 0;  ///< 0 for a free slot, else the number of its text and 1
    };

    /// A third of the work of std::hash for texts as long as UIDs are, of which a folder has many.
    static uint64_t hashOf(std::string_view text) {
        constexpr uint64_t kFactor = 0x9E3779B97F4A7C15U;  // odd, with its bits all over
        uint64_t hash = text.size();
        const auto take = [&hash](uint64_t piece) {
            hash = (std::rotl(hash, 29) ^ piece) * kFactor;
        };
        const auto eightAt = [text](size_t at) {
            uint64_t eight = 0;
            std::memcpy(&eight, text.data() + at, sizeof eight);
            return eight;
        };
        if (text.size() < 8) {
            for (const char c : text) take(static_cast<uint8_t>(c));
        } else {
            for (size_t at = 0; at < text.size() - 8; at += 8) take(eightAt(at));
            take(eightAt(text.size() - 8));  // some bytes once more, unless it is a multiple
        }
        hash = (hash ^ hash >> 32) * kFactor;
        return hash ^ hash >> 32;
    }

    /// Where the text is, or where it is to go.
    Slot& slotOf(std::string_view text) {
        const uint64_t hash = hashOf(text);
        const auto tag = static_cast<uint32_t>(hash >> 32);
        for (size_t at = hash;; ++at) {
            Slot& slot = slots_[at & (slots_.size() - 1)];
            if (slot.place == 0) slot.hash = tag;
            if (slot.place == 0 || (slot.hash == tag && texts_[slot.place - 1] == text))
                return slot;
        }
    }

    std::vector<Slot> slots_;  // twice as many as texts, so that runs stay short
    std::vector<std::string_view> texts_;
};

}  // namespace webdav
