// The table of element positions: where each element of a document stands in its text, and how the
// elements hang together. MarkupParser fills it, IndexedText keeps it in step with edits.
//
// Records have a fixed size and lie in segments, so that a document of millions of elements never
// moves them and an index stays valid for as long as the document does. Index 0 is the record of
// the document itself; as a link, 0 means that there is none. Adding an element never fails.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace webdav {

using ElementIndex = uint32_t;

/// Where one element stands in the text, and its relations.
struct ElementRecord {
    static constexpr uint32_t kStartTagBits = 22;
    static constexpr uint32_t kMaxStartTag = (1U << kStartTagBits) - 1;
    static constexpr uint32_t kMaxEndTag = (1U << (32 - kStartTagBits)) - 1;
    /// The longest name whose end tag still fits.
    static constexpr uint32_t kMaxName = kMaxEndTag - 3;

    static constexpr uint32_t kProblem = 0x200000;        ///< a parse problem in this element
    static constexpr uint32_t kEndTagLeftOut = 0x400000;  ///< its end tag was too long to index
    static constexpr uint32_t kIllFormed = 0x800000;  ///< on record 0: the document is ill-formed

    uint32_t start;
    uint32_t length;  ///< from the start tag to the end of the end tag
    uint32_t tagLengths;
    uint32_t flags;
    ElementIndex parent;
    ElementIndex child;
    ElementIndex next;
    ElementIndex previous;

    uint32_t end() const { return start + length; }
    uint32_t startTagLength() const { return tagLengths & kMaxStartTag; }
    uint32_t endTagLength() const { return tagLengths >> kStartTagBits; }
    void setTagLengths(size_t startTag, size_t endTag) {
        tagLengths = static_cast<uint32_t>(startTag | (endTag << kStartTagBits));
    }
};
static_assert(sizeof(ElementRecord) == 32);

class ElementTable {
  public:
    static constexpr uint32_t kSegmentBits = 16;
    static constexpr uint32_t kSegmentSize = 1U << kSegmentBits;

    ElementTable() { clear(); }

    /// Forgets all elements; the document's own record is left, blank.
    void clear();

    /// Makes a new record, blank but for its links, and hangs it in below `parent`, behind
    /// `previous` (0: as the first child).
    ElementIndex add(ElementIndex parent, ElementIndex previous) {
        if (count_ == room_) makeRoom();
        const ElementIndex element = count_++;
        ElementIndex& before =
            previous != 0 ? entry(previous).record.next : entry(parent).record.child;
        const ElementIndex next = before;
        entry(element) = {{0, 0, 0, 0, parent, 0, next, previous}, 0};
        before = element;
        (next != 0 ? entry(next).record.previous : entry(parent).lastChild) = element;
        return element;
    }

    ElementRecord& operator[](ElementIndex index) { return entry(index).record; }
    const ElementRecord& operator[](ElementIndex index) const { return entry(index).record; }

    /// How many elements there are; their indexes are 1 to count().
    uint32_t count() const { return count_ - 1; }

    ElementIndex lastChild(ElementIndex parent) const { return entry(parent).lastChild; }

    /// The element whose start tag follows next in the text; index 0 gives the first of all.
    ElementIndex nextInOrder(ElementIndex element) const;
    /// The element whose start tag comes just before in the text, or 0.
    ElementIndex previousInOrder(ElementIndex element) const;

  private:
    struct Entry {
        ElementRecord record;
        ElementIndex lastChild;
    };

    void makeRoom();

    Entry& entry(ElementIndex index) const {
        return segments_[index >> kSegmentBits][index & (kSegmentSize - 1)];
    }

    std::vector<std::unique_ptr<Entry[]>> segments_;
    uint32_t count_ = 0;
    uint32_t room_ = 0;  // for how many the segments are made
};

}  // namespace webdav
