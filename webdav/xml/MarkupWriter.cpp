#include "webdav/xml/MarkupWriter.h"

#include <utility>

#include "webdav/xml/ElementTable.h"
#include "webdav/xml/MarkupEscape.h"

namespace webdav {

namespace {

// A short text is moved for a declaration, so that a long one need not be in the end.
constexpr size_t kShortText = 4096;

}  // namespace

bool MarkupWriter::open(std::string_view uri, std::string_view localName) {
    const TagName* const tag = tagOf(uri, localName);
    if (tag == nullptr) return false;
    endStartTag();
    const std::string_view start = tag->startTag();
    text_ += start.substr(0, start.size() - 1);
    startTagIsOpen_ = true;
    if (lengths_.empty()) {
        rootEnd_ = text_.size();
        rootLength_ += start.size();
    }
    endTags_ += tag->endTag();
    lengths_.push_back(tag->endTag().size());
    if (text_.size() < kShortText) settle();
    return true;
}

void MarkupWriter::attribute(std::string_view name, std::string_view value) {
    text_ += ' ';
    text_ += name;
    text_ += "=\"";
    appendAttributeValue(text_, value);
    text_ += '"';
}

void MarkupWriter::content(std::string_view text) {
    if (text.empty()) return;
    endStartTag();
    appendContent(text_, text);
}

void MarkupWriter::close() {
    const size_t begin = endTags_.size() - lengths_.back();
    if (std::exchange(startTagIsOpen_, false)) {
        text_ += "/>";
    } else {
        text_.append(endTags_, begin);
    }
    endTags_.resize(begin);
    lengths_.pop_back();
}

bool MarkupWriter::element(std::string_view uri, std::string_view localName,
                           std::string_view text) {
    const TagName* const tag = tags(uri, localName);
    if (tag == nullptr) return false;
    endStartTag();
    if (text.empty()) {
        tag->appendEmptyTag(text_);
    } else {
        text_ += tag->startTag();
        appendContent(text_, text);
        text_ += tag->endTag();
    }
    return true;
}

const TagName* MarkupWriter::tags(std::string_view uri, std::string_view localName) {
    const TagName* const tag = tagOf(uri, localName);
    if (text_.size() < kShortText) settle();
    return tag;
}

std::string MarkupWriter::takeText() {
    settle();
    return std::move(text_);
}

const TagName* MarkupWriter::tagOf(std::string_view uri, std::string_view localName) {
    if (uri.empty()) return tags_.get({}, localName);
    const std::string* const prefix = declared_.prefixOf(uri);
    return prefix != nullptr ? tags_.get(*prefix, localName) : declare(uri, localName);
}

const TagName* MarkupWriter::declare(std::string_view uri, std::string_view localName) {
    const std::string& prefix = declared_.choosePrefix(prefixes_, uri);
    const std::string declaration = DeclaredNamespaces::written(prefix, uri);
    // A root that is still to be written has its name at most, and that fits.
    const size_t root = lengths_.empty() ? ElementRecord::kMaxEndTag : rootLength_;
    if (root + declaration.size() > ElementRecord::kMaxStartTag) return nullptr;
    const TagName* const tag = tags_.get(prefix, localName);
    if (tag == nullptr) return nullptr;
    declared_.add(prefix, uri);
    declarations_ += declaration;
    rootLength_ += declaration.size();
    return tag;
}

void MarkupWriter::settle() {
    text_.insert(rootEnd_, declarations_);
    rootEnd_ += declarations_.size();
    declarations_.clear();
}

}  // namespace webdav
