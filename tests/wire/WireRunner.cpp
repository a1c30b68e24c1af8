// Replays one conversation file against the real module and the real store: wire_runner FILE.
// Prints every difference; the exit status is 0 when there is none.

#include <iostream>
#include <memory>
#include <optional>
#include <utility>

#include "tests/wire/WireLog.h"
#include "tests/wire/WirePattern.h"
#include "tests/wire/WireScript.h"
#include "tests/wire/WireServer.h"
#include "tests/wire/WireStore.h"

namespace wire {

namespace {

constexpr std::string_view kNoAnswer = "nothing";

std::string joined(const Message& message) {
    std::string text;
    for (const std::string& line : message.head) text += line + "\r\n";
    return text + "\r\n" + message.body;
}

class Runner {
  public:
    explicit Runner(std::string fileName) : fileName_(std::move(fileName)) {
        captures_["data"] = store_.directory();
        captures_["version"] = CVWEBDAV_VERSION;
    }

    /// The number of differences.
    int run() {
        const std::vector<Step> steps = readScript(fileName_);
        for (const Step& step : steps) {
            if (const auto* command = std::get_if<Command>(&step)) {
                runCommand(*command);
            } else {
                runExchange(std::get<Exchange>(step));
            }
        }
        server_.reset();
        checkLog(steps);
        return differences_;
    }

  private:
    void fail(int line, const std::string& what) {
        ++differences_;
        std::cout << fileName_ << ':' << line << ": " << what << '\n';
    }

    void runCommand(const Command& command) {
        const auto& words = command.words;
        try {
            if (words[0] == "login" && words.size() == 3) {
                authorization_ = basicLogin(words[1], words[2]);
            } else if (words[0] == "logout" && words.size() == 1) {
                authorization_.clear();
            } else if (words[0] == "secure" && words.size() == 2) {
                secure_ = words[1] == "on";
            } else if (words[0] == "closed-after" && words.size() == 2) {
                closedAfter_ = std::stoul(words[1]);
            } else if (words[0] == "token" && words.size() == 4) {
                captures_[words[3]] = store_.accessToken(words[1], words[2]);
            } else if (words[0] == "message" && words.size() == 3) {
                captures_[words[2]] = store_.onlyMessage(words[1]);
            } else if (!store_.run(command)) {
                throw WireError("no such command, or not its number of words: " + words[0]);
            }
        } catch (const std::exception& error) {
            throw WireError(fileName_ + ":" + std::to_string(command.line) + ": " + error.what());
        }
    }

    Request requestOf(const Exchange& exchange) {
        Request request;
        const std::string start = substitute(exchange.request.head[0], captures_);
        const size_t first = start.find(' ');
        const size_t last = start.rfind(" HTTP/1.1");
        if (first == start.npos || last == start.npos || last <= first) {
            throw WireError("no request line: " + start);
        }
        request.method = start.substr(0, first);
        request.setTarget(std::string_view(start).substr(first + 1, last - first - 1));
        for (size_t i = 1; i < exchange.request.head.size(); ++i) {
            const std::string line = substitute(exchange.request.head[i], captures_);
            const size_t colon = line.find(": ");
            if (colon == line.npos) throw WireError("no header line: " + line);
            request.headers.emplace_back(line.substr(0, colon), line.substr(colon + 2));
        }
        if (!authorization_.empty()) request.headers.emplace_back("Authorization", authorization_);
        request.body = substitute(exchange.request.body, captures_);
        request.secure = secure_;
        request.closedAfter = std::exchange(closedAfter_, std::nullopt);
        return request;
    }

    void runExchange(const Exchange& exchange) {
        if (!server_) server_ = std::make_unique<WireServer>();
        try {
            Request request = requestOf(exchange);
            const std::string answer = server_->call(request);
            compare(exchange, answer);
        } catch (const WireError& error) {
            fail(exchange.line, error.what());
        }
    }

    void compare(const Exchange& exchange, const std::string& answer) {
        if (exchange.answer.head[0] == kNoAnswer) {
            if (!answer.empty()) fail(exchange.line, "no answer was expected:\n" + answer);
            return;
        }
        const size_t headEnd = answer.find("\r\n\r\n");
        const size_t length = headEnd == answer.npos ? 0 : answer.size() - headEnd - 4;
        captures_["length"] = std::to_string(length);
        if (const auto difference = firstDifference(joined(exchange.answer), answer, captures_)) {
            fail(exchange.line,
                 "the answer differs " + *difference + "\n  the whole answer:\n" + answer + "\n");
        }
    }

    void checkLog(const std::vector<Step>& steps) {
        const auto requests = logByRequest(store_.readLog());
        size_t number = 0;
        for (const Step& step : steps) {
            const auto* exchange = std::get_if<Exchange>(&step);
            if (exchange == nullptr) continue;
            ++number;
            if (exchange->logLines.empty()) continue;
            const auto& lines = number < requests.size() ? requests[number] : requests[0];
            const auto missing = firstMissing(exchange->logLines, lines, captures_);
            if (!missing) continue;
            std::string written;
            for (const std::string& line : lines) written += "\n    " + line;
            fail(exchange->line,
                 "the log has no line \"" + *missing + "\" in its place:" + written);
        }
    }

    std::string fileName_;
    WireStore store_;
    std::unique_ptr<WireServer> server_;
    Captures captures_;
    std::string authorization_;
    bool secure_ = false;
    std::optional<size_t> closedAfter_;
    int differences_ = 0;
};

}  // namespace

}  // namespace wire

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: wire_runner FILE\n";
        return 2;
    }
    try {
        return wire::Runner(argv[1]).run() == 0 ? 0 : 1;
    } catch (const std::exception& error) {
        std::cout << error.what() << '\n';
        return 1;
    }
}
