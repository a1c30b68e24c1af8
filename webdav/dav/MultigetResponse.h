// The multiget REPORT answers: the properties of the items that the client names by their hrefs.
#pragma once

#include <array>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

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
    virtual std::string getXML() { return writeMultistatus(false); }

  protected:
    /// Answers one href; the name is its last segment, extension included.
    virtual void answer(const std::string& href, const std::string& name);

    const ItemContext context_;
    const MultigetRequest& multiget_;

  private:
    struct TextHash {
        using is_transparent = void;
        size_t operator()(std::string_view text) const {
            return std::hash<std::string_view>()(text);
        }
    };

    bool listItems();
    void findWanted();
    std::array<std::string, 2> possibleUids(const std::string& href, const std::string& uid) const;
    const StoreItem* find(const std::string& href, const std::string& uid) const;
    void logUnknown(const std::string& uid) const;

    const std::string url_;
    webdav::ItemRecords records_;
    std::unordered_map<std::string, const StoreItem*, TextHash, std::equal_to<>> wanted_;  // by UID
};

/// Also reads scheduling messages, which stand in files: in the inbox, and under the name "msg".
class CalMultigetResponse final : public MultigetResponse {
  public:
    CalMultigetResponse(webdav::WebDAVRequest& request, const MultigetRequest& multiget)
        : MultigetResponse(request, multiget, webdav::kCalendarKind) {}

  protected:
    void answer(const std::string& href, const std::string& name) override;

  private:
    void answerMessage(const std::string& href, const std::string& name);
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
