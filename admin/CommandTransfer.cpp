#include <array>
#include <iostream>

#include "admin/Commands.h"
#include "admin/Progress.h"
#include "admin/Session.h"
#include "groupware/items/Transfer.h"
#include "platform/Error.h"
#include "platform/Files.h"

namespace admin {

namespace {

constexpr size_t kLargestFile = size_t{256} * 1024 * 1024;

const char* itemWord(groupware::ItemKind kind) {
    switch (kind) {
        case groupware::ItemKind::kEvent:
            return "events";
        case groupware::ItemKind::kTask:
            return "tasks";
        case groupware::ItemKind::kContact:
            return "contacts";
    }
    return "items";
}

const char* fileWord(groupware::ItemKind kind) {
    return kind == groupware::ItemKind::kContact ? "a vCard (.vcf) text"
                                                 : "an iCalendar (.ics) text";
}

[[noreturn]] void refuseTooLarge(const std::string& name) {
    throw CommandError(name + " is larger than 256 MiB; import it in smaller parts");
}

std::string readStandardInput() {
    std::string text;
    std::array<char, 65536> piece{};
    while (std::cin.read(piece.data(), piece.size()) || std::cin.gcount() > 0) {
        const auto count = static_cast<size_t>(std::cin.gcount());
        if (text.size() + count > kLargestFile) refuseTooLarge("standard input");
        text.append(piece.data(), count);
    }
    return text;
}

std::string readInput(const std::string& name) {
    if (name == "-") return readStandardInput();
    const std::string path = platform::fromNativePath(name);
    if (!platform::fileExists(path)) {
        throw CommandError("there is no file " + name +
                           " that this user may read; - takes standard input");
    }
    auto text = platform::readFile(path, kLargestFile);
    if (!text) {
        throw CommandError(name + " cannot be read, or is larger than 256 MiB; check its " +
                           "permissions, or import it in smaller parts");
    }
    return *text;
}

void refuseUnread(const groupware::ImportCounts& counts, const std::string& file,
                  const groupware::FolderRow& folder) {
    if (counts.found == 0) {
        const std::string reason = counts.firstProblem.empty()
                                       ? "it holds no " + std::string(itemWord(folder.kind))
                                       : counts.firstProblem;
        throw CommandError(file + " cannot be imported, since " + reason + "; " +
                           fileWord(folder.kind) + " is wanted");
    }
    if (counts.failed == 0 && counts.firstProblem.empty()) return;
    throw CommandError(std::to_string(counts.found - counts.failed) + " of " +
                       std::to_string(counts.found) + " items imported into " + folder.name +
                       "; the others cannot be read, the first since " + counts.firstProblem);
}

}  // namespace

void importFile(Session& session, const Arguments& arguments) {
    const groupware::FolderRow folder = session.folder(arguments.address, arguments.folder);
    const std::string text = readInput(arguments.file);
    groupware::ImportCounts counts;
    {
        Progress progress;
        counts = groupware::importItems(
            session.engine(), folder, text,
            [&](uint32_t done, uint32_t total) { progress("importing", done, total); });
    }
    refuseUnread(counts, arguments.file, folder);
    std::cout << counts.found << " items imported into " << folder.name;
    if (const uint32_t same = counts.found - counts.imported; same > 0)
        std::cout << ", " << same << " of them unchanged";
    std::cout << '\n';
}

void exportFolderTo(Session& session, const Arguments& arguments) {
    const groupware::FolderRow folder = session.folder(arguments.address, arguments.folder);
    std::string text;
    {
        Progress progress;
        text = groupware::exportFolder(
            session.engine(), folder,
            [&](uint64_t done, uint64_t total) { progress("exporting", done, total); });
    }
    if (arguments.file.empty() || arguments.file == "-") {
        std::cout << text;
    } else if (!platform::replaceFile(platform::fromNativePath(arguments.file), text, 0600, true)) {
        throw CommandError("cannot write " + arguments.file + ": " +
                           platform::describeError(platform::lastError()));
    }
}

}  // namespace admin
