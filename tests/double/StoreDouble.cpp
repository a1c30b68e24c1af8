#include "tests/double/StoreDouble.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "platform/DynamicLibrary.h"
#include "webdav/store/StoreOperations.h"

namespace {

struct Failure {
    std::string_view operation;
    int32_t result = 0;
    uint32_t callsLeft = 0;
};

std::vector<Failure> failures;
std::string watched;
std::string seen;

#define OPERATION_NAME(name) #name,
constexpr const char* kUserOperations[] = {WEBDAV_USER_OPERATIONS(OPERATION_NAME)};
constexpr const char* kCalendarOperations[] = {WEBDAV_CALENDAR_OPERATIONS(OPERATION_NAME)};

template <typename Names>
const char* find(const Names& names, std::string_view name) {
    const auto found = std::ranges::find(names, name);
    return found == std::end(names) ? nullptr : *found;
}

/// Counts a call; the failure when this one is to fail.
const Failure* failureNow(std::string_view operation) {
    const Failure* now = nullptr;
    for (Failure& failure : failures)
        if (failure.operation == operation && failure.callsLeft > 0 && --failure.callsLeft == 0)
            now = &failure;
    return now;
}

void* realOperation(const char* name) {
    static platform::DynamicLibrary user;
    static platform::DynamicLibrary calendar;
    platform::DynamicLibrary& library = find(kUserOperations, name) != nullptr ? user : calendar;
    const char* file = &library == &user ? "CVUser" : "CVCalendar";
    if (!library.loaded()) library.load(platform::libraryDirectory() + file);
    void* const operation = library.symbol(name);
    if (operation != nullptr) return operation;
    std::cerr << "the store has no " << name << ": " << library.problem() << '\n';
    std::abort();
}

template <typename Argument>
void note(const Argument& argument) {
    if constexpr (std::is_same_v<Argument, const char*>)
        seen += std::string(argument == nullptr ? "none" : argument) + " ";
    else if constexpr (std::is_integral_v<Argument>)
        seen += std::to_string(argument) + " ";
}

/// One operation of the double. The name is a parameter, so that each has a function of its own.
template <const auto& kName, typename Function>
struct Operation;

template <const auto& kName, typename Result, typename... Arguments>
struct Operation<kName, Result(Arguments...)> {
    static Result call(Arguments... arguments) {
        using Real = Result (*)(Arguments...);
        static const Real real = reinterpret_cast<Real>(realOperation(kName));
        if (watched == kName) {
            (note(arguments), ...);
            seen += '\n';
        }
        const Failure* const failure = failureNow(kName);
        if (failure == nullptr) return real(arguments...);
        if constexpr (!std::is_void_v<Result>) return static_cast<Result>(failure->result);
    }
};

}  // namespace

// A name's own function is made from its declaration, so it cannot be written down here as a
// function of that name; the linker is told where it stands instead.
#define DOUBLE_OPERATION(name)                                   \
    static constexpr char text_##name[] = #name;                 \
    extern "C" {                                                 \
    static decltype(&::name) find_##name() {                     \
        return Operation<text_##name, decltype(::name)>::call;   \
    }                                                            \
    __attribute__((ifunc("find_" #name))) decltype(::name) name; \
    }
WEBDAV_USER_OPERATIONS(DOUBLE_OPERATION)
WEBDAV_CALENDAR_OPERATIONS(DOUBLE_OPERATION)

bool StoreDoubleFail(const char* operation, int32_t result, uint32_t call) {
    const char* name = find(kUserOperations, operation);
    if (name == nullptr) name = find(kCalendarOperations, operation);
    if (name != nullptr) failures.push_back({name, result, call});
    return name != nullptr;
}

void StoreDoubleWatch(const char* operation) {
    watched = operation == nullptr ? "" : operation;
    seen.clear();
}

const char* StoreDoubleSeen() {
    return seen.c_str();
}

uint32_t StoreDoubleReset() {
    const auto left = std::ranges::count_if(
        failures, [](const Failure& failure) { return failure.callsLeft > 0; });
    failures.clear();
    return static_cast<uint32_t>(left);
}
