#include "webdav/xml/MarkupDocument.h"

#include <optional>
#include <utility>

#include "platform/Files.h"
#include "webdav/xml/MarkupEscape.h"
#include "webdav/xml/MarkupScanner.h"
#include "webdav/xml/NameCharacters.h"
#include "webdav/xml/NameIndex.h"

namespace webdav {

namespace {

constexpr size_t kShortText = 4096;

}  // namespace

bool MarkupDocument::setText(std::string text) {
    results_.clear();
    return parse(std::move(text));
}

bool MarkupDocument::parse(std::string text) {
    takeText();
    content_.parse(std::move(text), ignoresCase(), results_);
    return (content_.table()[0].flags & ElementRecord::kIllFormed) == 0;
}

bool MarkupDocument::load(std::string_view path, size_t maxBytes) {
    takeText();
    results_.clear();
    std::optional<std::string> bytes = platform::readFile(path, maxBytes);
    if (bytes) return parse(decodeText(std::move(*bytes), results_));
    results_.add("file_error", {.msg = "read"});
    return false;
}

bool MarkupDocument::save(std::string_view path, SaveOptions options) {
    results_.clear();
    bool written = false;
    if (options.append) {
        const auto file = platform::AppendFile::open(path);
        if (file && file->length() > 0) options.mark = false;
        const auto bytes = file ? encodeText(text(), options, results_) : std::nullopt;
        written = bytes && file->write(*bytes) && file->close();
    } else {
        const auto bytes = encodeText(text(), options, results_);
        written = bytes && platform::replaceFile(path, *bytes);
    }
    if (!written) results_.add("file_error", {.msg = "write", .encoding = options.encoding});
    return written;
}

const std::string& MarkupDocument::text() const {
    settle();
    return content_.close();
}

std::string MarkupDocument::takeText() {
    // Putting the declarations into the text that is given away saves moving all elements for them;
    // there is no gap before the root that would have to be counted off.
    const std::string declarations = std::exchange(rootDeclarations_, {});
    const size_t at = declarations.empty() ? 0 : content_.attributesEnd(root());
    std::string text = content_.take();
    resetPosition();
    declared_.clear();
    declarationsRead_ = false;
    text.insert(at, declarations);
    return text;
}

void MarkupDocument::resetPosition() {
    parent_ = current_ = child_ = 0;
}

bool MarkupDocument::findElement(std::string_view name) {
    const ElementTable& table = content_.table();
    ElementIndex next = current_ == 0 ? table[parent_].child : table[current_].next;
    while (next != 0 && !name.empty() && !sameName(content_.tagName(next), name, ignoresCase())) {
        next = table[next].next;
    }
    if (next == 0) return false;
    current_ = next;
    child_ = 0;
    return true;
}

bool MarkupDocument::intoElement() {
    if (current_ == 0) return false;
    parent_ = current_;
    current_ = std::exchange(child_, 0);
    return true;
}

bool MarkupDocument::outOfElement() {
    if (parent_ == 0) return false;
    child_ = current_;
    current_ = parent_;
    parent_ = content_.table()[parent_].parent;
    return true;
}

std::string_view MarkupDocument::tagName() const {
    return current_ == 0 ? std::string_view() : content_.tagName(current_);
}

std::string MarkupDocument::textData() const {
    return current_ == 0 ? std::string() : content_.textData(current_);
}

bool MarkupDocument::hasAttribute(std::string_view name) const {
    MarkupAttribute attribute;
    return findAttribute(currentTag(), name, attribute);
}

std::string MarkupDocument::attribute(std::string_view name) const {
    MarkupAttribute attribute;
    return findAttribute(currentTag(), name, attribute) ? attribute.value() : std::string();
}

AttributeReader MarkupDocument::attributes() const {
    return AttributeReader(currentTag());
}

std::string_view MarkupDocument::currentTag() const {
    if (current_ == 0) return {};
    if (current_ == root()) settle();
    return content_.startTag(current_);
}

bool MarkupDocument::addElement(std::string_view name, std::string_view text) {
    return tag_.set(name) && addTagged(tag_, text);
}

bool MarkupDocument::addQualified(const std::string& prefix, std::string_view localName,
                                  std::string_view text) {
    if (tags_ == nullptr) tags_ = std::make_unique<TagNames>();
    const TagName* const tag = tags_->get(prefix, localName);
    return tag != nullptr && addTagged(*tag, text);
}

bool MarkupDocument::addTagged(const TagName& tag, std::string_view text) {
    if (parent_ == 0 && root() != 0) return false;
    const IndexedText::Place place =
        current_ != 0 ? content_.openBehind(current_) : content_.openEndOf(parent_);
    current_ = content_.insertElement(place, tag, text);
    child_ = 0;
    return true;
}

bool MarkupDocument::insertElement(std::string_view name, std::string_view text) {
    const ElementIndex next = current_ != 0 ? current_ : content_.table()[parent_].child;
    if (next == 0) return addElement(name, text);
    if (parent_ == 0 || !tag_.set(name)) return false;
    current_ = content_.insertElement(content_.openBefore(next), tag_, text);
    child_ = 0;
    return true;
}

bool MarkupDocument::addChildElement(std::string_view name, std::string_view text) {
    if (current_ == 0 || !tag_.set(name)) return false;
    const IndexedText::Place place =
        child_ != 0 ? content_.openBehind(child_) : content_.openEndOf(current_);
    child_ = content_.insertElement(place, tag_, text);
    return true;
}

bool MarkupDocument::setAttribute(std::string_view name, std::string_view value) {
    if (current_ == 0 || !isMarkupName(name)) return false;
    if (current_ == root()) settle();
    if (DeclaredNamespaces::isDeclaration(name)) declarationsRead_ = false;
    markup_ = " ";
    markup_ += name;
    markup_ += "=\"";
    appendAttributeValue(markup_, value);
    markup_ += '"';
    return content_.setAttribute(current_, std::string_view(markup_).substr(1, name.size()),
                                 markup_);
}

bool MarkupDocument::setTextData(std::string_view text) {
    markup_.clear();
    appendContent(markup_, text);
    return setContent();
}

bool MarkupDocument::setCData(std::string_view text) {
    markup_.clear();
    appendCData(markup_, text);
    return setContent();
}

bool MarkupDocument::setContent() {
    if (current_ == 0 || content_.table()[current_].child != 0) return false;
    content_.setContent(current_, markup_);
    return true;
}

void MarkupDocument::readDeclarations() {
    settle();
    declared_.read(content_);
    declarationsRead_ = true;
}

bool MarkupDocument::declareOnRoot(std::string_view prefix, std::string_view uri) {
    if (root() == 0 || !canDeclareOnRoot(prefix, uri)) return false;
    declarations();
    rootDeclarations_ += DeclaredNamespaces::written(prefix, uri);
    declared_.add(prefix, uri);
    // A short text is moved now, so that a long one need not be at the end.
    if (content_.size() < kShortText) settle();
    return true;
}

bool MarkupDocument::canDeclareOnRoot(std::string_view prefix, std::string_view uri) const {
    // A root that is still to be added has its name at most, and that fits.
    const size_t tag = root() != 0 ? content_.startTag(root()).size() : ElementRecord::kMaxEndTag;
    const size_t length =
        tag + rootDeclarations_.size() + DeclaredNamespaces::written(prefix, uri).size();
    return length <= ElementRecord::kMaxStartTag;
}

const std::string& MarkupDocument::choosePrefix(std::string_view uri) {
    declarations();
    return declared_.choosePrefix(prefixes_, uri);
}

const IndexedText& MarkupDocument::index() const {
    text();
    return content_;
}

/// Writes the root's new declarations into the text.
void MarkupDocument::settle() const {
    if (rootDeclarations_.empty()) return;
    content_.appendAttributes(root(), std::exchange(rootDeclarations_, {}));
}

}  // namespace webdav
