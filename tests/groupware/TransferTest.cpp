#include <map>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "groupware/items/Transfer.h"
#include "tests/groupware/StoreDirectory.h"

using namespace groupware;

namespace {

class TransferTest : public ::testing::Test {
  protected:
    TransferTest() : engine_(store_.open()) {
        EXPECT_FALSE(addUser(*engine_, "a@example.test", "A", "secret"));
        EXPECT_FALSE(addUser(*engine_, "b@example.test", "B", "secret"));
    }
    FolderRow folder(const char* address, ItemKind kind) {
        const auto account = engine_->database().account(address);
        return *engine_->database().defaultFolder(account->id, kind);
    }
    std::vector<std::string> texts(const FolderRow& of) {
        std::vector<std::string> all;
        engine_->database().eachItem(of.key, [&](StoredItem&& item) { all.push_back(item.text); });
        return all;
    }

    StoreDirectory store_;
    std::unique_ptr<Engine> engine_;
};

const std::string kZone =
    "BEGIN:VTIMEZONE\nTZID:Z\nBEGIN:STANDARD\nDTSTART:19700101T000000\nTZOFFSETFROM:+0000\n"
    "TZOFFSETTO:+0000\nEND:STANDARD\nEND:VTIMEZONE\n";

TEST_F(TransferTest, AnExportImportedElsewhereGivesTheSameItems) {
    std::string events = "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nMETHOD:PUBLISH\r\n" + kZone;
    for (int i = 0; i < 450; ++i) {
        const std::string uid = "UID:e" + std::to_string(i) + "\r\n";
        events += "BEGIN:VEVENT\r\n" + uid +
                  "DTSTART;TZID=Z:20250101T100000\r\nX-A;B=\"c;d\":e\r\n f\r\n"
                  "BEGIN:VALARM\r\nTRIGGER:-PT5M\r\nEND:VALARM\r\nEND:VEVENT\r\n";
    }
    events +=
        "BEGIN:VEVENT\nUID:e7\nRECURRENCE-ID;TZID=Z:20250102T100000\n"
        "DTSTART;TZID=Z:20250102T110000\nEND:VEVENT\nBEGIN:VEVENT\nSUMMARY:no UID\n"
        "DTSTART:20250101T100000Z\nEND:VEVENT\nEND:VCALENDAR";
    const std::string cards =
        "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:c1\r\nPHOTO;ENCODING=b:QUJD\r\n REVG\r\nEND:VCARD\r\n"
        "BEGIN:VCARD\nVERSION:4.0\nFN:no UID\nEND:VCARD\n";
    const std::string tasks =
        "BEGIN:VCALENDAR\nBEGIN:VTODO\nSUMMARY:1\nEND:VTODO\nBEGIN:VTODO\nSUMMARY:2\nEND:VTODO\n"
        "BEGIN:VTODO\nUID:t\nDUE:20250101T100000\nEND:VTODO\nEND:VCALENDAR\n";
    const std::tuple<ItemKind, std::string, uint32_t, uint32_t, uint32_t> cases[] = {
        {ItemKind::kEvent, events, 451, 450, 1},
        {ItemKind::kContact, cards, 2, 2, 0},
        {ItemKind::kTask, tasks, 3, 3, 0},
    };
    for (const auto& [kind, text, found, imported, failed] : cases) {
        const FolderRow from = folder("a@example.test", kind);
        const FolderRow to = folder("b@example.test", kind);
        EXPECT_EQ(countItems(kind, text), found);
        uint32_t last = 0;
        const ImportCounts first =
            importItems(*engine_, from, text, [&](uint32_t done, uint32_t) { last = done; });
        EXPECT_EQ(first.found, found);
        EXPECT_EQ(first.imported, imported);
        EXPECT_EQ(first.failed, failed);
        EXPECT_EQ(last, found);
        const std::string exported = exportFolder(*engine_, from);
        EXPECT_EQ(importItems(*engine_, to, exported).imported, imported);
        EXPECT_EQ(exportFolder(*engine_, to), exported);
        EXPECT_EQ(texts(to).size(), imported);
    }
    EXPECT_NE(texts(folder("b@example.test", ItemKind::kEvent))[7].find("DTSTART;TZID=Z:20250102"),
              std::string::npos);
}

TEST_F(TransferTest, OnlyWhatDiffersIsStoredAgain) {
    const FolderRow into = folder("a@example.test", ItemKind::kContact);
    const std::string one = "BEGIN:VCARD\nUID:1\nFN:a\nEND:VCARD\n";
    const std::string two = "BEGIN:VCARD\nUID:2\nFN:b\nEND:VCARD\n";
    ASSERT_EQ(importItems(*engine_, into, one + two).imported, 2U);
    const auto before = engine_->database().items(into.key);
    const std::string changed = "BEGIN:VCARD\nUID:2\nFN:c\nEND:VCARD\n";
    EXPECT_EQ(importItems(*engine_, into, one + changed).imported, 1U);
    const auto after = engine_->database().items(into.key);
    ASSERT_EQ(after.size(), 2U);
    EXPECT_EQ(after[0].modifiedMs, before[0].modifiedMs);
    EXPECT_GT(after[1].modifiedMs, before[1].modifiedMs);
    EXPECT_EQ(after[1].identifier, before[1].identifier);
}

TEST_F(TransferTest, AContactThatOnlyItsUrlNamesComesBackUnderThatName) {
    const FolderRow own = folder("a@example.test", ItemKind::kContact);
    const std::string card = "BEGIN:VCARD\nVERSION:3.0\nFN:a\nEND:VCARD\n";
    const auto change = engine_->database().begin();
    change->insertItem(own.key, {"name", card, "identifier", {}});
    change->commit();
    const std::string exported = exportFolder(*engine_, own);
    EXPECT_EQ(importItems(*engine_, own, exported).imported, 0U);
    EXPECT_EQ(texts(own), std::vector{card});
    const FolderRow other = folder("b@example.test", ItemKind::kContact);
    EXPECT_EQ(importItems(*engine_, other, exported).imported, 1U);
    EXPECT_TRUE(engine_->database().begin()->itemNumber(other.key, "name"));
}

/// A zone of two fixed halves of the year, by its offset in summer.
std::string zone(const std::string& summer, const std::string& more = "") {
    return "BEGIN:VTIMEZONE\r\nTZID:Here\r\n" + more +
           "BEGIN:DAYLIGHT\r\nDTSTART:20000401T000000\r\nRRULE:FREQ=YEARLY\r\n"
           "TZOFFSETFROM:+0000\r\nTZOFFSETTO:" +
           summer +
           "\r\nEND:DAYLIGHT\r\n"
           "BEGIN:STANDARD\r\nDTSTART:20001001T000000\r\nRRULE:FREQ=YEARLY\r\n"
           "TZOFFSETFROM:" +
           summer +
           "\r\nTZOFFSETTO:+0000\r\nEND:STANDARD\r\n"
           "END:VTIMEZONE\r\n";
}

std::string zonedEvent(const std::string& zones, const std::string& uid, const std::string& start,
                       const std::string& more = "") {
    return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:client\r\nMETHOD:PUBLISH\r\n" + zones +
           "BEGIN:VEVENT\r\nUID:" + uid + "\r\nDTSTART;TZID=Here:" + start + "\r\n" + more +
           "END:VEVENT\r\nEND:VCALENDAR\r\n";
}

TEST_F(TransferTest, ZonesThatMoveAnEventDoNotStandTogether) {
    const struct {
        std::string uid, zones, start, more;
        size_t calendars;  ///< that an export takes together with the event of the first row
    } cases[] = {
        {"first", zone("+0230"), "20250601T100000", "", 1},
        {"other", zone("-0700"), "20250601T100000", "", 2},
        {"winter", zone("-0700"), "20250101T100000", "", 1},
        {"series", zone("-0700"), "20250101T100000", "RRULE:FREQ=DAILY\r\n", 2},
        {"exception", zone("-0700"), "20250101T100000", "EXDATE;TZID=Here:20250701T100000\r\n", 2},
        {"bare", "", "20250601T100000", "", 2},
        {"worded", zone("+0230", "X-A:b\r\n"), "20250601T100000", "RRULE:FREQ=DAILY\r\n", 1},
    };
    const auto starts = [&](const FolderRow& of) {
        std::map<std::string, int64_t> all;
        engine_->database().eachItem(
            of.key, [&](StoredItem&& item) { all[item.row.uid] = item.span.firstStartMs; });
        return all;
    };
    const FolderRow from = folder("a@example.test", ItemKind::kEvent);
    const FolderRow to = folder("b@example.test", ItemKind::kEvent);
    for (const auto& each : cases) {
        for (const auto& [uid, start] : starts(from)) {
            if (uid == "first") continue;
            const auto change = engine_->database().begin();
            change->deleteItem(from.key, *change->itemNumber(from.key, uid));
            change->commit();
        }
        importItems(*engine_, from, zonedEvent(each.zones, each.uid, each.start, each.more));
        const std::string exported = exportFolder(*engine_, from);
        size_t calendars = 0;
        for (size_t at = 0; (at = exported.find("BEGIN:VCALENDAR", at)) != std::string::npos;
             ++at) {
            ++calendars;
        }
        EXPECT_EQ(calendars, each.calendars) << each.uid;
        importItems(*engine_, to, exported);
        EXPECT_EQ(starts(to)[each.uid], starts(from)[each.uid]) << each.uid;
    }
}

TEST_F(TransferTest, AnItemAloneKeepsItsTextAndComesBackUnchanged) {
    const FolderRow into = folder("a@example.test", ItemKind::kEvent);
    const std::string one = zonedEvent(zone("+0200") + kZone, "one", "20250601T100000");
    const std::string two = zonedEvent(zone("+0200", "X-A:b\r\n"), "two", "20250601T100000");
    for (const std::string& text : {one, two}) {
        EXPECT_EQ(importItems(*engine_, into, text).imported, 1U);
    }
    EXPECT_EQ(texts(into), (std::vector<std::string>{one, two}));
    EXPECT_EQ(importItems(*engine_, into, exportFolder(*engine_, into)).imported, 0U);
    EXPECT_EQ(texts(into), (std::vector<std::string>{one, two}));
    // Another meaning of its zone is a change, and so is another line.
    EXPECT_EQ(
        importItems(*engine_, into, zonedEvent(zone("-0700"), "one", "20250601T100000")).imported,
        1U);
    EXPECT_EQ(importItems(*engine_, into,
                          zonedEvent(zone("+0200"), "two", "20250601T100000", "X-B:c\r\n"))
                  .imported,
              1U);
}

TEST_F(TransferTest, AnItemMayNameVeryManyZones) {
    const FolderRow into = folder("a@example.test", ItemKind::kEvent);
    std::string lines;
    std::string zones;
    for (int i = 0; i < 100'000; ++i) {
        const std::string name = "Z" + std::to_string(i);
        lines += "EXDATE;TZID=" + name + ":20250601T100000\r\n";
        zones += "BEGIN:VTIMEZONE\r\nTZID:" + name + "\r\nEND:VTIMEZONE\r\n";
    }
    const std::string text = zonedEvent(zones, "a", "20250601T100000", lines) +
                             zonedEvent(zones, "b", "20250601T100000", lines);
    EXPECT_EQ(importItems(*engine_, into, text).imported, 2U);
    EXPECT_NE(texts(into)[1].find("TZID:Z99999\r\n"), std::string::npos);
}

TEST_F(TransferTest, ATextThatCannotBeDividedIsRefusedWithAReason) {
    const FolderRow into = folder("a@example.test", ItemKind::kEvent);
    for (const char* text : {"", "x", "BEGIN:VCALENDAR\n", "BEGIN:VCARD\nEND:VCARD\n",
                             "BEGIN:VCALENDAR\nBEGIN:VEVENT\nUID:a\nEND:VCALENDAR\n"}) {
        const ImportCounts counts = importItems(*engine_, into, text);
        EXPECT_EQ(counts.found + counts.imported, 0U) << text;
        EXPECT_NE(counts.firstProblem.empty(), *text != '\0') << text;
    }
}

}  // namespace
