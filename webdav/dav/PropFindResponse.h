// The answers that are multistatus documents: their result list and their writer.
//
// PROPFIND answers derive from PropFindResponse, REPORT answers use the base directly. One answer
// belongs to one request and its thread.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>

#include "webdav/dav/PropFindRequest.h"
#include "webdav/dav/PropertyRecord.h"
#include "webdav/frame/WebDAVRequest.h"

namespace DAV {

class PropFindResponseBase {
  public:
    PropFindResponseBase() = default;
    virtual ~PropFindResponseBase() = default;
    PropFindResponseBase(const PropFindResponseBase&) = delete;
    PropFindResponseBase& operator=(const PropFindResponseBase&) = delete;

    /// Files a property under its href and status. Hrefs stand in the answer in the order of their
    /// first use, so do the statuses of an href; properties keep the order of the request.
    void addProperty(std::string_view href, uint16_t status, PropertyRecord property);

  protected:
    /// The results as a multistatus document; brief leaves the 404 propstats out.
    std::string writeMultistatus(bool brief) const;

  private:
    ResponseRecord& responseOf(std::string_view href);

    std::deque<ResponseRecord> results_;  // a deque: the index holds views of the hrefs
    std::unordered_map<std::string_view, size_t> index_;
};

class PropFindResponse : public PropFindResponseBase {
  public:
    PropFindResponse(webdav::WebDAVRequest& request, PropFindRequest& propfind)
        : request_(request), propfind_(propfind) {}

    /// Evaluates the request. 0 on success; anything else is answered 400.
    virtual int32_t execute() = 0;
    virtual std::string getXML() { return writeMultistatus(propfind_.brief()); }
    virtual PropFindRequest& getRequest() { return propfind_; }

  protected:
    webdav::WebDAVRequest& request_;
    PropFindRequest& propfind_;
};

}  // namespace DAV
