#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "groupware/ical/ContentLines.h"
#include "groupware/ical/TextEdit.h"
#include "groupware/ical/VCard.h"

namespace groupware {
namespace {

TEST(IcalText, LinesAreReadAsClientsWriteThem) {
    const std::string text =
        "\xEF\xBB\xBF"
        "item1.EMAIL;TYPE=a;Type=\"x;y:z\" ; CN = b :mail\r\n"
        "FOLDED:one\r\n two\n\tthree\r\n"
        "\r\n   \r\n"
        "NOCOLON\n"
        "QUOTE;P=\"open:value:rest\n"
        "LAST:";
    LineReader reader(text);
    std::string lines;
    while (reader.next()) {
        const ContentLine& line = reader.line();
        (lines += line.group) += '.';
        ((lines += line.name) += '=') += line.value;
        lines += '|';
        if (line.group == "item1") {
            EXPECT_EQ(line.parameter("type"), "a");
            EXPECT_EQ(line.parameter("cn"), "b");
            EXPECT_FALSE(line.parameter("x"));
        }
        if (line.name == "FOLDED") {
            EXPECT_EQ(text.substr(line.begin, line.end - line.begin),
                      "FOLDED:one\r\n two\n\tthree\r\n");
        }
    }
    EXPECT_EQ(lines, "item1.EMAIL=mail|.FOLDED=onetwothree|.=|.QUOTE=value:rest|.LAST=|");
}

TEST(IcalText, BlanksAndEqualSignsAreNoThicket) {
    constexpr size_t kMany = 300'000;
    const std::string text = "DTSTART;X;" + std::string(kMany, ' ') + std::string(kMany, '=') +
                             ";TZID = a:20250101T000000\n";
    LineReader reader(text);
    ASSERT_TRUE(reader.next());
    for (int i = 0; i < 100; ++i) EXPECT_FALSE(reader.line().parameter("VALUE"));
    EXPECT_EQ(reader.line().parameter("TZID"), "a");
}

TEST(IcalText, ComponentsMustCloseInOrder) {
    const auto problem = [](const std::string& text) {
        ComponentReader reader(text);
        auto step = reader.next();
        while (step != ComponentReader::Step::kFinished &&
               step != ComponentReader::Step::kProblem) {
            step = reader.next();
        }
        return reader.problem();
    };
    EXPECT_EQ(problem("begin:vcalendar\nX:1\nBEGIN:A\nEND:a \nEND:VCALENDAR"), "");
    EXPECT_NE(problem("BEGIN:A\nEND:B\n"), "");
    EXPECT_NE(problem("BEGIN:A\nBEGIN:B\nEND:B\n"), "");
    EXPECT_NE(problem("END:A\n"), "");
    EXPECT_EQ(problem("\xEF\xBB\xBFX:1\n\n\xEF\xBB\xBF"
                      "BEGIN:A\nEND:A\nX:1\n"),
              "");
    EXPECT_NE(problem("X:1\n"), "");
    EXPECT_NE(problem("BEGIN:A\nEND:A\nEND:A\n"), "");
    std::string deep;
    for (int i = 0; i < 17; ++i) deep += "BEGIN:A\n";
    EXPECT_NE(problem(deep), "");
}

TEST(IcalText, EditsTouchOneProperty) {
    const std::string card = "BEGIN:VCARD\nVERSION:3.0\nFN:x\nEND:VCARD";
    EXPECT_EQ(withUid(ItemKind::kContact, card, "u"),
              "BEGIN:VCARD\nVERSION:3.0\nUID:u\nFN:x\nEND:VCARD");
    const std::string tasks =
        "BEGIN:VCALENDAR\r\nBEGIN:VTODO\r\nuid:ol\r\n "
        "d\r\nX-UID:old\r\nBEGIN:VALARM\r\nUID:alarm\r\n"
        "END:VALARM\r\nEND:VTODO\r\nBEGIN:VTODO\r\nSUMMARY:s\r\nEND:VTODO\r\nEND:VCALENDAR\r\n";
    EXPECT_EQ(
        withUid(ItemKind::kTask, tasks, "new"),
        "BEGIN:VCALENDAR\r\nBEGIN:VTODO\r\nUID:new\r\nX-UID:old\r\nBEGIN:VALARM\r\nUID:alarm\r\n"
        "END:VALARM\r\nEND:VTODO\r\nBEGIN:VTODO\r\nUID:new\r\nSUMMARY:s\r\nEND:VTODO\r\n"
        "END:VCALENDAR\r\n");
    const std::string done = withCompletion(tasks, 1, {2025, 6, 0, 1, 2, 3, 4, 0});
    EXPECT_NE(done.find("BEGIN:VTODO\r\nSTATUS:COMPLETED\r\nPERCENT-COMPLETE:100\r\n"
                        "COMPLETED:20250601T020304Z\r\nSUMMARY:s\r\n"),
              std::string::npos)
        << done;
    EXPECT_EQ(done.find("STATUS"), done.rfind("STATUS"));
    const auto answered = [](const std::string& parameters) {
        return withParticipation("BEGIN:VCALENDAR\nBEGIN:VEVENT\nATTENDEE" + parameters +
                                     ":mailto:a@b\nEND:VEVENT\nEND:VCALENDAR\n",
                                 0, "A@b", "DECLINED");
    };
    EXPECT_EQ(answered(";partstat=X;CN=\"a;b\";plain"),
              "BEGIN:VCALENDAR\nBEGIN:VEVENT\nATTENDEE;partstat=DECLINED;CN=\"a;b\";plain"
              ":mailto:a@b\nEND:VEVENT\nEND:VCALENDAR\n");
    EXPECT_EQ(answered(""), answered(";PARTSTAT=X"));
    EXPECT_EQ(foldedLine(std::string(74, 'a') + "\xC3\xA4" + std::string(80, 'b'), "\n"),
              std::string(74, 'a') + "\n \xC3\xA4" + std::string(72, 'b') + "\n " +
                  std::string(8, 'b') + "\n");
}

TEST(IcalText, OnlyLinesFoldedWithinACharacterAreFoldedAnew) {
    const std::string a70(70, 'a');
    const struct {
        std::string text, whole;
    } cases[] = {
        {"A:b\n c\n\xC3\xA4:\n d", "A:b\n c\n\xC3\xA4:\n d"},
        {"A:b\r\n c\r\nB:\xF0\x9F\r\n \x98\r\n\t\x80\r\n x\r\nC:d",
         "A:b\r\n c\r\nB:\xF0\x9F\x98\x80x\r\nC:d"},
        {"A:" + a70 +
             "xx\xC3\n \xA4"
             "b\n",
         "A:" + a70 + "xx\n \xC3\xA4" + "b\n"},
        {"A:\xE4\n b\nB:\xC3\n \xA4\n", "A:\xE4\n b\nB:\xC3\xA4\n"},
        {"A:\xED\xA0\n \x80\n", "A:\xED\xA0\n \x80\n"},
        {"A:" + a70 + "\xC3\xA4\n \xC0\x80\n", "A:" + a70 + "\xC3\xA4\n \xC0\x80\n"},
    };
    for (const auto& each : cases) EXPECT_EQ(withWholeCharacters(each.text), each.whole);
}

TEST(IcalText, VCardsChangeTheirVersionAndNothingElse) {
    // Version 3.0, version 4.0, and what comes back from there.
    const std::array<std::string, 3> lines[] = {
        {"N:a;b", "N:a;b", "N:a;b"},
        {"item1.X-ABLABEL:odd", "item1.X-ABLABEL:odd", "item1.X-ABLABEL:odd"},
        {"TEL;TYPE=HOME,VOICE;TYPE=PREF:1", "TEL;TYPE=HOME,VOICE;PREF=1:1",
         "TEL;TYPE=HOME,VOICE;TYPE=PREF:1"},
        {"PHOTO;ENCODING=b;TYPE=JPEG:QUJD", "PHOTO:data:image/jpeg;base64,QUJD",
         "PHOTO;ENCODING=b;TYPE=JPEG:QUJD"},
        {"NOTE;CHARSET=UTF-8:n", "NOTE:n", "NOTE:n"},
        {"item1.TEL;TYPE=\"home,pref\":1", "item1.TEL;TYPE=home;PREF=1:1",
         "item1.TEL;TYPE=home;TYPE=PREF:1"},
        {"X-ADDRESSBOOKSERVER-KIND:group", "KIND:group", "X-ADDRESSBOOKSERVER-KIND:group"},
        {"X-ADDRESSBOOKSERVER-MEMBER:urn:uuid:1", "MEMBER:urn:uuid:1",
         "X-ADDRESSBOOKSERVER-MEMBER:urn:uuid:1"},
        {"PHOTO;ENCODING=BASE64;TYPE=WEBP:QUJD", "PHOTO:data:image/webp;base64,QUJD",
         "PHOTO;ENCODING=b;TYPE=WEBP:QUJD"},
        {"LOGO;VALUE=uri;TYPE=PNG:http://x", "LOGO;VALUE=uri;MEDIATYPE=image/png:http://x",
         "LOGO;VALUE=uri:http://x"},
        {"KEY;ENCODING=b:QQ==", "KEY:data:application/octet-stream;base64,QQ==",
         "KEY;ENCODING=b:QQ=="},
    };
    const auto card = [](const std::string& version, const std::string& line) {
        return "BEGIN:VCARD\r\nVERSION:" + version + "\r\n" + line + "\r\nN:x\r\nEND:VCARD\r\n";
    };
    for (const auto& [older, newer, back] : lines) {
        EXPECT_EQ(vCardAs(card("3.0", older), "4.0"), card("4.0", newer));
        EXPECT_EQ(vCardAs(card("4.0", newer), "3.0"), card("3.0", back));
        EXPECT_EQ(vCardAs(card("2.1", older), "3.0"), card("2.1", older));
        EXPECT_EQ(vCardAs(card("3.0", older), "3.0"), card("3.0", older));
    }
    EXPECT_EQ(vCardAs("BEGIN:VCARD\nVERSION:4.0\nFN:A B\nTEL;VALUE=uri;PREF=2:tel:+1\nEND:VCARD\n",
                      "3.0"),
              "BEGIN:VCARD\nVERSION:3.0\nN:A B;;;;\nFN:A B\nTEL:+1\nEND:VCARD\n");
    const std::string carriageReturns =
        "BEGIN:VCARD\rVERSION:4.0\rN:a;b\rTEL;PREF=1:1\rEND:VCARD\r";
    EXPECT_EQ(vCardAs(vCardAs(carriageReturns, "3.0"), "4.0"), carriageReturns);
    // What only version 4.0 writes so.
    for (const auto& [newer, older] : {
             std::pair{"PHOTO;VALUE=uri:data:image/png;base64,QQ==",
                       "PHOTO;ENCODING=b;TYPE=PNG:QQ=="},
             std::pair{"TEL;VALUE=uri;TYPE=\"voice,home\":tel:+1", "TEL;TYPE=voice,home:+1"},
             std::pair{"NOTE;TYPE=\"a:b\";X-A=\"c,d\":n", "NOTE;TYPE=\"a:b\";X-A=\"c,d\":n"},
         }) {
        EXPECT_EQ(vCardAs(card("4.0", newer), "3.0"), card("3.0", older));
    }
    std::string problem;
    EXPECT_FALSE(VCard::parse(card("3.0", "FN:x") + card("3.0", "FN:x"), problem));
    EXPECT_FALSE(VCard::parse("BEGIN:VCALENDAR\nEND:VCALENDAR\n", problem));
}

}  // namespace
}  // namespace groupware
