#include "webdav/xml/GapText.h"

#include <stdexcept>
#include <utility>

namespace webdav {

void GapText::assign(std::string text) {
    if (text.size() >= kEnd) throw std::length_error("string too long");
    front_ = std::move(text);
    back_.clear();
    backBegin_ = 0;
}

std::string GapText::take() {
    front_ += back();
    back_.clear();
    backBegin_ = 0;
    return std::exchange(front_, {});
}

std::string_view GapText::view(uint32_t begin, uint32_t end) const {
    const bool inFront = begin < gapBegin();
    if (inFront && end > gapBegin()) end = gapBegin();
    if (!inFront && begin < gapEnd()) begin = gapEnd();
    if (end <= begin) return {};
    return inFront ? std::string_view(front_).substr(begin, end - begin)
                   : back().substr(begin - gapEnd(), end - begin);
}

void GapText::moveGap(uint32_t position) {
    if (position < gapBegin()) {
        prependToBack(std::string_view(front_).substr(position));
        front_.resize(position);
    } else if (position > gapEnd()) {
        const uint32_t moved = position - gapEnd();
        front_ += back().substr(0, moved);
        backBegin_ += moved;
    }
}

void GapText::put(std::string_view bytes) {
    checkRoom(bytes.size());
    front_ += bytes;
}

void GapText::putBehind(std::string_view bytes) {
    checkRoom(bytes.size());
    prependToBack(bytes);
}

void GapText::checkRoom(size_t bytes) const {
    if (bytes >= gapSize()) throw std::length_error("string too long");
}

void GapText::prependToBack(std::string_view bytes) {
    if (bytes.size() > backBegin_) {
        // Room for as much again, so that the cost of all the moving stays in proportion.
        const size_t free = bytes.size() + back().size();
        std::string grown(free, '\0');
        grown += back();
        back_ = std::move(grown);
        backBegin_ = free;
    }
    backBegin_ -= bytes.size();
    bytes.copy(back_.data() + backBegin_, bytes.size());
}

}  // namespace webdav
