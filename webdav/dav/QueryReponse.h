// The query REPORT answers: the properties of every item that matches.
#pragma once

#include <string>

#include "webdav/dav/ItemRows.h"
#include "webdav/dav/PropFindResponse.h"
#include "webdav/dav/QueryRequest.h"

namespace DAV {

class QueryReponse : public PropFindResponseBase {
  public:
    /// 0 on success, -1 when the store failed.
    virtual int32_t run();
    virtual std::string getXML() { return takeMultistatus(); }

  protected:
    QueryReponse(webdav::WebDAVRequest& request, const QueryRequest& query,
                 const webdav::ItemKind& kind, bool inbox = false)
        : context_(request, kind), query_(query), inbox_(inbox) {}

  private:
    const ItemContext context_;
    const QueryRequest& query_;
    bool inbox_;  ///< the scheduling inbox never has matching items
};

class CalendarQueryReponse final : public QueryReponse {
  public:
    CalendarQueryReponse(webdav::WebDAVRequest& request, const QueryRequest& query,
                         bool inbox = false)
        : QueryReponse(request, query, webdav::kCalendarKind, inbox) {}
};

class TaskQueryReponse final : public QueryReponse {
  public:
    TaskQueryReponse(webdav::WebDAVRequest& request, const QueryRequest& query)
        : QueryReponse(request, query, webdav::kTaskKind) {}
};

class ContactQueryReponse final : public QueryReponse {
  public:
    ContactQueryReponse(webdav::WebDAVRequest& request, const QueryRequest& query)
        : QueryReponse(request, query, webdav::kContactKind) {}
};

}  // namespace DAV
