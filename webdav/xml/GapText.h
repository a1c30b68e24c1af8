// A text that is cut in two where it is being edited, so that bytes are added and taken away there
// without moving the rest. It is the ground under IndexedText, which moves the gap to each edit.
//
// Positions are counted as if the gap filled the text up to 4 GB: those of the front from the
// start, those of the back from the end. So they do not change when something is written at the
// gap, and all that moving it changes are the positions of what it passes. Throws std::length_error
// ("string too long") for a text beyond that.
#pragma once

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <string>
#include <string_view>

namespace webdav {

class GapText {
  public:
    /// The position behind the last byte.
    static constexpr uint32_t kEnd = std::numeric_limits<uint32_t>::max();

    /// Takes a text; the gap is at its end.
    void assign(std::string text);
    /// Hands the text out and is empty afterwards.
    std::string take();
    size_t size() const { return front_.size() + back().size(); }
    /// The bytes before the gap: all, when it is at the end.
    const std::string& front() const { return front_; }

    uint32_t gapBegin() const { return static_cast<uint32_t>(front_.size()); }
    uint32_t gapEnd() const { return kEnd - static_cast<uint32_t>(back_.size() - backBegin_); }
    uint32_t gapSize() const { return gapEnd() - gapBegin(); }

    /// The bytes from `begin` to `end`, which must not have the gap between them; a gap at either
    /// end is left out.
    std::string_view view(uint32_t begin, uint32_t end) const {
        if (begin < gapBegin()) {
            return {front_.data() + begin, std::clamp(end, begin, gapBegin()) - begin};
        }
        begin = std::max(begin, gapEnd());
        return back().substr(begin - gapEnd(), std::max(begin, end) - begin);
    }

    /// Moves the gap to a position outside of it.
    void moveGap(uint32_t position);
    /// Writes before the gap.
    void put(std::string_view bytes) {
        putBy([bytes](std::string& out) { out += bytes; });
    }
    /// Writes these one after the other behind the gap.
    void putBehind(std::initializer_list<std::string_view> pieces);
    /// Lets `write` append to the text before the gap, which it gets as a string.
    template <typename Write>
    void putBy(const Write& write) {
        const uint32_t before = gapBegin();
        if (isLong() && front_.capacity() - before < kFewBytes) front_.reserve(4 * front_.size());
        write(front_);
        if (size() >= kEnd) undoPut(before);
    }
    /// Drops bytes before the gap, or behind it.
    void drop(uint32_t bytes) { front_.resize(front_.size() - bytes); }
    void dropBehind(uint32_t bytes) { backBegin_ += bytes; }

  private:
    /// A long text is given much room at once: moving it costs, memory not written to does not.
    bool isLong() const { return front_.size() > (1U << 16) && front_.size() < (1U << 27); }
    static constexpr size_t kFewBytes = 4096;

    std::string_view back() const { return std::string_view(back_).substr(backBegin_); }
    [[noreturn]] void undoPut(uint32_t size);
    char* growBackBy(size_t bytes);

    std::string front_;
    std::string back_;  // its first bytes, up to backBegin_, are free
    size_t backBegin_ = 0;
};

}  // namespace webdav
