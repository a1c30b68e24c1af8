#include "admin/CommandLine.h"

#include <algorithm>
#include <charconv>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include <CLI/CLI.hpp>

#include "admin/Commands.h"
#include "admin/Rights.h"
#include "admin/Session.h"
#include "platform/Error.h"
#include "platform/Files.h"
#include "platform/User.h"

namespace admin {

namespace {

constexpr int kDone = 0;
constexpr int kCannotBeDone = 1;
constexpr int kWrongUsage = 2;

/// A text that a command takes, by position or as an option, in the order in which they are typed.
struct TextArgument {
    unsigned bit;
    const char* name;
    const char* help;
    std::string Arguments::*value;
    bool required;
};

constexpr TextArgument kTextArguments[] = {
    {kTakesDomainOption, "--domain", "The first domain", &Arguments::domain, true},
    {kTakesDomain, "DOMAIN", "For example example.test", &Arguments::domain, true},
    {kTakesAddress, "ADDRESS", "The account, mailbox@domain", &Arguments::address, true},
    {kTakesAlias, "ALIAS", "The further address, mailbox@domain", &Arguments::alias, true},
    {kTakesOnOrOff, "SWITCH", "on or off", &Arguments::onOrOff, true},
    {kTakesFullName, "--name", "The person's full name", &Arguments::fullName, false},
    {kTakesKind, "--kind", "calendar, tasks or contacts", &Arguments::kind, true},
    {kTakesFolder, "FOLDER", "The folder; may be a path: Work/Project", &Arguments::folder, true},
    {kTakesNewFolder, "NAME", "May be a path: Work/Project", &Arguments::folder, true},
    {kTakesPublicFolder, "NAME", "The public folder; may be a path", &Arguments::folder, true},
    {kTakesWith, "--with", "The other account, mailbox@domain", &Arguments::grantee, true},
    {kTakesTo, "--to", "An account, mailbox@domain, or anyone", &Arguments::grantee, true},
    {kTakesRights, "--rights", "Of read,write,insert,delete,all, with commas between them",
     &Arguments::rights, true},
    {kTakesServer, "--host", "The server's name; the domain itself when not given",
     &Arguments::host, false},
    {kTakesServer, "--port", "Its port for HTTPS (443)", &Arguments::port, false},
    {kTakesNewName, "NEWNAME", "Its new name; may be a path", &Arguments::newName, true},
    {kTakesDays, "DAYS", "How many days a password is good, or never", &Arguments::days, true},
    {kTakesAdmin, "--admin", "Where it listens: unix:PATH or ADDR:PORT", &Arguments::admin, false},
    {kTakesFile, "FILE", "The file; - for standard input", &Arguments::file, true},
    {kTakesOutputFile, "FILE", "The file; - for standard output, as without it", &Arguments::file,
     false},
    {kTakesNewFile, "FILE", "The file to make; it must not be there yet", &Arguments::file, true},
    {kTakesBackup, "FILE", "The file that backup made", &Arguments::file, true},
};

struct FlagArgument {
    unsigned bit;
    const char* name;
    const char* help;
    bool Arguments::*value;
    bool required;
};

constexpr FlagArgument kFlagArguments[] = {
    {kTakesPassword, "--password-stdin", "Reads the password, one line, from standard input",
     &Arguments::passwordFromInput, true},
    {kTakesJson, "--json", "Prints JSON", &Arguments::json, false},
    {kTakesRevoke, "--revoke", "Makes the token void instead", &Arguments::revoke, false},
    {kTakesYes, "--yes", "Asks nothing; nothing is asked either where no terminal is",
     &Arguments::yes, false},
    {kTakesRepair, "--repair", "Mends what can be", &Arguments::repair, false},
};

/// The words but the last name the group, which the table of groups has made before.
CLI::App* addSubcommand(CLI::App& root, std::string_view words, const char* help) {
    CLI::App* parent = &root;
    size_t blank = words.find(' ');
    while (blank != std::string_view::npos) {
        parent = parent->get_subcommand(std::string(words.substr(0, blank)));
        words.remove_prefix(blank + 1);
        blank = words.find(' ');
    }
    return parent->add_subcommand(std::string(words), help);
}

/// Empty when the text is the number of a port.
std::string problemOfPort(const std::string& text) {
    unsigned port = 0;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, port);
    if (error == std::errc() && rest == end && port > 0 && port <= 65535) return {};
    return text + " is no port from 1 to 65535";
}

/// Empty when the text is a list of rights.
std::string problemOfRights(const std::string& list) {
    if (rightsOfList(list)) return {};
    return list + " is no list of read,write,insert,delete,all";
}

/// Empty when the text is a number of days or means none.
std::string problemOfDays(const std::string& text) {
    if (daysOf(text)) return {};
    return text + " is no number of days from 1 to " +
           std::to_string(groupware::kMostPasswordDays) + ", and not never";
}

void addArguments(CLI::App& subcommand, unsigned takes, Arguments& arguments) {
    for (const TextArgument& row : kTextArguments) {
        if ((takes & row.bit) == 0) continue;
        CLI::Option* option = subcommand.add_option(row.name, arguments.*row.value, row.help);
        option->required(row.required);
        if (row.bit == kTakesKind) option->check(CLI::IsMember({"calendar", "tasks", "contacts"}));
        if (row.bit == kTakesOnOrOff) option->check(CLI::IsMember({"on", "off"}));
        if (row.bit == kTakesRights) option->check(problemOfRights);
        if (row.value == &Arguments::port) option->check(problemOfPort);
        if (row.bit == kTakesDays) option->check(problemOfDays);
    }
    for (const FlagArgument& row : kFlagArguments) {
        if ((takes & row.bit) == 0) continue;
        subcommand.add_flag(row.name, arguments.*row.value, row.help)->required(row.required);
    }
}

/// Makes the whole command line; chosen tells after parsing which command was given.
void build(CLI::App& app, std::string& directory, Arguments& arguments, const Command*& chosen) {
    app.set_version_flag("--version", "cvadmin " CVWEBDAV_VERSION);
    app.add_option("--data", directory, "The data directory")->required();
    app.require_subcommand(1);
    for (const CommandGroup& group : commandGroups()) {
        addSubcommand(app, group.words, group.help)->require_subcommand(1);
    }
    for (const Command& command : commands()) {
        CLI::App* subcommand = addSubcommand(app, command.words, command.help);
        addArguments(*subcommand, command.takes, arguments);
        if ((command.takes & kTakesRights) != 0) subcommand->footer(kRightsHelp);
        subcommand->callback([&chosen, &command] { chosen = &command; });
    }
}

int report(std::string_view problem, int status) {
    std::string line(problem);
    std::ranges::replace(line, '\n', ' ');
    std::cerr << "cvadmin: " << line << '\n';
    return status;
}

int run(const Command& command, const std::string& directory, const Arguments& arguments) {
    try {
        // The server could not use what root makes in its directory.
        if (!platform::becomeOwnerOf(platform::fromNativePath(directory))) {
            throw CommandError("cannot become the user who owns " + directory + ": " +
                               platform::describeError(platform::lastError()));
        }
        Session session(directory);
        command.run(session, arguments);
        std::cout.flush();
        if (!std::cout) return report("standard output could not be written", kCannotBeDone);
        return kDone;
    } catch (const groupware::DatabaseError& error) {
        const std::string what = error.what();
        return report(error.busy() ? what + "; try again when the other program is done"
                                   : "the database of " + directory + " failed: " + what,
                      kCannotBeDone);
    } catch (const std::exception& error) {
        return report(error.what(), kCannotBeDone);
    }
}

}  // namespace

int runCommandLine(int argc, const char* const* argv) {
    CLI::App app("Manages the accounts, folders and items of a CVWebDAV data directory.",
                 "cvadmin");
    std::string directory;
    Arguments arguments;
    const Command* chosen = nullptr;
    build(app, directory, arguments, chosen);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& help) {
        return app.exit(help);
    } catch (const CLI::ParseError& error) {
        // An unknown word leaves its command out, which would be all that the library complains of.
        const std::vector<std::string> unknown = app.remaining(true);
        const std::string problem = unknown.empty() ? error.what() : "unknown word " + unknown[0];
        return report(problem + "; --help tells the usage", kWrongUsage);
    }
    return run(*chosen, directory, arguments);
}

}  // namespace admin
