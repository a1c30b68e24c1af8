// REPORT (RFC 3253 section 3.6): the multigets and queries of CalDAV and CardDAV.
#include <optional>
#include <string>

#include "webdav/dav/MultigetResponse.h"
#include "webdav/dav/Namespaces.h"
#include "webdav/dav/QueryReponse.h"
#include "webdav/frame/WebDAVRequest.h"
#include "webdav/xml/MarkupDocument.h"

namespace webdav {

namespace {

/// A handled report's answer, or nothing when the request is to be refused.
using Answer = std::optional<std::string>;

template <typename Response>
Answer answerOf(Response&& response) {
    if (response.run() != 0) return std::nullopt;
    return response.getXML();
}

// The folder's type decides, not the report's element.
Answer runMultiget(WebDAVRequest& request, const ResolvedNames& names) {
    DAV::MultigetRequest multiget;
    if (!multiget.parse(names)) return std::nullopt;
    const std::string& kind = request.Target().kind;
    if (kind == kCalendarKind.folderType || kind == "calendar-inbox")
        return answerOf(DAV::CalMultigetResponse(request, multiget));
    if (kind == kTaskKind.folderType) return answerOf(DAV::TaskMultigetResponse(request, multiget));
    if (kind == kContactKind.folderType)
        return answerOf(DAV::ContactMultigetResponse(request, multiget));
    return std::nullopt;
}

template <typename Request, typename Response, typename... Flags>
Answer runQueryAs(WebDAVRequest& request, const ResolvedNames& names, Flags... flags) {
    Request query;
    if (!query.parse(names)) return std::nullopt;
    return answerOf(Response(request, query, flags...));
}

Answer runQuery(WebDAVRequest& request, const ResolvedNames& names) {
    const std::string& kind = request.Target().kind;
    if (kind == "calendar-inbox")
        return runQueryAs<DAV::CalendarQueryRequest, DAV::CalendarQueryReponse>(request, names,
                                                                                true);
    if (kind == kCalendarKind.folderType)
        return runQueryAs<DAV::CalendarQueryRequest, DAV::CalendarQueryReponse>(request, names);
    if (kind == kTaskKind.folderType)
        return runQueryAs<DAV::TaskQueryRequest, DAV::TaskQueryReponse>(request, names);
    if (kind == kContactKind.folderType)
        return runQueryAs<DAV::ContactQueryRequest, DAV::ContactQueryReponse>(request, names);
    return std::nullopt;
}

struct Report {
    std::string_view namespaceUri;
    std::string_view name;
    Answer (*run)(WebDAVRequest& request, const ResolvedNames& names);
};

constexpr Report kReports[] = {
    {DAV::kCalDav, "calendar-multiget", runMultiget},
    {DAV::kCardDav, "addressbook-multiget", runMultiget},
    {DAV::kCalDav, "calendar-query", runQuery},
    {DAV::kCardDav, "addressbook-query", runQuery},
};

Answer runReport(WebDAVRequest& request, const ResolvedNames& names) {
    for (const Report& report : kReports)
        if (names.findChild(ResolvedNames::kDocument, report.namespaceUri, report.name) != 0)
            return report.run(request, names);
    return std::nullopt;
}

}  // namespace

int32_t WebDAVRequest::HandleReport() {
    if (target_.kind != "PRINCIPAL" && (GetAccessRights() & STORE_RIGHT_READ) == 0)
        return RefuseForbidden();

    MarkupDocument document;
    document.setText(std::string(Data().GetBody()));
    const Answer answer = runReport(*this, ResolvedNames(document));
    if (!answer) return RefuseBadRequest();
    SendXmlResponse(207, *answer);
    return 0;
}

}  // namespace webdav
