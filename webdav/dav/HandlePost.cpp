// POST to the scheduling outbox: other users' busy time (RFC 6638 section 5).
#include <string>
#include <string_view>

#include "webdav/dav/Namespaces.h"
#include "webdav/frame/WebDAVRequest.h"
#include "webdav/log/Log.h"
#include "webdav/xml/MarkupDocument.h"
#include "webdav/xml/NamespacePrefix.h"

namespace webdav {

namespace {

using DAV::kCalDav;

/// The answer to a free-busy request, recipient by recipient.
class FreeBusyResponse {
  public:
    FreeBusyResponse(WebDAVRequest& request, const std::string& body)
        : request_(request), body_(body), actor_(request.AccountNameForAccess()) {
        AddElementNS(document_, kCalDav, "schedule-response");
        document_.intoElement();
    }

    void answer(const std::string& recipient) {
        Log(kLogInfo, request_.RequestTag(), "Requesting free busy information for [%s]",
            recipient.c_str());
        std::string asked = recipient;
        char* recipientText = asked.data();
        StoreText text;
        const int32_t status = store().CV_CalProcessICalFBRequest(body_.c_str(), actor_.c_str(),
                                                                  &recipientText, text.out());
        AddElementNS(document_, kCalDav, "response");
        document_.intoElement();
        addRecipient(recipient);
        addResult(recipient, status, text);
        document_.outOfElement();
    }

    std::string takeText() {
        document_.outOfElement();
        return document_.takeText();
    }

  private:
    void addRecipient(const std::string& recipient) {
        AddElementNS(document_, kCalDav, "recipient");
        document_.intoElement();
        AddElementNS(document_, DAV::kDav, "href", "mailto:" + recipient);
        document_.outOfElement();
    }

    void addResult(const std::string& recipient, int32_t status, const StoreText& text) {
        const char* tag = request_.RequestTag();
        if (status == STORE_OK && text.present()) {
            AddElementNS(document_, kCalDav, "request-status", "2.0;Success");
            AddElementNS(document_, kCalDav, "calendar-data", text.view());
            Log(kLogInfo, tag, "Busy time information returned for [%s]", recipient.c_str());
        } else if (status == STORE_NOT_LOCAL || status == STORE_NOT_PUBLISHING) {
            AddElementNS(document_, kCalDav, "request-status", "3.7;Invalid calendar user");
            Log(kLogInfo, tag, "Unable to return Busy time information for [%s] [%s]",
                recipient.c_str(),
                status == STORE_NOT_LOCAL ? "Not a local user"
                                          : "Not publishing busy time information");
        } else {
            AddElementNS(document_, kCalDav, "request-status", "5.1;Server error");
            Log(kLogInfo, tag, "Unable to return Busy time information for [%s] [%d]",
                recipient.c_str(), status);
        }
    }

    WebDAVRequest& request_;
    const std::string& body_;
    std::string actor_;
    MarkupDocument document_;
};

}  // namespace

int32_t WebDAVRequest::HandlePost() {
    if (target_.kind != "caldav-outbox") return RefuseBadRequest();

    Log(kLogDebug, RequestTag(), "*** Requesting free busy information ***");
    const std::string body(Data().GetBody());
    StoreText recipients;
    StoreText unused;
    const int32_t status = store().CV_CalProcessICalFBRequest(
        body.c_str(), AccountNameForAccess().c_str(), recipients.out(), unused.out());
    if (!recipients.present()) {
        Log(kLogDebug, RequestTag(), "CV_CalProcessICalFBRequest failed [%d]", status);
        Log(kLogError, RequestTag(),
            "Unable to query free busy information - Unable to get attendee list");
        return RefuseBadRequest();
    }

    FreeBusyResponse response(*this, body);
    std::string_view rest = recipients.view();
    while (true) {
        const size_t bar = rest.find('|');
        response.answer(std::string(rest.substr(0, bar)));
        if (bar == rest.npos) break;
        rest.remove_prefix(bar + 1);
    }
    return SendXml(200, response.takeText()) ? 0 : -1;
}

}  // namespace webdav
