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

void printLine(const Result& result, bool first) {
    std::printf("| %s | %s |", first ? result.row.c_str() : "", result.server.c_str());
    if (!result.note.empty()) {
        std::printf(" %s ||||||||||\n", result.note.c_str());
        return;
    }
    const std::string cells[] = {number(result.processor * 1e3),
                                 number(result.floorProcessor * 1e3),
                                 ratio(result.processor, result.floorProcessor),
                                 number(result.p50 * 1e3),
                                 number(result.floorP50 * 1e3),
                                 ratio(result.p50, result.floorP50),
                                 number(result.p95 * 1e3),
                                 number(result.p99 * 1e3),
                                 number(static_cast<double>(result.turns) / result.seconds),
                                 number(result.bytes / 1e3)};
    for (const std::string& cell : cells) std::printf(" %s |", cell.c_str());
    std::printf("\n");
}

void printTable(const std::vector<Result>& results) {
    std::printf(
        "\n| %zu events | server | CPU ms | floor | ratio | p50 ms | floor | ratio | p95 "
        "| p99 | per second | KB |\n|---|---|---|---|---|---|---|---|---|---|---|---|\n",
        results.front().size);
    std::vector<std::string> rows;
    for (const Result& result : results) {
        if (std::ranges::find(rows, result.row) == rows.end()) rows.push_back(result.row);
    }
    for (const std::string& row : rows) {
        bool first = true;
        for (const Result& result : results) {
            if (result.row != row) continue;
            printLine(result, first);
            first = false;
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
