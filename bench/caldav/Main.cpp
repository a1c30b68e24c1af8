// bench_caldav: the load generator behind bench/caldav/run, which starts the servers and knows
// their ways. Each command measures one thing and adds its results to a file; report prints them.
#include <cstdio>
#include <exception>
#include <iostream>

#include <CLI/CLI.hpp>

#include "bench/caldav/DataSet.h"
#include "bench/caldav/FloorRuns.h"
#include "bench/caldav/LoadRun.h"
#include "bench/caldav/ProcessTree.h"
#include "bench/caldav/Report.h"

using namespace bench;

namespace {

constexpr size_t kEventsForEachContact = 10;

struct Options {
    Site site;
    std::string results;
    std::string directory;
    pid_t process = 0;
    double seconds = 2;
    double fillSeconds = 600;
    size_t polls = 100;
};

void add(const Options& options, size_t size, Result result) {
    result.size = size;
    std::fprintf(stderr, "%-10s %-24s %8.3f ms CPU  %8.3f ms  %s\n", result.server.c_str(),
                 result.row.c_str(), result.processorEach() * 1e3, result.median * 1e3,
                 result.note.c_str());
    addResult(options.results, result);
}

/// @return how many items the server now has
size_t fill(const Options& options, const Workload& workload, size_t first, size_t end,
            size_t size) {
    const Limits limits{
        .seconds = options.fillSeconds / 2, .first = first, .turns = end - first, .warm = false};
    Result result = runLoad(options.site, workload, options.process, limits);
    if (!result.note.empty()) {
        throw std::runtime_error(options.site.server + ", " + workload.name + ": " + result.note);
    }
    add(options, size, result);
    return first + result.turns;
}

/// A server that is too slow to be filled in time is measured with what it has by then.
void fillAll(Options& options) {
    Site& site = options.site;
    const size_t events = site.events;
    const size_t half = fill(options, kFillAlone, 0, events / 2, events);
    site.events = fill(options, kFillTogether, half, events, events);
    site.contacts = fill(options, kFillContacts, 0, events / kEventsForEachContact, events);
    site.inMonth = eventsInMonth(site.events, kQueryMonth);
    if (site.events < events) {
        add(options, events,
            {.server = site.server, .row = "events", .note = std::to_string(site.events)});
    }
}

void measure(Options options) {
    const size_t size = options.site.events;
    fillAll(options);
    for (const Workload& workload : workloads()) {
        const Limits limits{.seconds = options.seconds};
        add(options, size, runLoad(options.site, workload, options.process, limits));
    }
    const double megabytes = peakMemory(options.process) / 1e6;
    add(options, size,
        {.server = options.site.server,
         .row = "peak memory",
         .note = std::to_string(static_cast<int>(megabytes)) + " MB"});
}

void poll(const Options& options) {
    const Workload workload{"ctag poll", changeStampPoll};
    const Limits limits{.seconds = 60, .turns = options.polls, .warm = false};
    const Result result = runLoad(options.site, workload, options.process, limits);
    if (!result.note.empty()) throw std::runtime_error("ctag poll: " + result.note);
}

std::vector<Result> comparedResults(const Options& options) {
    std::vector<Result> results = readResults(options.results);
    std::erase_if(results, [&options](const Result& result) {
        return result.server != options.site.server || !result.note.empty();
    });
    return results;
}

void measureFloor(Options options) {
    const std::vector<Result> results = comparedResults(options);
    options.site.server = kFloorName;
    makeStaticAnswers(results, options.directory);
    for (const Result& result :
         measureStaticAnswers(options.site, options.process, options.seconds, results)) {
        add(options, result.size, result);
    }
    for (const Result& like : results) {
        if (like.floor != Floor::sync) continue;
        Result result = measureAppends(options.directory, like.connections, options.seconds);
        result.server = kFloorName;
        result.row = like.row;
        add(options, like.size, result);
    }
}

CLI::App* addMeasuring(CLI::App& app, const char* name, const char* help, Options& options) {
    CLI::App* command = app.add_subcommand(name, help);
    command->add_option("--server", options.site.server, "Name of the server")->required();
    command->add_option("--port", options.site.port, "Port on 127.0.0.1")->required();
    command->add_option("--pid", options.process, "Its first process")->required();
    command->add_option("--seconds", options.seconds, "Time for each row");
    command->add_option("--results", options.results, "File that results are added to");
    return command;
}

void addPaths(CLI::App& command, Options& options) {
    command.add_option("--login", options.site.login, "USER:PASSWORD");
    command.add_option("--home", options.site.home, "Path of the calendar home");
    command.add_option("--calendar", options.site.calendar, "Path of the calendar")->required();
    command.add_option("--book", options.site.book, "Path of the address book");
    command.add_option("--events", options.site.events, "How many to fill it with");
    command.add_option("--fill-seconds", options.fillSeconds, "Longest time for filling");
    command.add_option("--polls", options.polls, "How many polls");
    command.add_flag("--keeps-texts", options.site.keepsTexts, "Items come back byte for byte");
}

int run(int argc, char** argv) {
    CLI::App app("Measures servers of calendars; bench/caldav/run drives it.");
    app.require_subcommand(1);
    Options options;
    options.site.host = "127.0.0.1";
    CLI::App* measuring = addMeasuring(app, "measure", "Fills a server, measures it", options);
    addPaths(*measuring, options);
    measuring->callback([&] { measure(options); });
    CLI::App* polling = addMeasuring(app, "poll", "Polls the change stamp, for tracing", options);
    addPaths(*polling, options);
    polling->callback([&] { poll(options); });
    CLI::App* floor = addMeasuring(app, "floor", "Measures what stands beside --server", options);
    floor->add_option("--directory", options.directory, "Served by the web server")->required();
    floor->callback([&] { measureFloor(options); });
    CLI::App* note = app.add_subcommand("note", "Adds a row that is one figure");
    Result figure;
    note->add_option("--server", figure.server)->required();
    note->add_option("--size", figure.size)->required();
    note->add_option("--row", figure.row)->required();
    note->add_option("--figure", figure.note)->required();
    note->add_option("--results", options.results)->required();
    note->callback([&] { addResult(options.results, figure); });
    CLI::App* report = app.add_subcommand("report", "Prints the tables");
    report->add_option("--results", options.results)->required();
    report->callback([&] { printReport(readResults(options.results)); });
    CLI11_PARSE(app, argc, argv);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& problem) {
        std::cerr << "bench_caldav: " << problem.what() << '\n';
        return 1;
    }
}
