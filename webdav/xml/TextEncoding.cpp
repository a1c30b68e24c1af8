#include "webdav/xml/TextEncoding.h"

#include <algorithm>
#include <utility>

#include "platform/CodePage.h"
#include "webdav/base/Text.h"
#include "webdav/xml/CharsetNames.h"
#include "webdav/xml/DeclaredEncoding.h"

namespace webdav {

namespace {

constexpr std::string_view kRead = "read";
constexpr std::string_view kWrite = "write";
constexpr std::string_view kUtf8 = "UTF-8";
constexpr std::string_view kSystem = "ANSI";

struct Mark {
    uint32_t codePage;
    std::string_view encoding;
    std::string_view bytes;
};

constexpr Mark kMarks[] = {
    {platform::kCodePageUtf8, kUtf8, "\xEF\xBB\xBF"},
    {platform::kCodePageUtf16, "UTF-16LE", "\xFF\xFE"},
    {platform::kCodePageUtf16BigEndian, "UTF-16BE", "\xFE\xFF"},
};

uint32_t count(size_t number) {
    return static_cast<uint32_t>(number);
}

/// Converts and tells what that came to. In a code page that the system does not know only what is
/// UTF-8 is left.
std::string toUtf8(uint32_t codePage, std::string_view bytes, MarkupResults& results) {
    std::optional<platform::ConvertedText> converted = platform::codePageToUtf8(codePage, bytes);
    if (!converted) converted = platform::codePageToUtf8(platform::kCodePageUtf8, bytes);
    results.add("converted_to",
                {.msg = kRead, .encoding = kUtf8, .length = count(converted->text.size())});
    if (converted->lost > 0) {
        results.add("conversion_loss", {.msg = kRead, .count = count(converted->lost)});
    }
    return std::move(converted->text);
}

void removeNulls(std::string& text, MarkupResults& results) {
    const size_t nulls = std::erase(text, '\0');
    if (nulls > 0) results.add("nulls_removed", {.msg = kRead, .count = count(nulls)});
}

std::string decodeMarked(const Mark& mark, std::string bytes, MarkupResults& results) {
    results.add("bom",
                {.msg = kRead, .encoding = mark.encoding, .length = count(mark.bytes.size())});
    bytes.erase(0, mark.bytes.size());
    if (mark.codePage == platform::kCodePageUtf8) {
        removeNulls(bytes, results);
        return IsValidUtf8(bytes) ? bytes : toUtf8(mark.codePage, bytes, results);
    }
    if (bytes.size() % 2 != 0) {
        bytes.pop_back();
        results.add("truncation_error", {.msg = kRead, .length = 1});
    }
    if (mark.codePage == platform::kCodePageUtf16BigEndian) {
        results.add("endian_swap", {.msg = kRead, .encoding = mark.encoding});
    }
    std::string text = toUtf8(mark.codePage, bytes, results);
    removeNulls(text, results);
    return text;
}

/// The code page that a text without a mark declares, if that can be: its declaration was read byte
/// by byte, so the units of the text are bytes.
std::optional<uint32_t> declaredCodePage(std::string_view encoding) {
    constexpr uint32_t kOfWiderUnits[] = {
        platform::kCodePageUtf16, platform::kCodePageUtf16BigEndian, platform::kCodePageUtf32,
        platform::kCodePageUtf32BigEndian};
    const std::optional<uint32_t> codePage = codePageOfCharset(encoding);
    if (codePage && std::ranges::find(kOfWiderUnits, *codePage) != std::end(kOfWiderUnits)) {
        return std::nullopt;
    }
    return codePage;
}

std::string decodeUnmarked(std::string bytes, MarkupResults& results) {
    removeNulls(bytes, results);
    if (IsValidUtf8(bytes)) {
        results.add("utf8_detection", {.msg = kRead, .encoding = kUtf8});
        return bytes;
    }
    const std::string declared = declaredEncoding(bytes);
    const std::optional<uint32_t> codePage = declaredCodePage(declared);
    results.add("utf8_detection", {.msg = kRead, .encoding = codePage ? declared : kSystem});
    return toUtf8(codePage.value_or(platform::systemCodePage()), bytes, results);
}

/// The code page to write in, or nothing for a name that is unknown.
std::optional<uint32_t> codePageToWrite(std::string_view text, std::string_view encoding) {
    if (encoding.empty()) {
        return codePageOfCharset(declaredEncoding(text)).value_or(platform::kCodePageUtf8);
    }
    if (EqualsNoCase(encoding, kSystem)) return platform::systemCodePage();
    return codePageOfCharset(encoding);
}

/// Converts a text that is to be written and tells what that came to.
std::optional<std::string> fromUtf8(uint32_t codePage, std::string_view text,
                                    MarkupResults& results) {
    if (codePage == platform::kCodePageUtf8) return std::string(text);
    std::optional<platform::ConvertedText> converted = platform::utf8ToCodePage(codePage, text);
    if (!converted) return std::nullopt;
    results.add("converted_from",
                {.msg = kWrite, .encoding = kUtf8, .length = count(converted->text.size())});
    if (converted->lost > 0) {
        results.add("conversion_loss", {.msg = kWrite, .count = count(converted->lost)});
    }
    if (codePage == platform::kCodePageUtf16BigEndian) {
        results.add("endian_swap", {.msg = kWrite, .encoding = "UTF-16BE"});
    }
    return std::move(converted->text);
}

}  // namespace

std::string decodeText(std::string bytes, MarkupResults& results) {
    for (const Mark& mark : kMarks) {
        if (bytes.starts_with(mark.bytes)) return decodeMarked(mark, std::move(bytes), results);
    }
    return decodeUnmarked(std::move(bytes), results);
}

std::optional<std::string> encodeText(std::string_view text, const SaveOptions& options,
                                      MarkupResults& results) {
    const std::optional<uint32_t> codePage = codePageToWrite(text, options.encoding);
    if (!codePage) return std::nullopt;
    std::optional<std::string> bytes = fromUtf8(*codePage, text, results);
    const auto* mark = std::ranges::find(kMarks, *codePage, &Mark::codePage);
    if (bytes && options.mark && mark != std::end(kMarks)) {
        bytes->insert(0, mark->bytes);
        results.add(
            "bom",
            {.msg = kWrite, .encoding = mark->encoding, .length = count(mark->bytes.size())});
    }
    return bytes;
}

}  // namespace webdav
