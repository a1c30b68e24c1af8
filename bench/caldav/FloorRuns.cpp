#include "bench/caldav/FloorRuns.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <fstream>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

#include "bench/caldav/LoadRun.h"

namespace bench {
namespace {

using Clock = std::chrono::steady_clock;

/// The size of one answer of a row, in whole bytes.
size_t answerSize(const Result& result) {
    if (result.exchanges == 0) return 0;
    return static_cast<size_t>(std::llround(result.bytes / static_cast<double>(result.exchanges)));
}

std::string fileName(size_t size) {
    return std::to_string(size) + ".txt";
}

/// Asks for as many static answers in a turn as the row that it is compared with has exchanges.
Workload staticWorkload(const Result& like) {
    const size_t size = answerSize(like);
    const size_t exchanges = like.exchanges / like.turns;
    const auto turn = [size, exchanges](const Site& site, size_t) {
        return Turn(exchanges, plainGet(site, "/" + fileName(size), size));
    };
    return {like.row.c_str(), turn, 1, like.keepAlive};
}

std::vector<double> appendFor(const std::string& file, double seconds) {
    const int descriptor =
        ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0600);
    if (descriptor < 0) throw std::runtime_error("cannot write " + file);
    const std::array<char, 4096> piece{};
    std::vector<double> latencies;
    const Clock::time_point begin = Clock::now();
    for (Clock::time_point before = begin, now = begin;
         std::chrono::duration<double>(now - begin).count() < seconds; before = now) {
        if (::write(descriptor, piece.data(), piece.size()) < 0 || ::fdatasync(descriptor) != 0)
            break;
        now = Clock::now();
        latencies.push_back(std::chrono::duration<double>(now - before).count());
    }
    ::close(descriptor);
    ::unlink(file.c_str());
    return latencies;
}

}  // namespace

void makeStaticAnswers(const std::vector<Result>& results, const std::string& directory) {
    for (const Result& result : results) {
        if (result.floor != Floor::answer) continue;
        const size_t size = answerSize(result);
        std::ofstream(directory + "/" + fileName(size)) << std::string(size, 'x');
    }
}

std::vector<Result> measureStaticAnswers(const Site& server, pid_t process, double seconds,
                                         const std::vector<Result>& results) {
    std::vector<Result> floors;
    for (const Result& like : results) {
        if (like.floor != Floor::answer || like.turns == 0) continue;
        floors.push_back(runLoad(server, staticWorkload(like), process, {.seconds = seconds}));
        floors.back().size = like.size;
    }
    return floors;
}

Result measureAppends(const std::string& directory, unsigned threads, double seconds) {
    std::vector<std::vector<double>> latencies(threads);
    std::vector<std::thread> running;
    for (unsigned i = 0; i < threads; ++i) {
        running.emplace_back([&, i] {
            latencies[i] = appendFor(directory + "/append-" + std::to_string(i), seconds);
        });
    }
    for (std::thread& thread : running) thread.join();
    std::vector<double> all;
    for (const auto& some : latencies) all.insert(all.end(), some.begin(), some.end());
    Result result{.floor = Floor::sync, .connections = threads, .seconds = seconds};
    result.takeLatencies(std::move(all));
    return result;
}

}  // namespace bench
