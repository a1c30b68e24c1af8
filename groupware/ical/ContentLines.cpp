#include "groupware/ical/ContentLines.h"

#include "groupware/ical/AsciiText.h"

namespace groupware {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::string_view withoutLineEnd(std::string_view line) {
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.remove_suffix(1);
    return line;
}

/// False when no parameter has that name, which mostly spares cutting the list: the name stands
/// before no "=" at all.
bool mayHold(std::string_view parameters, std::string_view name) {
    for (size_t equals = 0; (equals = parameters.find('=', equals)) != parameters.npos; ++equals) {
        // Not those in front as well: they would be looked at for each "=" anew.
        const std::string_view before = withoutBlanksBehind(parameters.substr(0, equals));
        if (before.size() < name.size()) continue;
        if (equalNames(before.substr(before.size() - name.size()), name)) return true;
    }
    return false;
}

}  // namespace

char lineEndIn(std::string_view text) {
    const bool lineFeeds = text.find('\n') != std::string_view::npos;
    return lineFeeds || text.find('\r') == std::string_view::npos ? '\n' : '\r';
}

std::string_view lineBreakOf(std::string_view text, const ContentLine& line) {
    const std::string_view bytes = text.substr(line.begin, line.end - line.begin);
    if (bytes.ends_with("\r\n")) return "\r\n";
    return bytes.ends_with('\r') ? "\r" : "\n";
}

size_t findUnquoted(std::string_view text, char wanted) {
    constexpr size_t kNone = std::string_view::npos;
    size_t found = text.find(wanted);
    size_t from = 0;  // no quote is open there
    while (found != kNone) {
        const size_t opening = text.substr(0, found).find('"', from);
        if (opening == kNone) return found;
        const size_t closing = text.find('"', opening + 1);
        if (closing == kNone) return kNone;
        from = closing + 1;
        if (found < from) found = text.find(wanted, from);
    }
    return kNone;
}

bool cutParameter(std::string_view& parameters, std::string_view& name, std::string_view& value) {
    if (parameters.empty()) return false;
    const size_t end = findUnquoted(parameters, ';');
    const std::string_view one = parameters.substr(0, end);
    parameters = end == std::string_view::npos ? std::string_view{} : parameters.substr(end + 1);
    const size_t equals = one.find('=');
    name = equals == std::string_view::npos ? std::string_view{} : trimmed(one.substr(0, equals));
    value = equals == std::string_view::npos ? one : one.substr(equals + 1);
    return true;
}

bool ContentLine::is(std::string_view otherName) const {
    return group.empty() && equalNames(name, otherName);
}

std::optional<std::string_view> ContentLine::parameter(std::string_view otherName) const {
    if (!mayHold(parameters, otherName)) return std::nullopt;
    std::string_view rest = parameters;
    std::string_view key;
    std::string_view text;
    while (cutParameter(rest, key, text)) {
        if (!equalNames(key, otherName)) continue;
        text = trimmed(text);
        if (text.size() >= 2 && text.front() == '"' && text.back() == '"') {
            text = trimmed(text.substr(1, text.size() - 2));
        }
        return text;
    }
    return std::nullopt;
}

std::string wholeLine(const ContentLine& line) {
    std::string text(line.group);
    if (!text.empty()) text += '.';
    text.append(line.name);
    if (!line.parameters.empty()) text.append(";").append(line.parameters);
    return text.append(":").append(line.value);
}

std::string unescaped(std::string_view value) {
    std::string text;
    for (size_t i = 0; i < value.size(); ++i) {
        const bool escape = value[i] == '\\' && i + 1 < value.size();
        if (escape) ++i;
        text += escape && asciiUpper(value[i]) == 'N' ? '\n' : value[i];
    }
    return text;
}

LineReader::LineReader(std::string_view text) : text_(text), lineEnd_(lineEndIn(text)) {
    if (text_.starts_with(kByteOrderMark)) position_ = kByteOrderMark.size();
}

bool LineReader::next() {
    while (position_ < text_.size()) {
        line_ = {};
        line_.begin = position_;
        const std::string_view whole = unfold();
        line_.end = position_;
        if (trimmed(whole).empty()) continue;
        divide(whole);
        return true;
    }
    return false;
}

/// Moves behind the line and its folds. A line without folds is handed out where it stands.
std::string_view LineReader::unfold() {
    std::string_view first;
    bool folded = false;
    do {
        const size_t last = text_.find(lineEnd_, position_);
        const size_t end = last == std::string_view::npos ? text_.size() : last + 1;
        std::string_view part = withoutLineEnd(text_.substr(position_, end - position_));
        if (position_ == line_.begin) {
            first = part;
        } else {
            if (!folded) unfolded_.assign(first);
            folded = true;
            if (!part.empty()) unfolded_.append(part.substr(1));
        }
        position_ = end;
    } while (position_ < text_.size() && (text_[position_] == ' ' || text_[position_] == '\t'));
    return folded ? std::string_view(unfolded_) : first;
}

void LineReader::divide(std::string_view whole) {
    // Programs that join files leave marks at the beginnings of lines.
    if (whole.starts_with(kByteOrderMark)) whole.remove_prefix(kByteOrderMark.size());
    size_t colon = findUnquoted(whole, ':');
    // A quote that is never closed must not hide the value.
    if (colon == std::string_view::npos) colon = whole.find(':');
    if (colon == std::string_view::npos) return;
    std::string_view head = whole.substr(0, colon);
    line_.value = whole.substr(colon + 1);
    line_.name = cutFirst(head, ';');
    line_.parameters = head;
    if (const size_t dot = line_.name.find('.'); dot != std::string_view::npos) {
        line_.group = line_.name.substr(0, dot);
        line_.name.remove_prefix(dot + 1);
    }
    line_.name = trimmed(line_.name);
}

ComponentReader::Step ComponentReader::next() {
    if (!problem_.empty()) return Step::kProblem;
    if (ended_) --depth_;
    ended_ = false;
    while (lines_.next()) {
        if (line().is("BEGIN")) return begin();
        if (line().is("END")) return end();
        if (depth_ > 0) return Step::kProperty;
        stray_ = true;
    }
    if (depth_ > 0) return fail("the text ends before END:" + open_[depth_ - 1]);
    if (stray_ && !begun_) return fail("there is no line BEGIN in the text");
    return Step::kFinished;
}

ComponentReader::Step ComponentReader::begin() {
    if (depth_ == kMaxComponentDepth) return fail("components are nested too deeply");
    begun_ = true;
    open_[depth_++] = upperName(trimmed(line().value));
    return Step::kBegin;
}

ComponentReader::Step ComponentReader::end() {
    const std::string_view name = trimmed(line().value);
    if (depth_ == 0 || !equalNames(name, open_[depth_ - 1])) {
        return fail("END without its BEGIN: " + std::string(name.substr(0, 64)));
    }
    ended_ = true;
    return Step::kEnd;
}

ComponentReader::Step ComponentReader::fail(std::string problem) {
    problem_ = std::move(problem);
    return Step::kProblem;
}

}  // namespace groupware
