#include "webdav/xml/TagName.h"

#include "webdav/xml/ElementTable.h"

namespace webdav {

bool TagName::set(std::string_view name) {
    text_ = "<";
    localBegin_ = 0;
    return write(name, NameBytes::kInside) && finish(0);
}

bool TagName::set(std::string_view prefix, std::string_view localPart) {
    text_.reserve(2 * (prefix.size() + localPart.size()) + 7);  // with the marks of both tags
    text_ = "<";
    localBegin_ = 0;
    if (!prefix.empty()) {
        if (!write(prefix, NameBytes::kInside)) return false;
        text_ += ':';
    }
    const size_t localBegin = text_.size();
    return write(localPart, NameBytes::kLocal) && localPart.front() != ':' && finish(localBegin);
}

/// Takes a part of the name when it can be one.
bool TagName::write(std::string_view part, NameBytes set) {
    const bool fits = text_.size() - 1 + part.size() <= ElementRecord::kMaxName;
    if (!fits || part.empty() || !isOneOf(part.front(), NameBytes::kStart)) return false;
    for (const char c : part.substr(1)) {
        if (!isOneOf(c, set)) return false;
    }
    text_ += part;
    return true;
}

bool TagName::finish(size_t localBegin) {
    localBegin_ = localBegin;
    nameEnd_ = text_.size();
    text_ += "></";
    text_.append(text_, 1, nameEnd_);
    return true;
}

}  // namespace webdav
