// cvadmin's command line: made from the table of commands, read once, run once.
#pragma once

namespace admin {

/// Reads the command line and runs its command. Result: the exit status; 0 when it was done, 1 when
/// it cannot be done, 2 when the command line is wrong. Errors go to standard error as one line.
int runCommandLine(int argc, const char* const* argv);

}  // namespace admin
