#include "webdav/xml/ElementTable.h"

#include <algorithm>
#include <utility>

namespace webdav {

namespace {

constexpr uint32_t kFirstRoom = 24;  // what most requests have; small enough to be had quickly
/// Where the first segment gets its whole size: most documents have a handful of elements, but one
/// that has more is likely to have many, and memory that is not written to yet costs nothing.
constexpr uint32_t kManyElements = 4096;

}  // namespace

void ElementTable::clear() {
    if (room_ != kFirstRoom) {
        segments_.clear();
        room_ = 0;
        makeRoom();
    }
    entry(0) = {};
    count_ = 1;
}

void ElementTable::makeRoom() {
    if (room_ >= kSegmentSize) {
        segments_.push_back(std::make_unique_for_overwrite<Entry[]>(kSegmentSize));
        room_ += kSegmentSize;
        return;
    }
    const uint32_t grown = room_ < kManyElements ? std::max(4 * room_, kFirstRoom) : kSegmentSize;
    auto segment = std::make_unique_for_overwrite<Entry[]>(grown);
    if (room_ > 0) std::copy_n(segments_[0].get(), room_, segment.get());
    segments_.resize(1);
    segments_[0] = std::move(segment);
    room_ = grown;
}

ElementIndex ElementTable::nextInOrder(ElementIndex element) const {
    if (const ElementIndex child = (*this)[element].child; child != 0) return child;
    for (; element != 0; element = (*this)[element].parent) {
        if (const ElementIndex next = (*this)[element].next; next != 0) return next;
    }
    return 0;
}

ElementIndex ElementTable::previousInOrder(ElementIndex element) const {
    ElementIndex previous = (*this)[element].previous;
    if (previous == 0) return (*this)[element].parent;
    while (lastChild(previous) != 0) previous = lastChild(previous);
    return previous;
}

}  // namespace webdav
