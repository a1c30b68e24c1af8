// The text of one INI file: its parsed form for reading, and edits that leave every other line,
// comment and line end as they are. Used inside the POSIX side only; pure, no file is touched.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "platform/posix/AsciiCase.h"

namespace platform {

/// Immutable once made; safe from every thread.
class ProfileText {
  public:
    explicit ProfileText(std::string text);
    ProfileText(const ProfileText&) = delete;
    ProfileText& operator=(const ProfileText&) = delete;

    /// The value as it stands there, which lives as long as this object; nothing when missing.
    std::optional<std::string_view> find(std::string_view section, std::string_view key) const;
    size_t size() const { return text_.size(); }

  private:
    using Entries = std::map<std::string_view, std::string_view, LessIgnoringCase>;

    std::string text_;
    std::map<std::string_view, Entries, LessIgnoringCase> sections_;  ///< views into text_
};

/// True when these can be written so that reading gives them back and no other line comes of them.
bool isProfileEntry(std::string_view section, std::string_view key, std::string_view value);

/// The text with the key set, in its place or at the end of its section.
std::string withProfileValue(std::string_view text, std::string_view section, std::string_view key,
                             std::string_view value);

/// The text without any line of that key in its section.
std::string withoutProfileKey(std::string_view text, std::string_view section,
                              std::string_view key);

}  // namespace platform
