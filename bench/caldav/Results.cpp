#include "bench/caldav/Results.h"

#include <fstream>
#include <stdexcept>

namespace bench {
namespace {

constexpr double Result::*kFigures[] = {
    &Result::seconds, &Result::others, &Result::bytes, &Result::processor, &Result::floorProcessor,
    &Result::p50,     &Result::p95,    &Result::p99,   &Result::floorP50,
};

}  // namespace

void addResult(const std::string& file, const Result& result) {
    std::ofstream out(file, std::ios::app);
    out << result.server << '\t' << result.row << '\t' << result.note << '\t' << result.size << '\t'
        << result.turns;
    for (const auto figure : kFigures) out << '\t' << result.*figure;
    out << '\n';
    if (!out.flush()) throw std::runtime_error("cannot write " + file);
}

std::vector<Result> readResults(const std::string& file) {
    std::ifstream in(file);
    if (!in) throw std::runtime_error("cannot read " + file);
    std::vector<Result> results;
    for (Result result; std::getline(in, result.server, '\t') &&
                        std::getline(in, result.row, '\t') && std::getline(in, result.note, '\t');
         results.push_back(result)) {
        in >> result.size >> result.turns;
        for (const auto figure : kFigures) in >> result.*figure;
        in.ignore();
    }
    return results;
}

}  // namespace bench
