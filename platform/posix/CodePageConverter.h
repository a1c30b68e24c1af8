// The system's converter between UTF-8 and another code page; used inside the POSIX side only.
//
// One object belongs to one thread. A code page that the system does not know gives an object that
// is not valid.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <iconv.h>

namespace platform {

class CodePageConverter {
  public:
    enum class Direction { kToUtf8, kFromUtf8 };

    CodePageConverter(uint32_t codePage, Direction direction);
    ~CodePageConverter();
    CodePageConverter(const CodePageConverter&) = delete;
    CodePageConverter& operator=(const CodePageConverter&) = delete;

    bool valid() const;
    /// What cannot be converted becomes U+FFFD in UTF-8 and "?" in another code page. Text that
    /// is given as UTF-8 must be valid.
    std::string convert(std::string_view text);
    /// How many characters convert() could not convert.
    size_t lost() const { return lost_; }

  private:
    size_t pieceLength(std::string_view text) const;
    bool step(std::string_view& rest, std::string& result);
    void skipCharacter(std::string_view& rest, std::string& result);

    Direction direction_;
    iconv_t handle_;
    size_t lost_ = 0;
};

}  // namespace platform
