#include "groupware/items/SpanIndex.h"

namespace groupware {

namespace {

constexpr int64_t kShortMs = int64_t{32} * kSecondsPerDay * 1000;

bool isShort(const ItemSpan& span) {
    return span.firstStartMs != INT64_MIN && span.lastEndMs != INT64_MAX &&
           span.lastEndMs - span.firstStartMs <= kShortMs;
}

}  // namespace

SpanIndex::SpanIndex(const std::vector<const FolderItem*>& items) {
    std::vector<Entry> shortOnes;
    std::vector<Entry> longOnes;
    for (const FolderItem* item : items) {
        (isShort(item->span) ? shortOnes : longOnes).push_back(Entry(*item));
    }
    short_ = Entries(std::move(shortOnes));
    long_ = Entries(std::move(longOnes));
}

SpanIndex::Entries& SpanIndex::listFor(const FolderItem& item) {
    return isShort(item.span) ? short_ : long_;
}

void SpanIndex::insert(const FolderItem& item) {
    listFor(item).insert(Entry(item));
}

void SpanIndex::erase(const FolderItem& item) {
    listFor(item).erase(StartThenNumber()(Entry(item)));
}

void SpanIndex::eachTouching(TimeRange range,
                             const std::function<void(const FolderItem&)>& each) const {
    const auto visit = [&](const Entry& entry) {
        if (entry.firstStartMs >= range.toMs) return false;
        if (entry.lastEndMs > range.fromMs) each(*entry.item);
        return true;
    };
    const int64_t earliest =
        range.fromMs < INT64_MIN + kShortMs ? INT64_MIN : range.fromMs - kShortMs;
    short_.eachFrom(std::pair(earliest, INT64_MIN), visit);
    long_.eachFrom(std::pair(INT64_MIN, INT64_MIN), visit);
}

}  // namespace groupware
