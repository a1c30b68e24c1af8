// The answers that are multistatus documents: their result list and their writer.
//
// PROPFIND answers derive from PropFindResponse, REPORT answers use the base directly. One answer
// belongs to one request and its thread.
#pragma once

#include <cstdint>
#include <list>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

#include "webdav/dav/MultistatusWriter.h"
#include "webdav/dav/PropFindRequest.h"
#include "webdav/dav/PropertyRecord.h"
#include "webdav/frame/WebDAVRequest.h"

namespace DAV {

class PropFindResponseBase {
  public:
    /// Brief leaves the 404 propstats out.
    explicit PropFindResponseBase(bool brief = false) : writer_(brief) {}
    virtual ~PropFindResponseBase() = default;
    PropFindResponseBase(const PropFindResponseBase&) = delete;
    PropFindResponseBase& operator=(const PropFindResponseBase&) = delete;

    /// Files a property under its href and status. Hrefs stand in the answer in the order of their
    /// first use, so do the statuses of an href; properties keep the order of the request.
    void addProperty(std::string_view href, uint16_t status, PropertyRecord property);
    /// How many items will be added, as far as that is known.
    void expectItems(size_t count) { writer_.expectItems(count); }
    /// The same for all properties of an item. When its href and those before it are used no more
    /// they need not be kept, and are written at once.
    void addItem(std::string_view href, std::span<const TextProperty> properties,
                 bool hrefsAreDone) {
        if (!hrefsAreDone) return addProperties(href, properties);
        if (!results_.empty()) writeResults();
        if (!properties.empty()) writer_.writeItem(href, properties);
    }

  protected:
    /// The results as a multistatus document, once.
    std::string takeMultistatus();

  private:
    ResponseRecord& responseOf(std::string_view href);
    void addProperties(std::string_view href, std::span<const TextProperty> properties);
    void writeResults();

    std::list<ResponseRecord> results_;  // a list: the index holds views of the hrefs
    std::unordered_map<std::string_view, ResponseRecord*> index_;
    MultistatusWriter writer_;
};

class PropFindResponse : public PropFindResponseBase {
  public:
    PropFindResponse(webdav::WebDAVRequest& request, PropFindRequest& propfind)
        : PropFindResponseBase(propfind.brief()), request_(request), propfind_(propfind) {}

    /// Evaluates the request. 0 on success; anything else is answered 400.
    virtual int32_t execute() = 0;
    virtual std::string getXML() { return takeMultistatus(); }
    virtual PropFindRequest& getRequest() { return propfind_; }

  protected:
    webdav::WebDAVRequest& request_;
    PropFindRequest& propfind_;
};

}  // namespace DAV
