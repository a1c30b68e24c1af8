// Private-profile (INI) files: "[section]" lines and "key=value" lines.
//
// The first section of a name holds, and in it the first key of a name; names match without regard
// to ASCII case; blanks around names and values and one pair of quotes around a value are dropped.
// A missing file, section or key gives the default. Parsed files are kept while the file's
// identity, size and time stamp are unchanged, so a change is seen at the next read. Safe from
// every thread; writes replace the file in one step, so no reader ever sees half of it.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

class ProfileText;

/// Reads a text; a value that does not fit is cut to bufferSize - 1 bytes.
std::string readProfileText(std::string_view path, std::string_view section, std::string_view key,
                            std::string_view defaultValue, size_t bufferSize);

/// One file as it stands when this is made, for whoever asks for several keys of it.
class Profile {
  public:
    explicit Profile(std::string_view path);

    /// As it stands in the file, for as long as this object lives; nothing when missing.
    std::optional<std::string_view> find(std::string_view section, std::string_view key) const;

  private:
    std::shared_ptr<const ProfileText> text_;
};

/// Reads a whole number: leading blanks, a sign and digits, as far as they go; 0 when there are
/// none, the default when there is no such key.
int32_t readProfileInt(std::string_view path, std::string_view section, std::string_view key,
                       int32_t defaultValue);

/// Writes a text, making file and section when missing; other lines and comments stay. False when
/// the file cannot be written, or when the texts would not come back as they are (a line break).
bool writeProfileText(std::string_view path, std::string_view section, std::string_view key,
                      std::string_view value);

/// Removes a key. True when it is not there afterwards.
bool removeProfileKey(std::string_view path, std::string_view section, std::string_view key);

}  // namespace platform
