// The result text of a parse, load or save: one markup element for each thing that happened, named
// by its token. Bounded: it stops growing once it has 1000 characters, however much is wrong.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace webdav {

/// The attributes of a result record; what is absent is not written.
struct ResultDetail {
    std::string_view msg = {};
    std::string_view tagName = {};
    std::string_view encoding = {};
    std::optional<uint32_t> count = {};
    std::optional<uint32_t> length = {};
    std::optional<uint32_t> offset = {};
    std::optional<uint32_t> offset2 = {};
};

class MarkupResults {
  public:
    void clear() { text_.clear(); }
    void add(std::string_view token, const ResultDetail& detail = {});
    const std::string& text() const { return text_; }

  private:
    void attribute(std::string_view name, std::string_view value);
    void attribute(std::string_view name, const std::optional<uint32_t>& value);

    std::string text_;
};

}  // namespace webdav
