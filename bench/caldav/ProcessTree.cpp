#include "bench/caldav/ProcessTree.h"

#include <ctime>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <unistd.h>

namespace bench {
namespace {

std::string directoryOf(pid_t process) {
    return "/proc/" + std::to_string(process) + "/";
}

void collect(pid_t process, std::vector<pid_t>& tree) {
    tree.push_back(process);
    const std::string directory = directoryOf(process);
    std::ifstream children(directory + "task/" + std::to_string(process) + "/children");
    for (pid_t child = 0; children >> child;) collect(child, tree);
}

std::vector<pid_t> treeOf(pid_t root) {
    std::vector<pid_t> tree;
    collect(root, tree);
    return tree;
}

/// utime and stime of a process and of the children that it has waited for. The clock of the
/// process tells the first two to the nanosecond.
double secondsOf(pid_t process) {
    double seconds = 0;
    clockid_t clock{};
    timespec used{};
    if (::clock_getcpuclockid(process, &clock) == 0 && ::clock_gettime(clock, &used) == 0) {
        seconds = static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) / 1e9;
    }
    std::ifstream file(directoryOf(process) + "stat");
    std::string text;
    std::getline(file, text);
    // The name in parentheses may hold anything; cutime and cstime are the 16th and 17th fields.
    std::istringstream fields(text.substr(text.rfind(')') + 1));
    std::string skipped;
    for (int i = 3; i < 16; ++i) fields >> skipped;
    double user = 0;
    double system = 0;
    fields >> user >> system;
    return seconds + (user + system) / static_cast<double>(::sysconf(_SC_CLK_TCK));
}

}  // namespace

double processorSeconds(pid_t root) {
    double seconds = 0;
    for (const pid_t process : treeOf(root)) seconds += secondsOf(process);
    return seconds;
}

double peakMemory(pid_t root) {
    double bytes = 0;
    for (const pid_t process : treeOf(root)) {
        std::ifstream file(directoryOf(process) + "status");
        for (std::string word; file >> word;) {
            double kilobytes = 0;
            if (word == "VmHWM:" && file >> kilobytes) bytes += kilobytes * 1024;
        }
    }
    return bytes;
}

double machineSeconds() {
    std::ifstream file("/proc/stat");
    std::string name;
    double user = 0;
    double nice = 0;
    double system = 0;
    file >> name >> user >> nice >> system;
    return (user + nice + system) / static_cast<double>(::sysconf(_SC_CLK_TCK));
}

}  // namespace bench
