#include "bench/caldav/Report.h"

#include <algorithm>
#include <cstdio>
#include <set>
#include <string>

namespace bench {
namespace {

/// Three digits that count; nothing for what was not measured.
std::string number(double value) {
    if (value <= 0) return "";
    char text[32];
    const int decimals = value >= 99.95 ? 0 : value >= 9.995 ? 1 : value >= 0.9995 ? 2 : 3;
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

std::string ratio(double value, double floor) {
    return floor > 0 ? number(value / floor) : "";
}

template <typename Field>
std::vector<std::string> inOrder(const std::vector<Result>& results, Field field) {
    std::vector<std::string> names;
    for (const Result& result : results) {
        if (std::ranges::find(names, result.*field) == names.end()) names.push_back(result.*field);
    }
    return names;
}

void printLine(const Result& result, const Result& floor, bool first) {
    std::printf("| %s | %s |", first ? result.row.c_str() : "", result.server.c_str());
    if (!result.note.empty()) {
        std::printf(" %s ||||||||\n", result.note.c_str());
        return;
    }
    const std::string cells[] = {number(result.processorEach() * 1e3),
                                 ratio(result.processorEach(), floor.processorEach()),
                                 number(result.median * 1e3),
                                 ratio(result.median, floor.median),
                                 number(result.most * 1e3),
                                 number(result.nearlyAll * 1e3),
                                 number(static_cast<double>(result.turns) / result.seconds),
                                 number(result.bytesEach() / 1e3)};
    for (const std::string& cell : cells) std::printf(" %s |", cell.c_str());
    std::printf("\n");
}

void printTable(const std::vector<Result>& results) {
    std::printf(
        "\n| %zu events | server | CPU ms | / floor | p50 ms | / floor | p95 | p99 "
        "| per second | KB |\n|---|---|---|---|---|---|---|---|---|---|\n",
        results.front().size);
    for (const std::string& row : inOrder(results, &Result::row)) {
        std::vector<Result> lines;
        std::ranges::copy_if(results, std::back_inserter(lines),
                             [&row](const Result& result) { return result.row == row; });
        const auto floor = std::ranges::find(lines, kFloorName, &Result::server);
        const Result none;
        for (const Result& line : lines) {
            printLine(line, floor == lines.end() ? none : *floor, &line == &lines.front());
        }
    }
}

void printOthers(const std::vector<Result>& results) {
    double sum = 0;
    double most = 0;
    double seconds = 0;
    for (const Result& result : results) {
        sum += result.others * result.seconds;
        seconds += result.seconds;
        most = std::max(most, result.others);
    }
    std::printf(
        "\nMeanwhile other programs kept %.2f processors busy, %.2f during the worst row.\n",
        seconds > 0 ? sum / seconds : 0, most);
}

}  // namespace

void printReport(const std::vector<Result>& results) {
    std::set<size_t> sizes;
    for (const Result& result : results) sizes.insert(result.size);
    for (const size_t size : sizes) {
        std::vector<Result> some;
        std::ranges::copy_if(results, std::back_inserter(some),
                             [size](const Result& result) { return result.size == size; });
        printTable(some);
    }
    printOthers(results);
}

}  // namespace bench
