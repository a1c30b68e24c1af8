#include "webdav/xml/ElementTable.h"

namespace webdav {

void ElementTable::clear() {
    segments_.clear();
    count_ = 0;
    add(ElementRecord{});
}

ElementIndex ElementTable::add(const ElementRecord& record) {
    const ElementIndex index = count_++;
    if (index >> kSegmentBits == segments_.size()) {
        segments_.emplace_back();
        // The first segment grows with the document: most documents have a handful of elements.
        if (segments_.size() > 1) {
            segments_.back().records.reserve(kSegmentSize);
            segments_.back().lastChildren.reserve(kSegmentSize);
        }
    }
    segments_.back().records.push_back(record);
    segments_.back().lastChildren.push_back(0);
    return index;
}

void ElementTable::link(ElementIndex element, ElementIndex parent, ElementIndex previous) {
    ElementRecord& record = (*this)[element];
    ElementIndex& before = previous != 0 ? (*this)[previous].next : (*this)[parent].child;
    record.parent = parent;
    record.previous = previous;
    record.next = before;
    before = element;
    if (record.next != 0) {
        (*this)[record.next].previous = element;
    } else {
        segments_[parent >> kSegmentBits].lastChildren[parent & (kSegmentSize - 1)] = element;
    }
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
