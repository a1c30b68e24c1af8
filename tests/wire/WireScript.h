// A conversation file, read: set-up commands and exchanges in their order. README.md of this folder
// tells the format. Reading raises WireError with the line of what is wrong.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace wire {

class WireError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// One command, with the text between <<END and END when it has one.
struct Command {
    int line = 0;
    std::vector<std::string> words;
    std::string text;
};

/// What one side says: head lines, then the bytes of its body.
struct Message {
    std::vector<std::string> head;
    std::string body;
};

struct Exchange {
    int line = 0;
    Message request;
    Message answer;
    std::vector<std::string> logLines;
};

using Step = std::variant<Command, Exchange>;

/// Splits at blanks; words in double or single quotes may hold blanks.
std::vector<std::string> splitWords(std::string_view line);

/// The steps of a file with its forms filled in, and those of common.forms beside it.
std::vector<Step> readScript(const std::string& fileName);

}  // namespace wire
