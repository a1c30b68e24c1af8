// The floor: what the same bytes cost without any calendar server. A web server hands out static
// answers of the same size, and a file grows by pieces that are made durable one by one.
#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

#include "bench/caldav/Results.h"

namespace bench {

/// Writes the files that measureStaticAnswers asks for into the directory that the web server
/// serves.
void makeStaticAnswers(const std::vector<Result>& results, const std::string& directory);

/// Measures a web server beside those of the results that end with an answer.
std::vector<Result> measureStaticAnswers(const Site& server, pid_t process, double seconds,
                                         const std::vector<Result>& results);

/// Appends 4 KB with fdatasync, to a file for each thread.
Result measureAppends(const std::string& directory, unsigned threads, double seconds);

}  // namespace bench
