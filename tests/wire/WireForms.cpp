#include "tests/wire/WireForms.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>

#include "tests/wire/WireScript.h"

namespace wire {

namespace {

constexpr std::string_view kDefinition = "form ";
constexpr std::string_view kShort = "let ";
constexpr std::string_view kUse = "= ";
constexpr std::string_view kMore = "+ ";
constexpr int kMaxDepth = 8;

using Words = std::vector<std::string>;

/// Reads one file after the other; the forms of the former serve the latter.
class FormReader {
  public:
    std::vector<ScriptLine> read(const std::string& fileName) {
        fileName_ = fileName;
        std::vector<ScriptLine> lines;
        const std::vector<ScriptLine> written = writtenLines();
        for (next_ = 0; next_ < written.size();) {
            const std::string& line = written[next_++].text;
            number_ = written[next_ - 1].number;
            if (line.starts_with(kDefinition)) {
                define(written, splitWords(line));
            } else if (line.starts_with(kShort)) {
                const size_t name = kShort.size();
                const size_t text = line.find(' ', name);
                if (text == line.npos) fail("no text for a short name");
                shorts_[line.substr(name, text - name)] = withShorts(line.substr(text + 1));
            } else if (line.starts_with(kUse)) {
                fill(splitWords(line), lines);
            } else {
                lines.push_back({number_, withShorts(line)});
            }
        }
        return lines;
    }

  private:
    /// The lines as they stand, the continued ones whole.
    std::vector<ScriptLine> writtenLines() const {
        std::ifstream file(fileName_);
        if (!file) throw WireError("cannot read " + fileName_);
        std::vector<ScriptLine> lines;
        std::string line;
        for (int number = 1; std::getline(file, line); ++number) {
            if (line.starts_with(kMore) && !lines.empty()) {
                lines.back().text += line.substr(kMore.size());
            } else {
                lines.push_back({number, line});
            }
        }
        return lines;
    }

    [[noreturn]] void fail(const std::string& what) const {
        throw WireError(fileName_ + ":" + std::to_string(number_) + ": " + what);
    }

    void define(const std::vector<ScriptLine>& written, const Words& words) {
        if (words.size() != 2) fail("a form has one name");
        Words& lines = forms_[words[1]];
        for (lines.clear(); next_ < written.size(); lines.push_back(written[next_++].text)) {
            if (written[next_].text != "end") continue;
            ++next_;
            return;
        }
        fail("no line \"end\" ends the form " + words[1]);
    }

    void fill(const Words& words, std::vector<ScriptLine>& lines, int depth = 0) const {
        const auto form = words.size() < 2 ? forms_.end() : forms_.find(words[1]);
        if (form == forms_.end()) fail("no such form");
        if (depth == kMaxDepth) fail("forms within forms without an end");
        const Words values(words.begin() + 2, words.end());
        for (const std::string& line : form->second) {
            const std::string text = filled(line, values);
            if (text.starts_with(kUse)) {
                fill(splitWords(text), lines, depth + 1);
            } else {
                lines.push_back({number_, withShorts(text)});
            }
        }
    }

    /// $1 to $9 with their words in their places; a word that is not given is empty.
    static std::string filled(std::string_view line, const Words& values) {
        std::string out;
        for (size_t i = 0; i < line.size(); ++i) {
            if (line[i] != '$' || i + 1 == line.size() || line[i + 1] < '1' || line[i + 1] > '9') {
                out += line[i];
            } else if (const auto value = static_cast<size_t>(line[++i] - '1');
                       value < values.size()) {
                out += values[value];
            }
        }
        return out;
    }

    std::string withShorts(std::string_view line) const {
        std::string out;
        for (size_t open; (open = line.find("$(")) != line.npos;) {
            const size_t close = std::min(line.find(')', open), line.size() - 1);
            const auto found = shorts_.find(line.substr(open + 2, close - open - 2));
            if (found == shorts_.end()) fail("no such short name: " + std::string(line));
            out.append(line.substr(0, open)).append(found->second);
            line.remove_prefix(close + 1);
        }
        return out.append(line);
    }

    std::string fileName_;
    size_t next_ = 0;
    int number_ = 0;
    std::map<std::string, Words, std::less<>> forms_;
    std::map<std::string, std::string, std::less<>> shorts_;
};

}  // namespace

std::vector<std::string> splitWords(std::string_view line) {
    std::vector<std::string> words;
    while (true) {
        const size_t start = line.find_first_not_of(' ');
        if (start == std::string_view::npos) return words;
        line.remove_prefix(start);
        const bool quoted = line.front() == '"' || line.front() == '\'';
        const char close = quoted ? line.front() : ' ';
        if (quoted) line.remove_prefix(1);
        const size_t end = std::min(line.find(close), line.size());
        words.emplace_back(line.substr(0, end));
        line.remove_prefix(std::min(end + 1, line.size()));
    }
}

std::vector<ScriptLine> linesWithFormsFilled(const std::string& fileName) {
    FormReader reader;
    reader.read(std::filesystem::path(fileName).replace_filename("common.forms").string());
    return reader.read(fileName);
}

}  // namespace wire
