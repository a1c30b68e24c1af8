#include "webdav/xml/MarkupWriter.h"

#include <algorithm>
#include <utility>

#include "webdav/xml/ElementTable.h"
#include "webdav/xml/MarkupEscape.h"

namespace webdav {

namespace {

// A short text is moved for a declaration, so that a long one need not be in the end.
constexpr size_t kShortText = 4096;

// Room for a whole small answer and for the elements that are open in most.
constexpr size_t kFirstText = 1000;
constexpr size_t kFirstEndTags = 100;

}  // namespace

MarkupWriter::MarkupWriter(std::span<const KnownPrefix> known) : known_(known) {
    text_.reserve(kFirstText);
    endTags_.reserve(kFirstEndTags);
}

bool MarkupWriter::open(std::string_view uri, std::string_view localName) {
    const TagName* const tag = tagOf(uri, localName);
    if (tag == nullptr) return false;
    endStartTag();
    const std::string_view start = tag->startTag();
    text_ += start.substr(0, start.size() - 1);
    startTagIsOpen_ = true;
    if (endTags_.empty()) {
        rootEnd_ = text_.size();
        rootLength_ += start.size();
    }
    endTags_ += tag->endTag();
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
    const size_t begin = endTags_.rfind('<');
    if (std::exchange(startTagIsOpen_, false)) {
        text_ += "/>";
    } else {
        text_.append(endTags_, begin);
    }
    endTags_.resize(begin);
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
    const std::string_view prefix = prefixOf(uri);
    return prefix.empty() ? declare(uri, localName) : tags_.get(prefix, localName);
}

/// The number of a namespace in the table, or the number of its rows.
size_t MarkupWriter::knownNumber(std::string_view uri) const {
    const auto row = std::ranges::find(known_, uri, &KnownPrefix::uri);
    return static_cast<size_t>(row - known_.begin());
}

/// Empty when the namespace is not declared yet.
std::string_view MarkupWriter::prefixOf(std::string_view uri) const {
    if (const size_t known = knownNumber(uri); known < known_.size())
        return declaredKnown_[known] ? known_[known].prefix : std::string_view();
    const std::string* const prefix = declared_.prefixOf(uri);
    return prefix != nullptr ? std::string_view(*prefix) : std::string_view();
}

const TagName* MarkupWriter::declare(std::string_view uri, std::string_view localName) {
    const size_t known = knownNumber(uri);
    const std::string made = known < known_.size() ? std::string() : declared_.unusedPrefix();
    const std::string_view prefix = known < known_.size() ? known_[known].prefix : made;
    const std::string declaration = DeclaredNamespaces::written(prefix, uri);
    // A root that is still to be written has its name at most, and that fits.
    const size_t root = endTags_.empty() ? ElementRecord::kMaxEndTag : rootLength_;
    if (root + declaration.size() > ElementRecord::kMaxStartTag) return nullptr;
    const TagName* const tag = tags_.get(prefix, localName);
    if (tag == nullptr) return nullptr;
    if (known < known_.size()) {
        declaredKnown_.set(known);
    } else {
        declared_.add(prefix, uri);
    }
    declarations_ += declaration;
    rootLength_ += declaration.size();
    return tag;
}

void MarkupWriter::settle() {
    if (declarations_.empty()) return;
    text_.insert(rootEnd_, declarations_);
    rootEnd_ += declarations_.size();
    declarations_.clear();
}

}  // namespace webdav
