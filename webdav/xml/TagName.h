// The tags of an element that is being added, checked and written once. MarkupDocument makes them
// from the name that its caller gives, and keeps some, since answers consist of few names; they are
// a copy, whatever text that name lies in.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "webdav/xml/NameCharacters.h"

namespace webdav {

class TagName {
  public:
    /// Takes a whole name; false for what is none, and for one too long to be indexed.
    bool set(std::string_view name);
    /// Takes a name in two parts; without a prefix it is the local part alone.
    bool set(std::string_view prefix, std::string_view localPart);
    /// Whether these two parts were taken last.
    bool is(std::string_view prefix, std::string_view localPart) const {
        const std::string_view text = text_;
        return localBegin_ == 1 + prefix.size() + !prefix.empty() &&
               nameEnd_ == localBegin_ + localPart.size() &&
               text.substr(localBegin_, localPart.size()) == localPart &&
               text.substr(1, prefix.size()) == prefix;
    }

    std::string_view startTag() const { return {text_.data(), nameEnd_ + 1}; }
    std::string_view endTag() const { return std::string_view(text_).substr(nameEnd_ + 1); }
    /// The one tag of an element without content.
    void appendEmptyTag(std::string& out) const { out.append(text_, 0, nameEnd_).append("/>"); }

  private:
    bool write(std::string_view part, NameBytes set);
    bool finish(size_t localBegin);

    std::string text_;  // "<name></name>"
    size_t localBegin_ = 0;
    size_t nameEnd_ = 0;
};

/// Tags with names in two parts; the latest of them are found again.
class TagNames {
  public:
    /// The tags of a name, or null for what is none; they stay until others are asked for.
    const TagName* get(std::string_view prefix, std::string_view localPart) {
        uint8_t& number = numbers_[slotOf(localPart)];
        if (number == 0) number = add();
        TagName& tag = tags_[number - 1U];
        return tag.is(prefix, localPart) || tag.set(prefix, localPart) ? &tag : nullptr;
    }

  private:
    static constexpr size_t kSlots = 128;
    static constexpr size_t kUsualNames = 16;

    uint8_t add() {
        if (tags_.empty()) tags_.reserve(kUsualNames);
        tags_.emplace_back();
        return static_cast<uint8_t>(tags_.size());
    }

    /// Tells most names apart that occur in one answer; others take turns in a slot.
    static size_t slotOf(std::string_view name) {
        if (name.empty()) return 0;
        const auto byte = [name](size_t i) -> size_t {
            return static_cast<unsigned char>(name[i]);
        };
        const size_t last = name.size() - 1;
        return (last + 3 * byte(0) + 5 * byte(name.size() / 2) + 9 * byte(last)) % kSlots;
    }

    // Most answers use few slots: they are told by their numbers, from 1 on, and made when needed.
    std::array<uint8_t, kSlots> numbers_{};
    std::vector<TagName> tags_;
};

}  // namespace webdav
