#include "tests/wire/WireScript.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <utility>

namespace wire {

namespace {

/// One line, with the number of the line in the file that it comes from.
struct ScriptLine {
    int number = 0;
    std::string text;
};

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
                define(written, line);
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

    void define(const std::vector<ScriptLine>& written, const std::string& line) {
        const size_t start = kDefinition.size();
        const size_t end = std::min(line.find(' ', start), line.size());
        const std::string name = line.substr(start, end - start);
        Words& lines = forms_[name];
        lines.clear();
        if (end < line.size()) {
            lines.push_back(line.substr(end + 1));
            return;
        }
        for (; next_ < written.size(); lines.push_back(written[next_++].text)) {
            if (written[next_].text != "end") continue;
            ++next_;
            return;
        }
        fail("no line \"end\" ends the form " + name);
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

class Reader {
  public:
    explicit Reader(const std::string& fileName) : fileName_(fileName) {
        FormReader reader;
        reader.read(std::filesystem::path(fileName).replace_filename("common.forms").string());
        lines_ = reader.read(fileName);
    }

    std::vector<Step> read() {
        std::string line;
        while (nextLine(line)) {
            if (line.empty() || line.front() == '#') continue;
            if (isSpoken(line)) {
                readSpoken(line);
            } else {
                readCommand(line);
            }
        }
        finishExchange();
        return std::move(steps_);
    }

  private:
    bool nextLine(std::string& line) {
        if (next_ == lines_.size()) return false;
        line_ = lines_[next_].number;
        line = std::move(lines_[next_++].text);
        return true;
    }

    [[noreturn]] void fail(const std::string& what) const {
        throw WireError(fileName_ + ":" + std::to_string(line_) + ": " + what);
    }

    static bool isSpoken(std::string_view line) {
        constexpr std::string_view kSides = "CSL";
        constexpr std::string_view kEnds = ":|/";
        return line.size() >= 2 && kSides.find(line[0]) != kSides.npos &&
               kEnds.find(line[1]) != kEnds.npos && (line.size() == 2 || line[2] == ' ');
    }

    void readSpoken(std::string_view line) {
        const char side = line[0];
        const char end = line[1];
        const std::string text(line.substr(std::min<size_t>(3, line.size())));
        if (side == 'C' && (!inExchange_ || last_ != 'C')) beginExchange();
        if (!inExchange_) fail("an answer or log line before any request");
        last_ = side;
        if (side == 'L') {
            exchange_.logLines.push_back(text);
        } else if (side == 'C') {
            addTo(exchange_.request, requestBody_, end, text);
        } else {
            addTo(exchange_.answer, answerBody_, end, text);
        }
    }

    void addTo(Message& message, bool& inBody, char end, const std::string& text) {
        if (inBody) {
            message.body += text;
            if (end != ':') message.body += end == '|' ? "\r\n" : "\n";
        } else if (end != ':') {
            fail("a head line must begin with C: or S:");
        } else if (text.empty()) {
            inBody = true;
        } else {
            message.head.push_back(text);
        }
    }

    void beginExchange() {
        finishExchange();
        inExchange_ = true;
        exchange_.line = line_;
    }

    void finishExchange() {
        if (!inExchange_) return;
        if (exchange_.answer.head.empty()) {
            fail("the request of line " + std::to_string(exchange_.line) + " has no S: lines");
        }
        steps_.emplace_back(std::move(exchange_));
        exchange_ = {};
        inExchange_ = requestBody_ = answerBody_ = false;
    }

    void readCommand(std::string_view line) {
        finishExchange();
        Command command;
        command.line = line_;
        command.words = splitWords(line);
        if (!command.words.empty() && command.words.back().starts_with("<<")) {
            const std::string end = command.words.back().substr(2);
            command.words.pop_back();
            std::string textLine;
            while (true) {
                if (!nextLine(textLine)) fail("no line " + end + " ends the text");
                if (textLine == end) break;
                command.text += textLine + "\r\n";
            }
        }
        steps_.emplace_back(std::move(command));
    }

    std::string fileName_;
    std::vector<ScriptLine> lines_;
    size_t next_ = 0;
    int line_ = 0;
    std::vector<Step> steps_;
    Exchange exchange_;
    bool inExchange_ = false;
    bool requestBody_ = false;
    bool answerBody_ = false;
    char last_ = 0;
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

std::vector<Step> readScript(const std::string& fileName) {
    return Reader(fileName).read();
}

}  // namespace wire
