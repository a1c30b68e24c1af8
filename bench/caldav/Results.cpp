#include "bench/caldav/Results.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace bench {
namespace {

double percentile(const std::vector<double>& sorted, double part) {
    if (sorted.empty()) return 0;
    const auto rank = static_cast<size_t>(std::ceil(part * static_cast<double>(sorted.size())));
    return sorted[std::max<size_t>(rank, 1) - 1];
}

}  // namespace

void Result::takeLatencies(std::vector<double> latencies) {
    std::ranges::sort(latencies);
    turns = latencies.size();
    median = percentile(latencies, 0.5);
    most = percentile(latencies, 0.95);
    nearlyAll = percentile(latencies, 0.99);
}

double Result::processorEach() const {
    return turns == 0 ? 0 : processor / static_cast<double>(turns);
}

double Result::bytesEach() const {
    return turns == 0 ? 0 : bytes / static_cast<double>(turns);
}

void addResult(const std::string& file, const Result& result) {
    std::ofstream out(file, std::ios::app);
    out.precision(9);
    out << result.server << '\t' << result.row << '\t' << result.note << '\t' << result.size << ' '
        << (result.floor == Floor::sync) << ' ' << result.keepAlive << ' ' << result.connections
        << ' ' << result.turns << ' ' << result.exchanges << ' ' << result.bytes << ' '
        << result.seconds << ' ' << result.processor << ' ' << result.others << ' ' << result.median
        << ' ' << result.most << ' ' << result.nearlyAll << '\n';
    if (!out.flush()) throw std::runtime_error("cannot write " + file);
}

std::vector<Result> readResults(const std::string& file) {
    std::ifstream in(file);
    if (!in) throw std::runtime_error("cannot read " + file);
    std::vector<Result> results;
    for (Result result; std::getline(in, result.server, '\t') &&
                        std::getline(in, result.row, '\t') && std::getline(in, result.note, '\t');
         results.push_back(result)) {
        bool sync = false;
        in >> result.size >> sync >> result.keepAlive >> result.connections >> result.turns >>
            result.exchanges >> result.bytes >> result.seconds >> result.processor >>
            result.others >> result.median >> result.most >> result.nearlyAll;
        in.ignore();
        result.floor = sync ? Floor::sync : Floor::answer;
    }
    return results;
}

}  // namespace bench
