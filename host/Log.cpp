#include "host/Log.h"

#include <iostream>
#include <string>

namespace host {

void logProblem(std::string_view text) {
    // One write, so that lines of several threads do not mix.
    std::string line = "cvwebdavd: ";
    line.append(text);
    line.push_back('\n');
    std::cerr << line << std::flush;
}

}  // namespace host
