// Reading iCalendar and vCard texts line by line, as clients really write them.
//
// Lines end in CRLF or LF, or in CR where a text has no LF; the last may lack its end; folded lines
// are joined; a byte order mark is skipped. What a reader hands out says where it stands in the
// text, so that one property can be changed there and nothing else. Time is linear in the text,
// memory is that of its longest line.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace groupware {

/// One property. The views live until the reader goes on.
struct ContentLine {
    std::string_view group;       ///< vCard: item1 of item1.EMAIL
    std::string_view name;        ///< as spelt
    std::string_view parameters;  ///< what stands between ";" and ":", unfolded
    std::string_view value;       ///< unfolded
    size_t begin = 0;             ///< offset of the first byte in the text
    size_t end = 0;               ///< offset behind the line break

    /// Of that name, and of no group.
    bool is(std::string_view otherName) const;
    /// The first value of a parameter, without quotes and blanks around it.
    std::optional<std::string_view> parameter(std::string_view otherName) const;
};

/// Cuts the first parameter off the list; a parameter without "=" has an empty name. The value
/// keeps its quotes. False when the list is empty.
bool cutParameter(std::string_view& parameters, std::string_view& name, std::string_view& value);

/// The last character of the text's lines: LF, or CR in a text without any LF.
char lineEndIn(std::string_view text);

/// The line break behind a line; LF when it lacks one.
std::string_view lineBreakOf(std::string_view text, const ContentLine& line);

/// Where the character first stands outside of quotes, or npos.
size_t findUnquoted(std::string_view text, char wanted);

/// The line as one unfolded text.
std::string wholeLine(const ContentLine& line);

/// A TEXT value without its escapes: "\n" is a line break.
std::string unescaped(std::string_view value);

/// Reads the lines; blank ones are skipped. A line without ":" has an empty name.
class LineReader {
  public:
    explicit LineReader(std::string_view text);
    bool next();
    const ContentLine& line() const { return line_; }

  private:
    std::string_view unfold();
    void divide(std::string_view whole);

    std::string_view text_;
    char lineEnd_;
    size_t position_ = 0;
    std::string unfolded_;
    ContentLine line_;
};

inline constexpr size_t kMaxComponentDepth = 16;

/// Reads the lines and keeps account of the components they stand in. Stray lines outside of all
/// components are passed over, unless there is no component at all.
class ComponentReader {
  public:
    enum class Step { kBegin, kProperty, kEnd, kFinished, kProblem };

    explicit ComponentReader(std::string_view text) : lines_(text) {}

    Step next();
    const ContentLine& line() const { return lines_.line(); }
    /// How many components are open; at kBegin and kEnd the one that begins or ends is counted.
    size_t depth() const { return depth_; }
    /// The name of an open component in capitals; level 0 is the outermost.
    const std::string& component(size_t level) const { return open_[level]; }
    /// Why the text cannot be read, after kProblem.
    const std::string& problem() const { return problem_; }

  private:
    Step begin();
    Step end();
    Step fail(std::string problem);

    LineReader lines_;
    std::array<std::string, kMaxComponentDepth> open_;
    size_t depth_ = 0;
    bool ended_ = false;  ///< the last step was kEnd: one level less from now on
    bool begun_ = false;  ///< there has been a component
    bool stray_ = false;  ///< there has been a line outside of all components
    std::string problem_;
};

}  // namespace groupware
