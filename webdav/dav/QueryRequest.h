// What a query REPORT asks for (RFC 4791 section 7.8, RFC 6352 section 8.6).
//
// Of all filters only the time range of a calendar query is honoured, and that of events only.
#pragma once

#include "webdav/dav/PropFindRequest.h"
#include "webdav/store/ItemKind.h"

namespace DAV {

class QueryRequest : public PropFindRequestBase {
  public:
    /// False when the document is no query of this sort.
    virtual bool parse(const webdav::ResolvedNames& names) = 0;
    /// In server local time; zero where the client gave none.
    const webdav::ItemRange& range() const { return range_; }

  protected:
    bool parseProperties(const webdav::ResolvedNames& names, webdav::ElementIndex report);

    webdav::ItemRange range_;
};

/// Also what a task query is parsed as: the range is read and the tasks do not use it.
class CalendarQueryRequest final : public QueryRequest {
  public:
    bool parse(const webdav::ResolvedNames& names) override;

  private:
    void readFilter(const webdav::ResolvedNames& names, webdav::ElementIndex filter);
    void readTimeRange(const webdav::ResolvedNames& names, webdav::ElementIndex element);
};

using TaskQueryRequest = CalendarQueryRequest;

class ContactQueryRequest final : public QueryRequest {
  public:
    bool parse(const webdav::ResolvedNames& names) override;
};

}  // namespace DAV
