// The multiget REPORT answers: the properties of the items that the client names by their hrefs.
#pragma once

#include <string>
#include <vector>

#include "webdav/dav/Hrefs.h"
#include "webdav/dav/ItemRows.h"
#include "webdav/dav/MultigetRequest.h"
#include "webdav/dav/PropFindResponse.h"

namespace DAV {

class MultigetResponse : public PropFindResponseBase {
  public:
    MultigetResponse(webdav::WebDAVRequest& request, const MultigetRequest& multiget,
                     const webdav::ItemKind& kind)
        : context_(request, kind),
          multiget_(multiget),
          url_(UrlWithSlash(request.Url())),
          records_(kind),
          found_(kind) {}

    /// Lists the folder and evaluates every href. 0 on success, -1 when the store failed.
    virtual int32_t run();
    virtual std::string getXML() { return takeMultistatus(); }

  protected:
    struct Wanted {
        std::string href;           ///< as it is answered
        std::string longUid;        ///< below the collection's URL; empty for an href elsewhere
        std::string uid;            ///< its last segment without the extension
        StoreItem* item = nullptr;  ///< null when there is none

        /// What is tried first, and is enough but for hrefs of an odd form.
        const std::string& mainUid() const { return longUid.empty() ? uid : longUid; }
    };

    /// Whether it is no item of the folder.
    virtual bool standsInFile(const Wanted&) const { return false; }
    /// Answers one href.
    virtual void answer(ItemAnswers& answers, const Wanted& wanted);

    const ItemContext context_;
    const MultigetRequest& multiget_;

  private:
    void readHrefs();
    bool getItems();
    void findListed();
    bool lookUp(uint32_t count);
    void logUnknown(const std::string& uid) const;

    const std::string url_;
    std::vector<Wanted> wanted_;
    webdav::ItemRecords records_;  // of the listing
    webdav::ItemRecords found_;    // of what was looked up instead, each for one href
    bool lookedUp_ = false;
};

/// Also reads scheduling messages, which stand in files: in the inbox, and under the name "msg".
class CalMultigetResponse final : public MultigetResponse {
  public:
    CalMultigetResponse(webdav::WebDAVRequest& request, const MultigetRequest& multiget)
        : MultigetResponse(request, multiget, webdav::kCalendarKind) {}

  protected:
    bool standsInFile(const Wanted& wanted) const override;
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
