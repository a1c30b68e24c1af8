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

void GapText::moveGap(uint32_t position) {
    if (position < gapBegin()) {
        const std::string_view moved = std::string_view(front_).substr(position);
        moved.copy(growBackBy(moved.size()), moved.size());
        front_.resize(position);
    } else if (position > gapEnd()) {
        const uint32_t moved = position - gapEnd();
        front_ += back().substr(0, moved);
        backBegin_ += moved;
    }
}

void GapText::putBehind(std::initializer_list<std::string_view> pieces) {
    size_t bytes = 0;
    for (const std::string_view piece : pieces) bytes += piece.size();
    if (bytes >= gapSize()) throw std::length_error("string too long");
    char* to = growBackBy(bytes);
    for (const std::string_view piece : pieces) to += piece.copy(to, piece.size());
}

void GapText::undoPut(uint32_t size) {
    front_.resize(size);
    throw std::length_error("string too long");
}

/// Makes room at the start of the back and gives it.
char* GapText::growBackBy(size_t bytes) {
    if (bytes > backBegin_) {
        // Room for as much again, so that the cost of all the moving stays in proportion.
        const size_t free = bytes + back().size();
        std::string grown(free, '\0');
        grown += back();
        back_ = std::move(grown);
        backBegin_ = free;
    }
    backBegin_ -= bytes;
    return back_.data() + backBegin_;
}

}  // namespace webdav
