// Decides which events of a folder occur in a range, within the steps that one query may cost.
//
// Made for one query and used by one thread.
#pragma once

#include "groupware/items/SnapshotCache.h"

namespace groupware {

class RangeFilter {
  public:
    RangeFilter(SnapshotCache& cache, TimeRange range) : cache_(cache), range_(range) {}

    /// For items whose span touches the range.
    bool holds(const FolderItem& item);

  private:
    /// The steps that the recurring items of one query may cost together; when they are used up,
    /// each further one gets the least.
    static constexpr int64_t kQuerySteps = 20'000'000;

    void learn(const FolderItem& item, const CalendarObject& event);
    bool occurs(const CalendarObject& event);

    SnapshotCache& cache_;
    TimeRange range_;
    int64_t left_ = kQuerySteps;
};

}  // namespace groupware
