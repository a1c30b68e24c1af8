#include "groupware/items/FolderText.h"

#include "groupware/ical/ContentLines.h"
#include "groupware/items/TextSplitter.h"

namespace groupware {

void FolderText::add(std::string_view text) {
    using Step = ComponentReader::Step;
    const size_t level = kind_ == ItemKind::kContact ? 1 : 2;
    ComponentReader reader(text);
    size_t begin = 0;
    for (Step step = reader.next(); step != Step::kFinished && step != Step::kProblem;
         step = reader.next()) {
        if (reader.depth() != level) continue;
        const ContentLine& line = reader.line();
        if (step == Step::kBegin) begin = line.begin;
        if (step != Step::kEnd) continue;
        const std::string_view bytes = text.substr(begin, line.end - begin);
        if (reader.component(level - 1) != "VTIMEZONE") {
            appendLines(components_, bytes);
        } else if (knownZones_.emplace(bytes).second) {
            appendLines(zones_, bytes);
        }
    }
}

std::string FolderText::whole() const {
    if (kind_ == ItemKind::kContact) return components_;
    return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Corvane//CVWebDAV//EN\r\n"
           "CALSCALE:GREGORIAN\r\n" +
           zones_ + components_ + "END:VCALENDAR\r\n";
}

}  // namespace groupware
