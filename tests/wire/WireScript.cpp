#include "tests/wire/WireScript.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "tests/wire/WireForms.h"

namespace wire {

namespace {

constexpr const char* kNoCacheLines[] = {
    "Cache-Control: no-store, no-cache, must-revalidate, post-check=0, pre-check=0",
    "Expires: -1",
    "Pragma: No-cache",
};

class Reader {
  public:
    explicit Reader(const std::string& fileName)
        : fileName_(fileName), lines_(linesWithFormsFilled(fileName)) {}

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
        } else if (text == "{{no-cache}}") {
            message.head.insert(message.head.end(), std::begin(kNoCacheLines),
                                std::end(kNoCacheLines));
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

std::vector<Step> readScript(const std::string& fileName) {
    return Reader(fileName).read();
}

}  // namespace wire
