#include "groupware/items/Transfer.h"
#include "tests/groupware/CVCalendarFixture.h"
#include "tests/groupware/OddEvents.h"

namespace groupware {
namespace {

/// Every way to tell the time with every other oddity.
constexpr size_t kCombinations = std::size(kOddTimes) * std::size(kOddLines);

using OddEvents = CVCalendarFixture;

TEST_F(OddEvents, ComeBackAsTheyWerePut) {
    for (size_t i = 0; i < kCombinations; ++i) {
        const std::string text = oddCalendar(i, i % 7 == 0 ? "\r" : i % 2 == 0 ? "\r\n" : "\n");
        put(text);
        EXPECT_EQ(get("odd-" + std::to_string(i) + "@\xC3\xA4"), text);
        if (HasFailure()) return;
    }
}

TEST_F(OddEvents, SurviveExportAndImport) {
    constexpr size_t kEvents = 10'000;
    std::string all = "BEGIN:VCALENDAR\r\nVERSION:2.0\r\n" + oddZone("\r\n");
    for (size_t i = 0; i < kEvents; ++i) all += oddEvent(i, i % 2 == 0 ? "\r\n" : "\n");
    all += "END:VCALENDAR\r\n";
    const FolderRow first = *folderOf(ItemKind::kEvent);
    EXPECT_FALSE(addFolder(*engine_, kActor, ItemKind::kEvent, "Second"));
    const FolderRow second = *engine_->database().folder(first.key.account, "Second");

    const ImportCounts counts = importItems(*engine_, first, all);
    EXPECT_EQ(counts.imported, kEvents) << counts.firstProblem;
    const std::string text = exportFolder(*engine_, first);
    EXPECT_EQ(importItems(*engine_, second, text).imported, kEvents);
    EXPECT_TRUE(exportFolder(*engine_, second) == text);
    EXPECT_EQ(importItems(*engine_, first, text).imported, 0U);
    EXPECT_EQ(importItems(*engine_, first, all).imported, 0U);
    for (size_t i = 0; i < kEvents; i += 997) {
        const std::string event = oddEvent(i, i % 2 == 0 ? "\r\n" : "\n");
        EXPECT_NE(get("odd-" + std::to_string(i) + "@\xC3\xA4").find(event), std::string::npos);
    }
}

TEST_F(OddEvents, WhatIsNoTextIsRefused) {
    const FolderRow folder = *folderOf(ItemKind::kEvent);
    std::string text = oddCalendar(0, "\r\n");
    text.insert(text.find("SUMMARY"), 1, '\0');
    EXPECT_EQ(importItems(*engine_, folder, text).firstProblem, "the text holds a NUL");
}

}  // namespace
}  // namespace groupware
