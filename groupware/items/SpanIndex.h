// Finds the items of a folder that may take place in a range by their first start and last end.
//
// Items that are over within some weeks stand in the order of their starts, so that a query touches
// those around its range; the few that go on for long stand apart and are all looked at. Holds
// plain pointers: the items are the snapshot's that has the index. Like SortedChunks, to be copied
// for the next version.
#pragma once

#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include "groupware/ical/Occurrences.h"
#include "groupware/items/FolderItem.h"
#include "groupware/items/SortedChunks.h"

namespace groupware {

class SpanIndex {
  public:
    SpanIndex() = default;
    explicit SpanIndex(const std::vector<const FolderItem*>& items);

    void insert(const FolderItem& item);
    void erase(const FolderItem& item);
    /// Calls with the items whose span touches the range, in no order.
    void eachTouching(TimeRange range, const std::function<void(const FolderItem&)>& each) const;

  private:
    struct Entry {
        explicit Entry(const FolderItem& of)
            : firstStartMs(of.span.firstStartMs), lastEndMs(of.span.lastEndMs), item(&of) {}

        int64_t firstStartMs;
        int64_t lastEndMs;
        const FolderItem* item;
    };
    struct StartThenNumber {
        std::pair<int64_t, int64_t> operator()(const Entry& entry) const {
            return {entry.firstStartMs, entry.item->row.number};
        }
    };
    using Entries = SortedChunks<Entry, StartThenNumber>;

    Entries& listFor(const FolderItem& item);

    Entries short_;
    Entries long_;
};

}  // namespace groupware
