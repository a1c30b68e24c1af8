// The multiget REPORT answers: the properties of the items that the client names by their hrefs.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "webdav/base/TextTable.h"
#include "webdav/dav/ItemRows.h"
#include "webdav/dav/MultigetRequest.h"
#include "webdav/dav/PropFindResponse.h"

namespace DAV {

class MultigetResponse : public PropFindResponseBase {
  public:
    MultigetResponse(webdav::WebDAVRequest& request, const MultigetRequest& multiget,
                     const webdav::ItemKind& kind)
        : context_(request, kind), multiget_(multiget), url_(request.Url()), records_(kind) {}

    /// Lists the folder and evaluates every href. 0 on success, -1 when the store failed.
    virtual int32_t run();
    virtual std::string getXML() { return takeMultistatus(); }

  protected:
    struct Wanted {
        std::string href;     ///< as it is answered
        std::string name;     ///< its last segment, extension included
        std::string longUid;  ///< what follows the collection's URL; empty for an href elsewhere
        std::string uid;      ///< the name without its extension
    };

    /// Answers one href.
    virtual void answer(ItemAnswers& answers, const Wanted& wanted);

    const ItemContext context_;
    const MultigetRequest& multiget_;

  private:
    bool listItems();
    void readHrefs();
    void findItems();
    const StoreItem* find(const Wanted& wanted);
    void logUnknown(const std::string& uid) const;

    const std::string url_;
    webdav::ItemRecords records_;
    std::vector<Wanted> wanted_;
    std::optional<webdav::TextTable> uids_;  // of all these
    std::vector<const StoreItem*> items_;    // by their numbers; null for those that are not there
};

/// Also reads scheduling messages, which stand in files: in the inbox, and under the name "msg".
class CalMultigetResponse final : public MultigetResponse {
  public:
    CalMultigetResponse(webdav::WebDAVRequest& request, const MultigetRequest& multiget)
        : MultigetResponse(request, multiget, webdav::kCalendarKind) {}

  protected:
    void answer(ItemAnswers& answers, const Wanted& wanted) override;

  private:
    void answerMessage(ItemAnswers& answers, const Wanted& wanted);
};

class TaskMultigetResponse final : public MultigetResponse {
  public:
    TaskMultigetResponse(webdav::WebDAVRequest& request, const MultigetRequest& multiget)
        : MultigetResponse(request, multiget, webdav::kTaskKind) {}
};

class ContactMultigetResponse final : public MultigetResponse {
  public:
    ContactMultigetResponse(webdav::WebDAVRequest& request, const MultigetRequest& multiget)
        : MultigetResponse(request, multiget, webdav::kContactKind) {}
};

}  // namespace DAV
