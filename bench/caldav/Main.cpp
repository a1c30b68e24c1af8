// bench_caldav: the load generator behind bench/caldav/run, which starts the servers and knows
// their ways. Each command measures one thing and adds its results to a file; report prints them.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <iostream>

#include <CLI/CLI.hpp>

#include "bench/caldav/DataSet.h"
#include "bench/caldav/ProcessTree.h"
#include "bench/caldav/Report.h"
#include "bench/caldav/RowRun.h"

using namespace bench;

namespace {

constexpr size_t kEventsForEachContact = 10;

struct Options {
    Site site;
    FloorPlace floor;
    std::string results;
    double seconds = 2;
    double fillSeconds = 600;
    size_t polls = 100;
    std::vector<std::string> rows;  ///< all when empty
};

void add(const Options& options, size_t size, Result result) {
    result.size = size;
    std::fprintf(stderr, "%-10s %-24s %8.3f ms CPU  %8.3f ms  %s\n", result.server.c_str(),
                 result.row.c_str(), result.processor * 1e3, result.p50 * 1e3, result.note.c_str());
    addResult(options.results, result);
}

/// @return how many items the server now has
size_t fill(const Options& options, const Workload& workload, size_t first, size_t end,
            size_t size) {
    const Limits limits{.seconds = options.fillSeconds / 2, .first = first, .turns = end - first};
    const Result result = runOnce(options.site, options.floor, workload, limits);
    if (!result.note.empty()) {
        throw std::runtime_error(options.site.server + ", " + workload.name + ": " + result.note);
    }
    add(options, size, result);
    return first + result.turns;
}

/// A server that is too slow to be filled in time is measured with what it has by then.
void fillAll(Options& options, size_t events) {
    Site& site = options.site;
    const size_t half = fill(options, kFillAlone, 0, events / 2, events);
    site.events = fill(options, kFillTogether, half, events, events);
    site.contacts = fill(options, kFillContacts, 0, events / kEventsForEachContact, events);
    site.inMonth = eventsInMonth(site.events, kQueryMonth);
    if (site.events < events) {
        add(options, events,
            {.server = site.server,
             .row = "events after the time for filling",
             .note = std::to_string(site.events)});
    }
}

void measure(Options options) {
    const size_t events = options.site.events;
    fillAll(options, events);
    for (const Workload& workload : workloads()) {
        if (!options.rows.empty() &&
            std::ranges::find(options.rows, workload.name) == options.rows.end())
            continue;
        add(options, events, runRow(options.site, options.floor, workload, options.seconds));
    }
    const auto megabytes = static_cast<int>(peakMemory(options.site.process) / 1e6);
    add(options, events,
        {.server = options.site.server,
         .row = "peak memory",
         .note = std::to_string(megabytes) + " MB"});
}

void poll(const Options& options) {
    const Workload workload{"ctag poll", changeStampPoll};
    const Load load = runLoad(options.site, workload, {.seconds = 60, .turns = options.polls});
    if (!load.problem.empty()) throw std::runtime_error("ctag poll: " + load.problem);
}

void addServer(CLI::App& command, Options& options) {
    Site& site = options.site;
    command.add_option("--server", site.server, "Its name")->required();
    command.add_option("--port", site.port, "Port on 127.0.0.1")->required();
    command.add_option("--pid", site.process, "Its first process")->required();
    command.add_option("--login", site.login, "USER:PASSWORD");
    command.add_option("--home", site.home, "Path of the calendar home");
    command.add_option("--calendar", site.calendar, "Path of the calendar")->required();
    command.add_option("--book", site.book, "Path of the address book");
    command.add_flag("--keeps-texts", site.keepsTexts, "Items come back byte for byte");
}

void addMeasure(CLI::App& app, Options& options) {
    CLI::App* command = app.add_subcommand("measure", "Fills a server and measures it");
    addServer(*command, options);
    command->add_option("--events", options.site.events, "How many")->required();
    command->add_option("--floor-port", options.floor.site.port, "Of the web server")->required();
    command->add_option("--floor-pid", options.floor.site.process, "Its first process")->required();
    command->add_option("--floor-files", options.floor.directory, "What it serves")->required();
    command->add_option("--seconds", options.seconds, "For each row");
    command->add_option("--fill-seconds", options.fillSeconds, "Longest time for filling");
    command->add_option("--row", options.rows, "Only rows of these names");
    command->add_option("--results", options.results, "File that results are added to")->required();
    command->callback([&] { measure(options); });
}

void addPoll(CLI::App& app, Options& options) {
    CLI::App* command = app.add_subcommand("poll", "Polls the change stamp, to be traced");
    addServer(*command, options);
    command->add_option("--polls", options.polls, "How often");
    command->callback([&] { poll(options); });
}

void addNote(CLI::App& app, Options& options, Result& note) {
    CLI::App* command = app.add_subcommand("note", "Adds a row that is one figure");
    command->add_option("--server", note.server)->required();
    command->add_option("--events", note.size)->required();
    command->add_option("--row", note.row)->required();
    command->add_option("--figure", note.note)->required();
    command->add_option("--results", options.results)->required();
    command->callback([&] { addResult(options.results, note); });
}

void addReport(CLI::App& app, Options& options) {
    CLI::App* command = app.add_subcommand("report", "Prints the tables");
    command->add_option("--results", options.results)->required();
    command->callback([&] { printReport(readResults(options.results)); });
}

int run(int argc, char** argv) {
    CLI::App app("Measures servers of calendars; bench/caldav/run drives it.");
    app.require_subcommand(1);
    Options options;
    Result note;
    options.site.host = options.floor.site.host = "127.0.0.1";
    addMeasure(app, options);
    addPoll(app, options);
    addNote(app, options, note);
    addReport(app, options);
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
