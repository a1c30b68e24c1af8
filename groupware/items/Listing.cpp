#include "groupware/items/Listing.h"

#include <chrono>
#include <utility>

namespace groupware {

namespace {

using SteadyTime = std::chrono::steady_clock;

/// A list whose length was told and that waits for the call that fetches it.
struct KeptList {
    std::string question;
    ContentsList items;
    SteadyTime::time_point found;
};

constexpr std::chrono::seconds kKeptFor{5};

thread_local KeptList keptList;

/// The kept list when it is the answer, else nothing; it is kept no longer in any case.
ContentsList takeKeptList(const std::string& question, uint32_t room) {
    KeptList kept = std::exchange(keptList, {});
    const bool fits = kept.question == question && kept.items.size() == room &&
                      SteadyTime::now() - kept.found < kKeptFor;
    return fits ? std::move(kept.items) : ContentsList{};
}

}  // namespace

int32_t handOutList(const std::string& question, StoreItem* records, uint32_t* count,
                    const std::function<ContentsList()>& find) {
    const uint32_t room = *count;
    ContentsList items = takeKeptList(question, room);
    if (items.empty()) items = find();
    *count = static_cast<uint32_t>(items.size());
    if (items.size() > room) {
        keptList = {question, std::move(items), SteadyTime::now()};
        return STORE_MORE_ROOM;
    }
    for (size_t i = 0; i < items.size(); ++i) fillRecord(records[i], std::move(items[i]));
    return STORE_OK;
}

}  // namespace groupware
