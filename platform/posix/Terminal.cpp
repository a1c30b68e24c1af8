#include "platform/Terminal.h"

#include <unistd.h>

namespace platform {

bool inputIsTerminal() {
    return ::isatty(STDIN_FILENO) == 1;
}

bool errorOutputIsTerminal() {
    return ::isatty(STDERR_FILENO) == 1;
}

}  // namespace platform
