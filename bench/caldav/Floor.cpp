#include "bench/caldav/Floor.h"

#include <array>
#include <chrono>
#include <cmath>
#include <fstream>
#include <mutex>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

namespace bench {
namespace {

using Clock = std::chrono::steady_clock;

std::vector<double> appendFor(const std::string& file, double seconds) {
    const int descriptor =
        ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0600);
    if (descriptor < 0) return {};
    const std::array<char, 4096> piece{};
    std::vector<double> latencies;
    const Clock::time_point begin = Clock::now();
    for (Clock::time_point before = begin, now = begin;
         std::chrono::duration<double>(now - begin).count() < seconds; before = now) {
        if (::write(descriptor, piece.data(), piece.size()) < 0) break;
        if (::fdatasync(descriptor) != 0) break;
        now = Clock::now();
        latencies.push_back(std::chrono::duration<double>(now - before).count());
    }
    ::close(descriptor);
    ::unlink(file.c_str());
    return latencies;
}

/// Appends 4 KB with fdatasync, each thread to a file of its own.
Load runAppends(const std::string& directory, unsigned threads, double seconds) {
    Load load;
    load.seconds = seconds;
    std::mutex mutex;
    std::vector<std::thread> running;
    for (unsigned i = 0; i < threads; ++i) {
        running.emplace_back([&, i] {
            const auto some = appendFor(directory + "/append-" + std::to_string(i), seconds);
            const std::lock_guard guard(mutex);
            load.latencies.insert(load.latencies.end(), some.begin(), some.end());
        });
    }
    for (std::thread& thread : running) thread.join();
    return load;
}

/// As many static answers in a turn as the other load has exchanges in one, each of their mean
/// size.
Load runStaticAnswers(const FloorPlace& place, const Workload& workload, const Load& like,
                      double seconds) {
    const double mean = like.bytes / static_cast<double>(like.exchanges);
    const auto size = static_cast<size_t>(std::llround(mean));
    const size_t exchanges = like.exchanges / like.latencies.size();
    const std::string name = "/" + std::to_string(size) + ".txt";
    std::ofstream file(place.directory + name);
    if (!(file << std::string(size, 'x')).flush()) {
        throw std::runtime_error("cannot write into " + place.directory);
    }
    const auto turn = [&](const Site& site, size_t) {
        return Turn(exchanges, plainGet(site, name, size));
    };
    const Workload answers{workload.name, turn, workload.connections, workload.keepAlive};
    return runLoad(place.site, answers, {.seconds = seconds});
}

}  // namespace

Load runFloor(const FloorPlace& place, const Workload& workload, const Load& like, double seconds) {
    return workload.floor == Floor::sync
               ? runAppends(place.directory, workload.connections, seconds)
               : runStaticAnswers(place, workload, like, seconds);
}

}  // namespace bench
