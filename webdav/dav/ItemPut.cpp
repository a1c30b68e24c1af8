#include "webdav/dav/ItemPut.h"

#include <span>

#include "webdav/base/Text.h"
#include "webdav/dav/Hrefs.h"
#include "webdav/dav/OrganizerReply.h"
#include "webdav/log/Log.h"

namespace DAV {

using webdav::Log;
using webdav::store;

namespace {

constexpr uint32_t kUpdateRights = STORE_RIGHT_WRITE | STORE_RIGHT_DELETE;

// Day of week and milliseconds play no part.
bool sameSecond(const StoreDateTime& left, const StoreDateTime& right) {
    return left.year == right.year && left.month == right.month && left.day == right.day &&
           left.hour == right.hour && left.minute == right.minute && left.second == right.second;
}

}  // namespace

ItemPut::ItemPut(webdav::WebDAVRequest& request, const webdav::ItemKind& kind,
                 const std::string& body)
    : request_(request),
      kind_(kind),
      texts_(TextsOf(kind)),
      folder_(request.TargetFolder()),
      body_(body),
      item_(kind) {}

int32_t ItemPut::run() {
    const int32_t readStatus = kind_.operations.read(item_.get(), body_.c_str(), folder_);
    if (readStatus != STORE_OK) return answerUnreadable(readStatus);

    uid_ = chooseUid();
    Log(webdav::kLogInfo, request_.RequestTag(), "*** Put *** - [%s:%s]",
        folder_.folderPath.c_str(), uid_.c_str());
    const bool found = kind_.operations.find(item_.get(), uid_, folder_);
    if (!(found ? update() : create())) return -1;
    if (!completeOccurrences() || !keepText()) return -1;
    request_.SendXmlResponse(204, "");
    return 0;
}

// Logs a failed store operation and answers it; false, for the caller to return.
bool ItemPut::refuse(const char* operation, const char* detail, int32_t status) {
    Log(webdav::kLogError, request_.RequestTag(), "%s failed [%d] : [%s:%s]", operation, status,
        folder_.folderPath.c_str(), webdav::ItemNumberText(kind_, *item_).c_str());
    request_.SendHttpError(500, "Internal Server Error", detail);
    return false;
}

int32_t ItemPut::answerUnreadable(int32_t status) {
    if (texts_.readDetail == nullptr) {
        request_.SendXmlResponse(204, "");
        return 0;
    }
    Log(webdav::kLogError, request_.RequestTag(), "%s failed [%d]", texts_.read, status);
    request_.SendHttpError(500, "Internal Server Error", texts_.readDetail);
    return -1;
}

// Events and tasks are filed under the UID in their text, whatever the URL says; contacts under
// their name in the URL. CardDAV-Sync names its URLs otherwise, and a URL may name no item: then
// the text's UID holds, if it has one.
std::string ItemPut::chooseUid() {
    std::string uid = item_->uid == nullptr ? "" : item_->uid;
    if (&kind_ != &webdav::kContactKind) return uid;

    const bool namesItem = !request_.Target().itemName.empty();
    const std::string named = namesItem ? WithoutExtension(NameOfUrl(request_.Url())) : "";
    const bool ownFirst =
        request_.Data().GetServerVar("HTTP_USER-AGENT").starts_with("CardDAV-Sync");
    if (!named.empty() && (uid.empty() || !ownFirst)) uid = named;
    store().CV_ContactSetvCardUid(item_.get(), uid.c_str());
    return uid;
}

bool ItemPut::mayDo(uint32_t rights) {
    if ((request_.GetAccessRights() & rights) == rights) return true;
    request_.RefuseForbidden();
    return false;
}

void ItemPut::logContact(const char* format, const std::string& uid) {
    if (&kind_ == &webdav::kContactKind)
        Log(webdav::kLogDebug, request_.RequestTag(), format, uid.c_str(),
            webdav::ItemNumberText(kind_, *item_).c_str());
}

bool ItemPut::create() {
    logContact("Existing contact not found: vCardUID = %s", uid_);
    if (!mayDo(STORE_RIGHT_INSERT)) return false;
    const int32_t status = kind_.operations.write(item_.get(), folder_);
    if (status != STORE_OK) return refuse(texts_.write, texts_.writeDetail, status);
    logContact("Contact created: vCardUID = %s - GUID = %s", uid_);
    if (&kind_ == &webdav::kCalendarKind) SendOrganizerReply(request_, *item_);
    return true;
}

bool ItemPut::update() {
    logContact("Updating existing contact: vCardUID = %s - GUID = %s", uid_);
    if (!mayDo(kUpdateRights)) return false;
    const bool event = &kind_ == &webdav::kCalendarKind;
    if (event && !rememberOldParticipation()) return false;
    if (!edit()) return false;
    logContact("Contact updated: vCardUID = %s - GUID = %s", uid_);
    if (event) replyAfterUpdate();
    return true;
}

bool ItemPut::edit() {
    const int32_t status = kind_.operations.edit(item_.get(), folder_);
    return status == STORE_OK || refuse(texts_.edit, texts_.editDetail, status);
}

bool ItemPut::rememberOldParticipation() {
    for (StoreAttendee& attendee : std::span(item_->attendees, item_->attendeeCount))
        if (attendee.status == STORE_PARTSTAT_NONE) attendee.status = STORE_PARTSTAT_NEEDS_ACTION;
    if (item_->attendeeCount == 0) return true;

    webdav::ItemRecord stored(kind_);
    stored->itemNumber = item_->itemNumber;
    const int32_t status = kind_.operations.get(stored.get(), folder_);
    if (status == STORE_NOT_FOUND) return true;  // deleted meanwhile: the edit adds it anew
    if (status != STORE_OK) return refuse(texts_.get, texts_.editDetail, status);
    oldParticipation_ = ParticipationOf(*stored, folder_.account);
    return true;
}

void ItemPut::replyAfterUpdate() {
    if (!HasParticipation(*item_, folder_.account, oldParticipation_))
        SendOrganizerReply(request_, *item_);
}

// The store may shorten the list with each completed occurrence.
bool ItemPut::completeOccurrences() {
    if (&kind_ != &webdav::kTaskKind) return true;
    for (uint32_t i = 0; i < item_->occurrenceCount; ++i) {
        if (!sameSecond(item_->occurrences[i].start, item_->reference)) continue;
        store().CV_TaskCompleteOccurrence(item_.get(), folder_.folderPath.c_str(),
                                          folder_.actor.c_str());
        if (!edit()) return false;
    }
    return true;
}

bool ItemPut::keepText() {
    const int32_t status = kind_.operations.setRelatedData(*item_, folder_, body_.c_str(),
                                                           static_cast<uint32_t>(body_.size()));
    return status == STORE_OK || refuse(texts_.setRelatedData, texts_.setRelatedDataDetail, status);
}

}  // namespace DAV
