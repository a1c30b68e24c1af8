#include "webdav/dav/PrincipalReponse.h"

#include "webdav/base/Text.h"
#include "webdav/dav/Hrefs.h"
#include "webdav/dav/Namespaces.h"
#include "webdav/log/Log.h"

namespace DAV {

namespace {

struct Principal {
    std::string address;  ///< "guest" for a token's guest
    std::string email;    ///< the account's own address, which domain and mailbox are taken from
};

struct PrincipalRow {
    std::string_view namespaceUri;
    std::string_view name;
    /// Fills the property; the result is its status.
    uint16_t (*fill)(PropertyRecord& property, const Principal& principal);
};

std::string addressHref(const Principal& principal) {
    return PrincipalHref(principal.address) + "/";
}

uint16_t fillHref(PropertyRecord& property, std::string href) {
    property.AddChild(kDav, "href", std::move(href));
    return 200;
}

uint16_t fillResourceType(PropertyRecord& property, const Principal&) {
    property.markup = {{kCalDav, "<C:collection/>"}};
    return 200;
}

uint16_t fillPrincipalCollection(PropertyRecord& property, const Principal&) {
    return fillHref(property, "/webdav/principals/");
}

uint16_t fillPrincipalUrl(PropertyRecord& property, const Principal& principal) {
    return fillHref(property, addressHref(principal));
}

uint16_t fillDisplayName(PropertyRecord& property, const Principal& principal) {
    const webdav::StoreAccount account = webdav::StoreAccount::ByEmail(principal.address);
    if (!account.valid()) return 404;
    property.text = account.FullName();
    return 200;
}

uint16_t fillReports(PropertyRecord&, const Principal&) {
    return 200;
}

uint16_t fillCalendarHome(PropertyRecord& property, const Principal& principal) {
    return fillHref(property, UserHref("caldav", principal.email));
}

uint16_t fillUserAddresses(PropertyRecord& property, const Principal& principal) {
    fillHref(property, "mailto:" + webdav::EncodeUriPath(principal.address));
    return fillHref(property, addressHref(principal));
}

// Answered as not found, though the value stands there.
uint16_t fillUserType(PropertyRecord& property, const Principal&) {
    property.text = "INDIVIDUAL";
    return 404;
}

uint16_t fillInbox(PropertyRecord& property, const Principal& principal) {
    return fillHref(property, UserHref("caldav-inbox", principal.email));
}

uint16_t fillOutbox(PropertyRecord& property, const Principal& principal) {
    return fillHref(property, UserHref("caldav-outbox", principal.email));
}

uint16_t fillEmailAddresses(PropertyRecord& property, const Principal& principal) {
    property.AddChild(kCalendarServer, "email-address", principal.address);
    return 200;
}

uint16_t fillAddressBookHome(PropertyRecord& property, const Principal& principal) {
    return fillHref(property, UserHref("carddav", principal.email));
}

constexpr PrincipalRow kRows[] = {
    {kDav, "resourcetype", fillResourceType},
    {kDav, "principal-collection-set", fillPrincipalCollection},
    {kDav, "current-user-principal", fillPrincipalUrl},
    {kDav, "principal-URL", fillPrincipalUrl},
    {kDav, "displayname", fillDisplayName},
    {kDav, "supported-report-set", fillReports},
    {kCalDav, "calendar-home-set", fillCalendarHome},
    {kCalDav, "calendar-user-address-set", fillUserAddresses},
    {kCalDav, "calendar-user-type", fillUserType},
    {kCalDav, "schedule-inbox-URL", fillInbox},
    {kCalDav, "schedule-outbox-URL", fillOutbox},
    {kCalendarServer, "email-address-set", fillEmailAddresses},
    {kCardDav, "addressbook-home-set", fillAddressBookHome},
};

uint16_t evaluate(PropertyRecord& property, const Principal& principal) {
    for (const PrincipalRow& row : kRows)
        if (row.name == property.name && row.namespaceUri == property.namespaceUri)
            return row.fill(property, principal);
    return 404;
}

}  // namespace

int32_t PrincipalPropFindReponse::execute() {
    webdav::Log(webdav::kLogDebug, request_.RequestTag(), "Evaluating properties for: %s",
                propfind_.url().c_str());
    const Principal principal{request_.AccountNameForAccess(), request_.Account().email};
    const std::string href = HrefOfUrl(propfind_.url());
    for (const PropertyName& requested : propfind_.properties()) {
        PropertyRecord property = requested.EmptyRecord();
        const uint16_t status = evaluate(property, principal);
        addProperty(href, status, std::move(property));
    }
    return 0;
}

}  // namespace DAV
