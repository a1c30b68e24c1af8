#pragma once

// The lines of a conversation file after its forms are filled in. A form is a group of lines under
// a name, with $1 to $9 for what differs; the forms that all files share stand in common.forms.

#include <string>
#include <string_view>
#include <vector>

namespace wire {

/// One line, with the number of the line in the file that it comes from.
struct ScriptLine {
    int number = 0;
    std::string text;
};

/// Splits at blanks; words in double or single quotes may hold blanks.
std::vector<std::string> splitWords(std::string_view line);

/// Reads the file. A form's lines stand in the place where it is used. Throws WireError.
std::vector<ScriptLine> linesWithFormsFilled(const std::string& fileName);

}  // namespace wire
