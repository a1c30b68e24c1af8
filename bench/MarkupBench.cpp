// What the markup engine costs: a multistatus answer against appending its bytes to one string, and
// the parsing of shapes that an attacker may send. Two tables behind the benchmarks say how answers
// compare, and how time and memory grow with size.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <initializer_list>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "webdav/xml/NamespacePrefix.h"
#include "webdav/xml/ResolvedNames.h"

using webdav::AddElementNS;
using webdav::MarkupDocument;

namespace {

constexpr std::string_view kDav = "DAV:";
constexpr std::string_view kCalDav = "urn:ietf:params:xml:ns:caldav";

/// One response of the answer: some 390 bytes, as a listing of a calendar has them.
struct Response {
    explicit Response(int number)
        : href("/webdav/caldav/example.test/alice/Calendar/0a1b2c3d-" + std::to_string(number) +
               ".ics"),
          etag("\"20240117T101500Z-" + std::to_string(number) + "\"") {}

    std::string href;
    std::string etag;
};

std::vector<Response> responses(int count) {
    std::vector<Response> all;
    for (int i = 0; i < count; ++i) all.emplace_back(i);
    return all;
}

void writeResponse(MarkupDocument& document, const Response& response) {
    AddElementNS(document, kDav, "response");
    document.intoElement();
    AddElementNS(document, kDav, "href", response.href);
    AddElementNS(document, kDav, "propstat");
    document.intoElement();
    AddElementNS(document, kDav, "prop");
    document.intoElement();
    AddElementNS(document, kDav, "getetag", response.etag);
    AddElementNS(document, kDav, "getcontenttype", "text/calendar; component=vevent");
    AddElementNS(document, kDav, "resourcetype");
    AddElementNS(document, kDav, "displayname", "Lunch with friends & family");
    AddElementNS(document, kCalDav, "schedule-tag", "20240117T101500Z");
    document.outOfElement();
    AddElementNS(document, kDav, "status", "HTTP/1.1 200 OK");
    document.outOfElement();
    document.outOfElement();
}

std::string buildAnswer(const std::vector<Response>& all) {
    MarkupDocument document;
    document.prefixes() = {{std::string(kDav), "D"}, {std::string(kCalDav), "C"}};
    AddElementNS(document, kDav, "multistatus");
    document.intoElement();
    for (const Response& response : all) writeResponse(document, response);
    document.outOfElement();
    return document.takeText();
}

/// The same bytes, put together by hand: a piece for each tag and each text, all of them escaped
/// already.
void appendResponse(std::string& out, const Response& response) {
    for (const std::string_view piece :
         std::initializer_list<std::string_view>{"<D:response>",
                                                 "<D:href>",
                                                 response.href,
                                                 "</D:href>",
                                                 "<D:propstat>",
                                                 "<D:prop>",
                                                 "<D:getetag>",
                                                 response.etag,
                                                 "</D:getetag>",
                                                 "<D:getcontenttype>",
                                                 "text/calendar; component=vevent",
                                                 "</D:getcontenttype>",
                                                 "<D:resourcetype/>",
                                                 "<D:displayname>",
                                                 "Lunch with friends &amp; family",
                                                 "</D:displayname>",
                                                 "<C:schedule-tag>",
                                                 "20240117T101500Z",
                                                 "</C:schedule-tag>",
                                                 "</D:prop>",
                                                 "<D:status>",
                                                 "HTTP/1.1 200 OK",
                                                 "</D:status>",
                                                 "</D:propstat>",
                                                 "</D:response>"}) {
        out += piece;
    }
}

std::string appendAnswer(const std::vector<Response>& all, size_t reserved) {
    std::string text;
    text.reserve(reserved);
    text += "<D:multistatus xmlns:D=\"DAV:\" xmlns:C=\"urn:ietf:params:xml:ns:caldav\">";
    for (const Response& response : all) appendResponse(text, response);
    text += "</D:multistatus>";
    return text;
}

void BuildMultistatus(benchmark::State& state) {
    const std::vector<Response> all = responses(static_cast<int>(state.range(0)));
    for (auto _ : state) benchmark::DoNotOptimize(buildAnswer(all));
}
BENCHMARK(BuildMultistatus)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond);

void AppendToString(benchmark::State& state) {
    const std::vector<Response> all = responses(static_cast<int>(state.range(0)));
    const size_t reserved = state.range(1) != 0 ? buildAnswer(all).size() : 0;
    for (auto _ : state) benchmark::DoNotOptimize(appendAnswer(all, reserved));
}
BENCHMARK(AppendToString)
    ->ArgsProduct({{10'000, 100'000}, {0, 1}})
    ->ArgNames({"", "reserved"})
    ->Unit(benchmark::kMillisecond);

/// Of processor time: whatever else the machine does then counts little.
template <typename Work>
double secondsOf(const Work& work) {
    const std::clock_t begin = std::clock();
    benchmark::DoNotOptimize(work());
    return static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
}

constexpr int kTurns = 31;

