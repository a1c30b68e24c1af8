// Creates or replaces one item from the body of a PUT.
//
// The steps are the same for the three kinds; what a kind does besides is a step of its own: events
// look after the attendees' participation, tasks after completed occurrences, contacts after their
// name in the URL.
#pragma once

#include <cstdint>
#include <string>

#include "webdav/dav/KindTexts.h"
#include "webdav/frame/WebDAVRequest.h"

namespace DAV {

class ItemPut {
  public:
    ItemPut(webdav::WebDAVRequest& request, const webdav::ItemKind& kind, const std::string& body);

    /// 0 after the 204 answer, -1 after an error answer.
    int32_t run();

  private:
    bool refuse(const char* operation, const char* detail, int32_t status);
    int32_t answerUnreadable(int32_t status);
    std::string chooseUid();
    bool mayDo(uint32_t rights);
    bool create();
    bool update();
    bool edit();
    bool rememberOldParticipation();
    void replyAfterUpdate();
    bool completeOccurrences();
    bool keepText();
    void logContact(const char* format, const std::string& uid);

    webdav::WebDAVRequest& request_;
    const webdav::ItemKind& kind_;
    const KindTexts& texts_;
    const webdav::FolderAccess folder_;
    const std::string& body_;
    webdav::ItemRecord item_;
    std::string uid_;
    uint16_t oldParticipation_ = STORE_PARTSTAT_NONE;
};

}  // namespace DAV
