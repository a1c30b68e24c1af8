#include "webdav/dav/KindTexts.h"

#include "webdav/dav/Namespaces.h"

namespace DAV {

namespace {

constexpr KindTexts kCalendarTexts = {
    .propertyContentType = "text/calendar; charset=utf-8; component=VEVENT",
    .dataNamespace = kCalDav,
    .dataName = "calendar-data",

    .propFindCount = "Calendar database on server contains %d items",
    .propFindFailure = "CV_CalGetAllItemsEx failed, error %d",
    .multigetCount = "Calendar database on server contains %d items",
    .multigetFailure = "CV_CalGetAllItemsEx failed, error %d",
    .queryStart = "Calendar query: %s",
    .queryCount = "Calendar database on server contains %d items",
    .queryFailure = "CV_CalGetMultipleCalItemsEx failed, error %d",
    .querySecondFailure = "CV_CalGetMultipleCalItemsEx failed, error %d",
    .multigetUnknown = "CalMultigetResponse::evaulateProperty unable to find event : [%s] [%s]",

    .find = "CV_CalGetIDFromiCalUid",
    .get = "CV_CalGetCalItemEx",
    .toText = "CV_CalItemToICalendarStringEx",

    .read = "CV_CalReadFromICalendarString",
    .readDetail = nullptr,  // an event that cannot be read is accepted in silence
    .write = "CV_CalWriteCalItem",
    .writeDetail = "Unable to create calendar item",
    .edit = "CV_CalEditCalItem",
    .editDetail = "Unable to edit calendar item",
    .setRelatedData = "CV_CalSetRelatedDAVData",
    .setRelatedDataDetail = "Unable to save iCalendar data for calendar item",

    .deleteUnknown =
        "Unable to delete Calendar item [%s:%s] - CV_CalGetIDFromiCalUid could not find item",
    .deleted = "Deleted calendar item [%s:%s]",
    .deleteFailure = "Unable to delete calendar item [%s:%s] - CV_CalDeleteCalItem failed [%d]",
    .deleteMessage = "Unable to delete calendar item",
};

constexpr KindTexts kTaskTexts = {
    .propertyContentType = "text/calendar",
    .dataNamespace = kCalDav,
    .dataName = "calendar-data",

    .propFindCount = "Task database on server contains %d items",
    .propFindFailure = "CV_TaskGetAllItems failed, error %d",
    .multigetCount = "Task database on server contains %d items",
    .multigetFailure = "CV_TaskGetAllItems failed, error %d",
    .queryStart = "Task query: %s",
    .queryCount = "Task database on server contains %d items",
    .queryFailure = "CV_TaskGetAllItemsEx failed, error %d",
    .querySecondFailure = "CV_TaskGetMultipleCalItemsEx failed, error %d",
    .multigetUnknown = "TaskMultigetResponse::evaulateProperty unable to find task : [%s] [%s]",

    .find = "CV_TaskGetIDFromiCalUid",
    .get = "CV_TaskGetTaskItemEx",
    .toText = "CV_TaskItemToICalendarString",

    .read = "CV_TaskReadFromICalendarString",
    .readDetail = "Unable to parse iCalendar data",
    .write = "CV_TaskWriteTaskItemEx",
    .writeDetail = "Unable to create calendar item",
    .edit = "CV_TaskEditTaskItem",
    .editDetail = "Unable to edit task item",
    .setRelatedData = "CV_TaskSetRelatedDAVData",
    .setRelatedDataDetail = "Unable to save iCalendar data for task item",

    .deleteUnknown =
        "Unable to delete task item [%s:%s] - CV_TaskGetIDFromiCalUid could not find item",
    .deleted = "Deleted task item [%s:%s]",
    .deleteFailure = "Unable to delete task item [%s:%s] - CV_TaskDeleteCalItem failed [%d]",
    .deleteMessage = "Unable to delete task item",
};

constexpr KindTexts kContactTexts = {
    .propertyContentType = "text/vcard",
    .dataNamespace = kCardDav,
    .dataName = "address-data",

    .propFindCount = "Addressbook database on server contains %d items",
    .propFindFailure = "CV_ContactGetAllItemsEx failed, error %d",
    .multigetCount = "Contact database on server contains %d items",
    .multigetFailure = "CV_ContactGetAllItemsEx failed, error %d",
    .queryStart = "Contact query: %s",
    .queryCount = "Calendar database on server contains %d items",
    .queryFailure = "CV_ContactGetMultipleItemsEx failed, error %d",
    .querySecondFailure = "CV_ContactGetMultipleItemsEx failed, error %d",
    .multigetUnknown = "CalMultigetResponse::evaulateProperty unable to find event : [%s] [%s]",

    .find = "CV_ContactGetIDFromvCardUid",
    .get = "CV_ContactGetItemEx",
    .toText = "CV_ContactItemToVCardString",

    .read = "CV_ContactReadFromVCardString",
    .readDetail = "Unable to parse vCard data",
    .write = "CV_ContactWriteItemEx",
    .writeDetail = "Unable to create contact item",
    .edit = "CV_ContactEditItem",
    .editDetail = "Unable to edit contact item",
    .setRelatedData = "CV_ContactSetRelatedDAVData",
    .setRelatedDataDetail = "Unable to save vCard data for contact item",

    .deleteUnknown =
        "Unable to delete Calendar item [%s:%s] - CV_ContactGetIDFromvCardUid could not find item",
    .deleted = "Deleted contact item [%s:%s]",
    .deleteFailure = "Unable to delete contact item [%s:%s] - CV_ContactDeleteItem failed [%d]",
    .deleteMessage = "Unable to delete contact item",
};

}  // namespace

const KindTexts& TextsOf(const webdav::ItemKind& kind) {
    if (&kind == &webdav::kTaskKind) return kTaskTexts;
    if (&kind == &webdav::kContactKind) return kContactTexts;
    return kCalendarTexts;
}

}  // namespace DAV
