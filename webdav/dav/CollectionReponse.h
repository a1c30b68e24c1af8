// The PROPFIND answers of calendars, task lists and address books, their homes and the inbox.
//
// One algorithm over a kind and a role; the classes only choose these.
#pragma once

#include "webdav/dav/CollectionTarget.h"
#include "webdav/dav/PropFindResponse.h"

namespace DAV {

class CollectionReponse : public PropFindResponse {
  public:
    int32_t execute() override;

  protected:
    CollectionReponse(webdav::WebDAVRequest& request, PropFindRequest& propfind,
                      const webdav::ItemKind& kind, CollectionRole role)
        : PropFindResponse(request, propfind), kind_(kind), role_(role) {}

  private:
    bool listItems();
    void answerItem();

    const webdav::ItemKind& kind_;
    CollectionRole role_;
};

/// The calendar home, the inbox and calendar folders.
class CalPropFindReponse final : public CollectionReponse {
  public:
    CalPropFindReponse(webdav::WebDAVRequest& request, PropFindRequest& propfind,
                       CollectionRole role = CollectionRole::kFolder)
        : CollectionReponse(request, propfind, webdav::kCalendarKind, role) {}
};

class TaskPropFindReponse final : public CollectionReponse {
  public:
    TaskPropFindReponse(webdav::WebDAVRequest& request, PropFindRequest& propfind)
        : CollectionReponse(request, propfind, webdav::kTaskKind, CollectionRole::kFolder) {}
};

/// The address book home and contact folders.
class ContactPropFindReponse final : public CollectionReponse {
  public:
    ContactPropFindReponse(webdav::WebDAVRequest& request, PropFindRequest& propfind,
                           CollectionRole role = CollectionRole::kFolder)
        : CollectionReponse(request, propfind, webdav::kContactKind, role) {}
};

/// Answers every requested property of a collection under its href.
void AnswerCollection(PropFindResponseBase& response, const PropFindRequest& propfind,
                      const CollectionTarget& target, std::string_view href);

}  // namespace DAV