/// The times of some turns; they are printed as the median and the worst.
struct Turns {
    std::vector<double> values;

    void print() {
        std::ranges::sort(values);
        std::printf(" %6.2f (%6.2f)", values[values.size() / 2], values.back());
    }
};

/// Compares by turns, so that whatever else the machine does meets all of them. Fresh: with memory
/// that the system has still to hand out, as a process has it for its first large answer.
void printRatios(int count, bool fresh) {
    const std::vector<Response> all = responses(count);
    const std::string bytes = buildAnswer(all);
    if (bytes != appendAnswer(all, 0)) std::abort();
    const auto prepare = [fresh] {
        if (fresh) ::malloc_trim(0);
    };
    Turns times;
    Turns toPlain;
    Turns toReserved;
    for (int turn = 0; turn < kTurns; ++turn) {
        prepare();
        const double build = secondsOf([&all] { return buildAnswer(all); });
        prepare();
        const double plain = secondsOf([&all] { return appendAnswer(all, 0); });
        prepare();
        const double reserved = secondsOf([&] { return appendAnswer(all, bytes.size()); });
        times.values.push_back(build * 1e3);
        toPlain.values.push_back(build / plain);
        toReserved.values.push_back(build / reserved);
    }
    std::printf("%-9d %-7s %5.1f", count, fresh ? "fresh" : "in use",
                static_cast<double>(bytes.size()) / 1e6);
    times.print();
    toPlain.print();
    toReserved.print();
    std::printf("\n");
}

void printRatios() {
    std::printf("\nmedian (worst) of %d turns: an answer against its bytes appended to a string\n",
                kTurns);
    std::printf("%-9s %-7s %5s %15s %15s %15s\n", "responses", "memory", "MB", "build ms",
                "/ unreserved", "/ reserved");
    for (const int count : {1'000, 10'000, 100'000}) {
        for (const bool fresh : {true, false}) printRatios(count, fresh);
    }
}

struct Shape {
    const char* what;
    std::string_view before;
    std::string_view repeated;  // "#" stands for the number of the turn
};

constexpr Shape kShapes[] = {
    {"multistatus", "<m>", "<r><h>/a/b/c.ics</h><s>200</s></r>"},
    {"levels", "", "<a>"},
    {"levels closed from outside", "", "<a><b><c></a>"},
    {"levels of other names", "", "<a#></x>"},
    {"levels with a namespace", "", "<p:a xmlns:p='u#'>"},
    {"levels with two namespaces", "", "<p:a xmlns:p='u#' xmlns='v#'>"},
    {"levels with a prefix", "", "<p#:a xmlns:p#='u'>"},
    {"lone end tags", "<a><b>", "</c>"},
    {"attributes", "<a", " b='1'"},
    {"comments", "<a>", "<!---->"},
    {"comments without end", "", "<!--"},
    {"references", "<a>", "&lt;&#65;&no;"},
};

std::string textOf(const Shape& shape, int times) {
    std::string text(shape.before);
    for (int i = 0; i < times; ++i) {
        for (const char c : shape.repeated) c == '#' ? text += std::to_string(i) : text += c;
    }
    return text;
}

void forgetMostMemory() {
    ::malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << "5";
}

double mostMemory() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) * 1024;
}

// The system counts memory by many pages at once, which says little of a few elements.
constexpr uint32_t kManyElements = 10'000;

/// Parses a text as requests are, with all namespaces resolved.
void printShape(const Shape& shape, int times) {
    std::string text = textOf(shape, times);
    const auto length = static_cast<double>(text.size());
    forgetMostMemory();
    const double before = mostMemory();
    uint32_t elements = 0;
    const double seconds = secondsOf([&] {
        MarkupDocument document;
        document.setText(std::move(text));
        elements = document.index().table().count();
        const webdav::ResolvedNames names(document);
        return names.find("urn:none", "none");
    });
    const double beside = mostMemory() - before;
    std::printf("%-27s %8d %7.2f %9.2f %8.1f %10.2f", shape.what, times, length / 1e6,
                seconds * 1e3, seconds * 1e9 / length, beside / 1e6);
    if (elements >= kManyElements) std::printf(" %10.1f", beside / elements);
    std::printf("\n");
}

/// Each in a process of its own, whose memory then tells what that one took.
void printApart(const Shape& shape, int times) {
    std::fflush(stdout);
    const pid_t child = ::fork();
    if (child == 0) {
        printShape(shape, times);
        std::fflush(stdout);
        ::_exit(0);
    }
    ::waitpid(child, nullptr, 0);
}

void printShapes() {
    std::printf("\n%-27s %8s %7s %9s %8s %10s %10s\n", "parsed", "times", "MB", "ms", "ns/byte",
                "MB beside", "/ element");
    for (const Shape& shape : kShapes) {
        for (const int times : {1'000, 10'000, 100'000, 1'000'000}) printApart(shape, times);
    }
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    benchmark::RunSpecifiedBenchmarks();
    printRatios();
    printShapes();
    return 0;
}
