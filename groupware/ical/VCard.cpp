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

/// Properties that version 3.0 has under names that clients made up.
struct Renamed {
    std::string_view three;
    std::string_view four;
};
constexpr std::array kRenamed = {
    Renamed{"X-ADDRESSBOOKSERVER-KIND", "KIND"},
    Renamed{"X-ADDRESSBOOKSERVER-MEMBER", "MEMBER"},
};

/// The line's group and its name in the other version.
std::string head(const ContentLine& line, std::string_view Renamed::*from,
                 std::string_view Renamed::*to) {
    std::string text(line.group);
    if (!text.empty()) text += '.';
    const auto renamed = std::ranges::find_if(
        kRenamed, [&](const Renamed& each) { return equalNames(each.*from, line.name); });
    return text.append(renamed == kRenamed.end() ? line.name : (*renamed).*to);
}

/// The media type that a TYPE value stands for; pictures are told by what they are alone.
std::string mediaOf(const ContentLine& line, std::string_view type) {
    const auto known = std::ranges::find_if(
        kMedia, [&](const Media& each) { return equalNames(each.type, type); });
    if (known != kMedia.end()) return std::string(known->media);
    const bool picture = equalNames(line.name, "PHOTO") || equalNames(line.name, "LOGO");
    return picture && !type.empty() ? "image/" + lowerName(type) : std::string();
}

std::string typeOf(std::string_view media) {
    const auto known = std::ranges::find_if(
        kMedia, [&](const Media& each) { return equalNames(each.media, media); });
    if (known != kMedia.end()) return std::string(known->type);
    return media.starts_with("image/") ? upperName(media.substr(6)) : std::string();
}

/// Cuts PREF out of a list of types; true when it was there.
bool cutPreference(std::string_view list, std::string& others) {
    const bool quoted = list.size() >= 2 && list.front() == '"' && list.back() == '"';
    if (quoted) list = list.substr(1, list.size() - 2);
    bool preferred = false;
    while (!list.empty()) {
        const std::string_view type = cutFirst(list, ',');
        if (equalNames(trimmed(type), "PREF")) {
            preferred = true;
        } else {
            others.append(others.empty() ? "" : ",").append(type);
        }
    }
    if (quoted && others.find(',') != std::string::npos) others = '"' + others + '"';
    return preferred;
}

void addParameter(std::string& text, std::string_view name, std::string_view value) {
    text.append(";").append(name).append(name.empty() ? "" : "=").append(value);
}

/// A line of version 3.0 as version 4.0 writes it.
std::string upgraded(const ContentLine& line) {
    std::string text = head(line, &Renamed::three, &Renamed::four);
    std::string_view rest = line.parameters;
    std::string_view name;
    std::string_view value;
    std::string media;
    bool encoded = false;
    while (cutParameter(rest, name, value)) {
        const bool type = equalNames(name, "TYPE");
        if (equalNames(name, "ENCODING")) {
            encoded = equalNames(value, "B") || equalNames(value, "BASE64");
        } else if (type && isInline(line)) {
            media = mediaOf(line, value);
        } else if (std::string others; type && cutPreference(value, others)) {
            if (!others.empty()) addParameter(text, "TYPE", others);
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
    if (media.empty()) media = "application/octet-stream";
    text.append(":data:").append(media);
    return text.append(";base64,").append(trimmed(line.value));
}

/// Types in quotes, which version 3.0 would read as one.
std::string_view unquotedTypes(std::string_view name, std::string_view value) {
    const bool quoted = value.size() >= 2 && value.front() == '"' && value.back() == '"';
    if (!quoted || !equalNames(name, "TYPE")) return value;
    const std::string_view types = value.substr(1, value.size() - 2);
    return types.find_first_of(":;") == std::string_view::npos ? types : value;
}

/// A line of version 4.0 as version 3.0 writes it.
std::string downgraded(const ContentLine& line) {
    constexpr std::string_view kPhone = "tel:";
    constexpr std::string_view kBase64 = ";base64,";
    const bool phone = equalNames(line.name, "TEL") && startsWithName(line.value, kPhone);
    const size_t data = line.value.find(kBase64);
    const bool encoded =
        isInline(line) && startsWithName(line.value, "data:") && data != std::string_view::npos;
    std::string text = head(line, &Renamed::four, &Renamed::three);
    std::string_view rest = line.parameters;
    std::string_view name;
    std::string_view value;
    while (cutParameter(rest, name, value)) {
        if (equalNames(name, "PREF")) {
            if (value == "1") addParameter(text, "TYPE", "PREF");
        } else if ((phone || encoded) && equalNames(name, "VALUE")) {
            continue;
        } else if (!(isInline(line) && equalNames(name, "MEDIATYPE"))) {
            addParameter(text, name, unquotedTypes(name, value));
        }
    }
    if (!encoded) {
        return text.append(":").append(line.value.substr(phone ? kPhone.size() : 0));
    }
    addParameter(text, "ENCODING", "b");
    const std::string type = typeOf(line.value.substr(5, data - 5));
    if (!type.empty()) addParameter(text, "TYPE", type);
    return text.append(":").append(line.value.substr(data + kBase64.size()));
}

}  // namespace

std::optional<VCard> VCard::parse(std::string_view text, std::string& problem) {
    problem.clear();
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
        if (equalNames(reader.line().name, "N")) card->hasName = true;
        if (equalNames(reader.line().name, "FN")) card->fullName = trimmed(reader.line().value);
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
    const bool known = card && (card->version == "3.0" || card->version == "4.0");
    if (!known || card->version == version) return std::string(text);
    std::string result;
    result.reserve(text.size() + text.size() / 16);
    LineReader lines(text);
    while (lines.next()) {
        const ContentLine& line = lines.line();
        const std::string_view own = text.substr(line.begin, line.end - line.begin);
        const std::string_view lineBreak = lineBreakOf(text, line);
        if (line.is("VERSION")) {
            result += foldedLine("VERSION:" + std::string(version), lineBreak);
            // Version 3.0 knows no card without a name in parts.
            if (version == "3.0" && !card->hasName) {
                result += foldedLine("N:" + card->fullName + ";;;;", lineBreak);
            }
            continue;
        }
        std::string changed = version == "4.0" ? upgraded(line) : downgraded(line);
        result += changed == wholeLine(line) ? std::string(own) : foldedLine(changed, lineBreak);
    }
    return result;
}

}  // namespace groupware
