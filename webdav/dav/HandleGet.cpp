// OPTIONS and GET (RFC 9110 sections 9.3.7 and 9.3.1): what the server offers, and items as text.
#include <optional>
#include <string>

#include "webdav/base/Text.h"
#include "webdav/dav/Hrefs.h"
#include "webdav/dav/ItemRows.h"
#include "webdav/dav/KindTexts.h"
#include "webdav/frame/WebDAVRequest.h"
#include "webdav/log/Log.h"

namespace webdav {

namespace {

constexpr std::string_view kStatusPage =
    "<html><head><style type=\"text/css\">*{font-family: Tahoma,Verdana,Segoe,sans-serif;}</style>"
    "</head><body><h1>Corvane's WebDAV server is running and properly configured</h1><p>Please "
    "<a href=\"/setup\">click here</a> for instructions on how to setup your client.</p></body>"
    "</html>";

// HEAD stands there though it is answered 501, POST does not though the outbox takes it.
constexpr const char* kOfferedHeaders[] = {
    "DAV: 1, calendar-access, calendar-schedule, calendar-auto-schedule, addressbook",
    "Allow: OPTIONS, GET, HEAD, DELETE, PROPFIND, PUT, PROPPATCH, REPORT",
};

bool isItemName(std::string_view name) {
    return EndsWithNoCase(name, ".ics") || EndsWithNoCase(name, ".vcf");
}

/// Reads one item as text. Whatever the store fails at is logged, and is a missing item to the
/// client.
class ItemReader {
  public:
    ItemReader(WebDAVRequest& request, const ItemKind& kind, const std::string& uid)
        : request_(request),
          kind_(kind),
          texts_(DAV::TextsOf(kind)),
          folder_(request.TargetFolder()),
          uid_(uid) {}

    bool read(StoreText& text) {
        if (&kind_ == &kCalendarKind && EqualsNoCase(uid_, "calendar")) return readFolder(text);
        return readItem(text);
    }

  private:
    // A calendar as a whole stands under the name calendar.ics.
    bool readFolder(StoreText& text) {
        const int32_t result =
            store().CV_CalFolderToICalendarString(folder_.folderPath.c_str(), text.out());
        if (result != 0) return true;
        Log(kLogError, request_.RequestTag(), "CV_CalFolderToICalendarString failed : [%s] [%d]",
            folder_.folderPath.c_str(), result);
        return false;
    }

    bool readItem(StoreText& text) {
        ItemRecord item(kind_);
        if (!kind_.operations.find(item.get(), uid_, folder_)) {
            Log(kLogError, request_.RequestTag(), "%s failed : [%s] [%s]", texts_.find,
                folder_.folderPath.c_str(), uid_.c_str());
            return false;
        }
        if (!succeeded(kind_.operations.get(item.get(), folder_), texts_.get, *item)) return false;
        item->exportFlag = 1;
        const int32_t status =
            kind_.operations.toText(*item, folder_, DAV::WantsPlainVCard(request_), text.out());
        if (!succeeded(status, texts_.toText, *item)) return false;
        request_.AddETagHeader(FormatStamp(item->lastModified));
        return true;
    }

    bool succeeded(int32_t status, const char* operation, const StoreItem& item) {
        if (status == STORE_OK) return true;
        // A contact is named by the UID that was asked for, the others by their number.
        const std::string name = &kind_ == &kContactKind ? uid_ : std::to_string(item.itemNumber);
        Log(kLogError, request_.RequestTag(), "%s failed : [%s] [%s] [%d]", operation,
            folder_.folderPath.c_str(), name.c_str(), status);
        return false;
    }

    WebDAVRequest& request_;
    const ItemKind& kind_;
    const DAV::KindTexts& texts_;
    const FolderAccess folder_;
    const std::string& uid_;
};

}  // namespace

int32_t WebDAVRequest::HandleOptions() {
    for (const char* header : kOfferedHeaders) AddHeader(header);
    SendPage(200, {});
    return 0;
}

int32_t WebDAVRequest::HandleGet() {
    const std::string url = Url();
    const std::string name = DAV::NameOfUrl(url);
    if (!isItemName(name)) {
        Log(kLogInfo, RequestTag(),
            "*** Get *** - [%s] - Request not for an item, returning status page", url.c_str());
        SendPage(200, kStatusPage);
        return 0;
    }
    const std::string uid = DAV::WithoutExtension(name);
    if (target_.folderPath.empty()) {
        SendNotFound("Not Found");
        return 404;
    }
    Log(kLogInfo, RequestTag(), "*** Get *** - [%s:%s]", target_.folderPath.c_str(), uid.c_str());
    if ((GetAccessRights() & STORE_RIGHT_READ) == 0) return RefuseForbidden();

    const ItemKind* kind = KindOfFolderType(target_.kind);
    if (kind == nullptr) {
        SendHttpError(404, "Not Found", "Invalid Path: Folder not found or invalid folder type");
        return 404;
    }
    StoreText text;
    if (!ItemReader(*this, *kind, uid).read(text)) {
        SendNotFound("Not Found");
        return 404;
    }
    if (!text.present()) {
        SendHttpError(500, "Internal Server Error", "Unable to generate response");
        return 500;
    }
    SendCheckedText(200, kind->contentType, text.view());
    return 0;
}

}  // namespace webdav
