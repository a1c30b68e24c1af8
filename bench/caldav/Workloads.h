// What is measured: the table of requests as clients make them. A turn is what a row counts: mostly
// one request and its answer, sometimes several that belong together.
//
// Pure, for any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include <sys/types.h>

#include "bench/caldav/AnswerCheck.h"

namespace bench {

/// A server under measurement, and what it holds.
struct Site {
    std::string server;  ///< its name in the tables
    std::string host;    ///< an IPv4 address
    uint16_t port = 0;
    pid_t process = 0;  ///< its first
    std::string login;  ///< user:password
    std::string home;   ///< paths, with their closing slashes
    std::string calendar;
    std::string book;
    bool keepsTexts = false;  ///< gives items back byte for byte
    size_t events = 0;
    size_t inMonth = 0;  ///< of the events, those that a query for the month finds
    size_t contacts = 0;
    bool keepAlive = false;  ///< how the row under way asks
};

struct Exchange {
    std::string request;
    Expectation expected;
};
using Turn = std::vector<Exchange>;

/// What a row is compared with.
enum class Floor { answer, sync };

struct Workload {
    const char* name;
    std::function<Turn(const Site& site, size_t number)> turn;
    unsigned connections = 1;
    bool keepAlive = false;
    Floor floor = Floor::answer;
};

/// The rows, in the order of the tables: those that read come first, on what the filling has made.
std::span<const Workload> workloads();

extern const Workload kFillAlone;
extern const Workload kFillTogether;
extern const Workload kFillContacts;

Turn changeStampPoll(const Site& site, size_t number);
Exchange plainGet(const Site& site, const std::string& path, size_t length);

}  // namespace bench
