// A text that must not stay in memory: a password, or a credential that holds one.
//
// Used by one thread. The bytes are wiped when it goes, on every path, and those of the text that
// it is made from at once.
#pragma once

#include <string>
#include <string_view>

namespace webdav {

class SecretText {
  public:
    SecretText() = default;
    /// Takes the text over and wipes where it stood.
    explicit SecretText(std::string&& source);
    SecretText(SecretText&& other) noexcept;
    SecretText& operator=(SecretText&& other) noexcept;
    SecretText(const SecretText&) = delete;
    SecretText& operator=(const SecretText&) = delete;
    ~SecretText() { wipe(); }

    bool empty() const { return text_.empty(); }
    const char* c_str() const { return text_.c_str(); }
    std::string_view view() const { return text_; }

    /// Overwrites the bytes with zeros; the text is empty afterwards.
    void wipe() { wipe(text_); }

  private:
    static void wipe(std::string& text);

    std::string text_;
};

}  // namespace webdav
