#include "tests/wire/WireForms.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>

#include "tests/wire/WireScript.h"

namespace wire {

namespace {

constexpr std::string_view kDefinition = "form ";
constexpr std::string_view kUse = "= ";
constexpr int kMaxDepth = 8;

using Words = std::vector<std::string>;

/// Reads one file after the other; the forms of the former serve the latter.
class FormReader {
  public:
    std::vector<ScriptLine> read(const std::string& fileName) {
        fileName_ = fileName;
        number_ = 0;
        std::ifstream file(fileName);
        if (!file) throw WireError("cannot read " + fileName);
        std::vector<ScriptLine> lines;
        std::string line;
        while (nextLine(file, line)) {
            if (line.starts_with(kDefinition)) {
                define(file, splitWords(line));
            } else if (line.starts_with(kUse)) {
                fill(splitWords(line), lines);
            } else {
                lines.push_back({number_, line});
            }
        }
        return lines;
    }

  private:
    bool nextLine(std::ifstream& file, std::string& line) {
        ++number_;
        return static_cast<bool>(std::getline(file, line));
    }

    [[noreturn]] void fail(const std::string& what) const {
        throw WireError(fileName_ + ":" + std::to_string(number_) + ": " + what);
    }

    void define(std::ifstream& file, const Words& words) {
        if (words.size() != 2) fail("a form has one name");
        std::vector<std::string>& lines = forms_[words[1]];
        lines.clear();
        for (std::string line; line != "end"; lines.push_back(line)) {
            if (!nextLine(file, line)) fail("no line \"end\" ends the form " + words[1]);
        }
        lines.pop_back();
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
                lines.push_back({number_, text});
            }
        }
    }

    std::string filled(std::string_view line, const Words& values) const {
        std::string out;
        for (size_t i = 0; i < line.size(); ++i) {
            if (line[i] != '$' || i + 1 == line.size() || line[i + 1] < '1' || line[i + 1] > '9') {
                out += line[i];
                continue;
            }
            const auto value = static_cast<size_t>(line[++i] - '1');
            if (value >= values.size()) fail("too few words for the form");
            out += values[value];
        }
        return out;
    }

    std::string fileName_;
    int number_ = 0;
    std::map<std::string, std::vector<std::string>, std::less<>> forms_;
};

}  // namespace

std::vector<std::string> splitWords(std::string_view line) {
    std::vector<std::string> words;
    while (true) {
        const size_t start = line.find_first_not_of(' ');
        if (start == std::string_view::npos) return words;
        line.remove_prefix(start);
        const bool quoted = line.front() == '"';
        if (quoted) line.remove_prefix(1);
        const size_t end = std::min(line.find(quoted ? '"' : ' '), line.size());
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
