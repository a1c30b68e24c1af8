// The table of element positions: where each element of a document stands in its text, and how the
// elements hang together. MarkupParser fills it, IndexedText keeps it in step with edits.
//
// Records have a fixed size and lie in segments, so that a document of millions of elements never
// moves them and an index stays valid for as long as the document does. Index 0 is the record of
// the document itself; as a link, 0 means that there is none. Adding an element never fails.
#pragma once

#include <cstdint>
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

    uint32_t start = 0;
    uint32_t length = 0;  ///< from the start tag to the end of the end tag
    uint32_t tagLengths = 0;
    uint32_t flags = 0;
    ElementIndex parent = 0;
    ElementIndex child = 0;
    ElementIndex next = 0;
    ElementIndex previous = 0;

    uint32_t end() const { return start + length; }
    uint32_t startTagLength() const { return tagLengths & kMaxStartTag; }
    uint32_t endTagLength() const { return tagLengths >> kStartTagBits; }
    void setTagLengths(uint32_t startTag, uint32_t endTag) {
        tagLengths = startTag | (endTag << kStartTagBits);
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

    /// Makes a new record, not yet linked, and gives its index.
    ElementIndex add(const ElementRecord& record);

    /// Hangs an element in below `parent`, behind `previous` (0: as the first child).
    void link(ElementIndex element, ElementIndex parent, ElementIndex previous);

    ElementRecord& operator[](ElementIndex index) {
        return segments_[index >> kSegmentBits].records[index & (kSegmentSize - 1)];
    }
    const ElementRecord& operator[](ElementIndex index) const {
        return segments_[index >> kSegmentBits].records[index & (kSegmentSize - 1)];
    }

    /// How many elements there are; their indexes are 1 to count().
    uint32_t count() const { return count_ - 1; }

    ElementIndex lastChild(ElementIndex parent) const {
        return segments_[parent >> kSegmentBits].lastChildren[parent & (kSegmentSize - 1)];
    }

    /// The element whose start tag follows next in the text; index 0 gives the first of all.
    ElementIndex nextInOrder(ElementIndex element) const;
    /// The element whose start tag comes just before in the text, or 0.
    ElementIndex previousInOrder(ElementIndex element) const;

  private:
    struct Segment {
        std::vector<ElementRecord> records;
        std::vector<ElementIndex> lastChildren;
    };

    std::vector<Segment> segments_;
    uint32_t count_ = 0;
};

}  // namespace webdav
