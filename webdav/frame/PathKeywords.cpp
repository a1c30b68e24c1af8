#include "webdav/frame/PathKeywords.h"

#include "webdav/base/Text.h"

namespace webdav {

namespace {

constexpr PathKeyword kKeywords[] = {
    {"principals", PathForm::kPrincipal, nullptr, "PRINCIPAL"},
    {"caldav", PathForm::kHome, &kCalendarKind, "calendar-home-set"},
    {"caldav-inbox", PathForm::kInbox, &kCalendarKind, "calendar-inbox"},
    {"caldav-outbox", PathForm::kOutbox, nullptr, "caldav-outbox"},
    {"carddav", PathForm::kHome, &kContactKind, "addressbook-home-set"},
    {"calendar", PathForm::kOwn, &kCalendarKind, nullptr},
    {"tasklist", PathForm::kOwn, &kTaskKind, nullptr},
    {"addressbook", PathForm::kOwn, &kContactKind, nullptr},
    {"calendars", PathForm::kOther, &kCalendarKind, nullptr},
    {"tasks", PathForm::kOther, &kTaskKind, nullptr},
    {"addressbooks", PathForm::kOther, &kContactKind, nullptr},
    {"contacts", PathForm::kOther, &kContactKind, nullptr},
    {"public-calendars", PathForm::kPublic, &kCalendarKind, nullptr},
    {"public-tasks", PathForm::kPublic, &kTaskKind, nullptr},
    {"public-addressbooks", PathForm::kPublic, &kContactKind, nullptr},
    {"public-contacts", PathForm::kPublic, &kContactKind, nullptr},
};

}  // namespace

const PathKeyword* FindPathKeyword(std::string_view segment) {
    for (const PathKeyword& keyword : kKeywords)
        if (EqualsNoCase(segment, keyword.segment)) return &keyword;
    return nullptr;
}

}  // namespace webdav
