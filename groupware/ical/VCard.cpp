#include "groupware/ical/VCard.h"

#include <algorithm>
#include <array>
#include <vector>

#include "groupware/ical/AsciiText.h"
#include "groupware/ical/CalendarObject.h"
#include "groupware/ical/ContentLines.h"
#include "groupware/ical/TextEdit.h"

namespace groupware {

namespace {

using Step = ComponentReader::Step;

constexpr std::array<std::string_view, 4> kInlineProperties = {"PHOTO", "LOGO", "SOUND", "KEY"};

/// Media type that a TYPE value of an inline property stands for, and the reverse.
struct Media {
    std::string_view type;
    std::string_view media;
};
constexpr std::array kMedia = {
    Media{"JPEG", "image/jpeg"},
    Media{"JPG", "image/jpeg"},
    Media{"PNG", "image/png"},
    Media{"GIF", "image/gif"},
    Media{"BASIC", "audio/basic"},
    Media{"X509", "application/pkix-cert"},
    Media{"PGP", "application/pgp-keys"},
};

bool isInline(const ContentLine& line) {
    return std::ranges::any_of(kInlineProperties,
                               [&](std::string_view name) { return equalNames(name, line.name); });
}

std::string head(const ContentLine& line) {
    std::string text(line.group);
    if (!text.empty()) text += '.';
    return text.append(line.name);
}

void addParameter(std::string& text, std::string_view name, std::string_view value) {
    text.append(";").append(name).append(name.empty() ? "" : "=").append(value);
}

/// A line of version 3.0 as version 4.0 writes it.
std::string upgraded(const ContentLine& line) {
    std::string text = head(line);
    std::string_view rest = line.parameters;
    std::string_view name;
    std::string_view value;
    std::string_view media;
    bool encoded = false;
    while (cutParameter(rest, name, value)) {
        const bool type = equalNames(name, "TYPE");
        if (equalNames(name, "ENCODING")) {
            encoded = equalNames(value, "B") || equalNames(value, "BASE64");
        } else if (type && isInline(line)) {
            const auto known = std::ranges::find_if(
                kMedia, [&](const Media& each) { return equalNames(each.type, value); });
            if (known != kMedia.end()) media = known->media;
        } else if (type && equalNames(value, "PREF")) {
            addParameter(text, "PREF", "1");
        } else if (!equalNames(name, "CHARSET") &&
                   !(equalNames(name, "VALUE") && equalNames(value, "BINARY"))) {
            addParameter(text, name, value);
        }
    }
    if (!encoded) {
        if (!media.empty()) addParameter(text, "MEDIATYPE", media);
        return text.append(":").append(line.value);
    }
    text.append(":data:").append(media.empty() ? "application/octet-stream" : media);
    return text.append(";base64,").append(trimmed(line.value));
}

/// A line of version 4.0 as version 3.0 writes it.
std::string downgraded(const ContentLine& line) {
    std::string text = head(line);
    std::string_view rest = line.parameters;
    std::string_view name;
    std::string_view value;
    while (cutParameter(rest, name, value)) {
        if (equalNames(name, "PREF")) {
            addParameter(text, "TYPE", "PREF");
        } else if (!(isInline(line) && equalNames(name, "MEDIATYPE"))) {
            addParameter(text, name, value);
        }
    }
    constexpr std::string_view kBase64 = ";base64,";
    const size_t data = line.value.find(kBase64);
    if (!isInline(line) || !startsWithName(line.value, "data:") || data == std::string_view::npos) {
        return text.append(":").append(line.value);
    }
    addParameter(text, "ENCODING", "b");
    const std::string_view media = line.value.substr(5, data - 5);
    const auto known = std::ranges::find_if(
        kMedia, [&](const Media& each) { return equalNames(each.media, media); });
    if (known != kMedia.end()) addParameter(text, "TYPE", known->type);
    return text.append(":").append(line.value.substr(data + kBase64.size()));
}

}  // namespace

std::optional<VCard> VCard::parse(std::string_view text, std::string& problem) {
    std::optional<VCard> card;
    ComponentReader reader(text);
    for (Step step = reader.next(); step != Step::kFinished; step = reader.next()) {
        if (step == Step::kProblem) problem = reader.problem();
        if (step != Step::kProblem && reader.component(0) != "VCARD") {
            problem = "this is no VCARD";
        } else if (step == Step::kBegin && reader.depth() == 1) {
            if (card) problem = "the text holds more than one vCard";
            card.emplace();
        }
        if (!problem.empty()) return std::nullopt;
        if (step != Step::kProperty || reader.depth() != 1) continue;
        if (reader.line().is("UID")) card->uid = trimmed(reader.line().value);
        if (reader.line().is("VERSION")) card->version = trimmed(reader.line().value);
    }
    if (!card) problem = "there is no vCard in the text";
    if (card && !isGoodUid(card->uid)) problem = "a UID is too long or holds control characters";
    if (!problem.empty()) return std::nullopt;
    return card;
}

std::string vCardAs(std::string_view text, std::string_view version) {
    std::string problem;
    const auto card = VCard::parse(text, problem);
    if (!card || card->version == version) return std::string(text);
    std::string result;
    result.reserve(text.size() + text.size() / 16);
    LineReader lines(text);
    while (lines.next()) {
        const ContentLine& line = lines.line();
        const std::string_view own = text.substr(line.begin, line.end - line.begin);
        if (line.is("VERSION")) {
            result += foldedLine("VERSION:" + std::string(version), "\r\n");
            continue;
        }
        std::string changed = version == "4.0" ? upgraded(line) : downgraded(line);
        result += changed == wholeLine(line) ? std::string(own) : foldedLine(changed, "\r\n");
    }
    return result;
}

}  // namespace groupware
