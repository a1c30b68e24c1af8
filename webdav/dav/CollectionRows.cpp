#include "webdav/dav/CollectionRows.h"

#include "webdav/dav/Hrefs.h"
#include "webdav/dav/Namespaces.h"
#include "webdav/dav/Privileges.h"

namespace DAV {

namespace {

using Target = CollectionTarget;

bool isMailbox(const Target& target) {
    return target.role == CollectionRole::kInbox || target.role == CollectionRole::kOutbox;
}

bool fillContentType(PropertyRecord& property, const Target& target) {
    if (isMailbox(target)) return false;
    property.text = "httpd/unix-directory";
    return true;
}

bool fillStamp(PropertyRecord& property, const Target& target) {
    if (isMailbox(target)) return false;
    property.text = target.changeStamp();
    return true;
}

bool fillCtag(PropertyRecord& property, const Target& target) {
    if (isMailbox(target)) return false;
    property.text = target.changeStamp();
    return !property.text.empty();
}

bool fillFolderCtag(PropertyRecord& property, const Target& target) {
    return target.isFolder() && fillCtag(property, target);
}

bool fillCalendarType(PropertyRecord& property, const Target& target) {
    property.markup = {{kDav, "<D:collection/>"}};
    switch (target.role) {
        case CollectionRole::kFolder:
            property.markup.push_back({kCalDav, "<C:calendar/>"});
            break;
        case CollectionRole::kInbox:
            property.markup.push_back({kCalDav, "<C:schedule-inbox/>"});
            break;
        case CollectionRole::kOutbox:
            property.markup.push_back({kCalDav, "<C:schedule-outbox/>"});
            break;
        case CollectionRole::kHomeSet:
            break;
    }
    return true;
}

bool fillAddressBookType(PropertyRecord& property, const Target& target) {
    property.markup = {{kDav, "<D:collection/>"}};
    if (target.isFolder()) property.markup.push_back({kCardDav, "<card:addressbook/>"});
    return true;
}

bool fillCalendarOwner(PropertyRecord& property, const Target& target) {
    if (target.owner.empty()) return false;
    property.AddChild(kDav, "href", PrincipalHref(target.owner) + "/");
    return true;
}

// Unlike that of a calendar, the owner of an address book has no closing slash.
bool fillAddressBookOwner(PropertyRecord& property, const Target& target) {
    property.AddChild(kDav, "href", PrincipalHref(target.owner));
    return true;
}

bool fillCurrentUser(PropertyRecord& property, const Target& target) {
    property.AddChild(kDav, "href", PrincipalHref(target.request.AccountNameForAccess()));
    return true;
}

bool fillDisplayName(PropertyRecord& property, const Target& target) {
    if (!target.isFolder()) return false;
    switch (target.scope) {
        case FolderScope::kPublic:
            property.text = "[Public] - " + target.displayName;
            break;
        case FolderScope::kShared:
            property.text = "[" + target.owner + "] - " + target.displayName;
            break;
        case FolderScope::kOwn:
            property.text = target.displayName;
            break;
    }
    return true;
}

bool fillAddressBookName(PropertyRecord& property, const Target& target) {
    if (target.isFolder()) return fillDisplayName(property, target);
    property.text = "addressbook-home-set";
    return true;
}

bool fillCalendarPrivileges(PropertyRecord& property, const Target& target) {
    AddCalendarPrivileges(property, target.accessMask(), target.role);
    return true;
}

bool fillPlainPrivileges(PropertyRecord& property, const Target& target) {
    AddPlainPrivileges(property, target.accessMask());
    return true;
}

constexpr FixedMarkup kCommonReports = {
    kDav,
    "<D:supported-report><D:report><D:expand-property/></D:report></D:supported-report>"
    "<D:supported-report><D:report><D:principal-property-search/></D:report></D:supported-report>"
    "<D:supported-report><D:report><D:principal-search-property-set/></D:report></"
    "D:supported-report>"};
constexpr FixedMarkup kCalendarReports = {
    kCalDav,
    "<D:supported-report><D:report><C:calendar-multiget/></D:report></D:supported-report>"
    "<D:supported-report><D:report><C:calendar-query/></D:report></D:supported-report>"
    "<D:supported-report><D:report><C:free-busy-query/></D:report></D:supported-report>"};
constexpr FixedMarkup kTaskReports = {
    kCalDav,
    "<D:supported-report><D:report><C:calendar-multiget/></D:report></D:supported-report>"
    "<D:supported-report><D:report><C:calendar-query/></D:report></D:supported-report>"};
constexpr FixedMarkup kAddressBookReports = {
    kCardDav,
    "<D:supported-report><D:report><card:addressbook-multiget/></D:report></D:supported-report>"
    "<D:supported-report><D:report><card:addressbook-query/></D:report></D:supported-report>"};

bool fillCalendarReports(PropertyRecord& property, const Target& target) {
    property.markup = {kCommonReports};
    if (target.role == CollectionRole::kHomeSet || target.role == CollectionRole::kOutbox)
        return true;
    property.markup.push_back(kCalendarReports);
    return true;
}

bool fillTaskReports(PropertyRecord& property, const Target&) {
    property.markup = {kTaskReports};
    return true;
}

bool fillAddressBookReports(PropertyRecord& property, const Target&) {
    property.markup = {kAddressBookReports};
    return true;
}

bool fillEventComponent(PropertyRecord& property, const Target& target) {
    if (!target.isFolder()) return false;
    property.markup = {{kCalDav, "<C:comp name=\"VEVENT\"/>"}};
    return true;
}

bool fillTaskComponent(PropertyRecord& property, const Target&) {
    property.markup = {{kCalDav, "<C:comp name=\"VTODO\"/>"}};
    return true;
}

bool fillTransparency(PropertyRecord& property, const Target& target) {
    if (!target.isFolder()) return false;
    property.markup = {{kCalDav, "<C:opaque/>"}};
    return true;
}

bool fillAddressData(PropertyRecord& property, const Target&) {
    property.markup = {{kCardDav,
                        "<card:address-data-type content-type=\"text/vcard\" version=\"3.0\"/>"
                        "<card:address-data-type content-type=\"text/vcard\" version=\"4.0\"/>"}};
    return true;
}

constexpr CollectionRow kCalendarRows[] = {
    {kDav, "getcontenttype", fillContentType},
    {kDav, "getetag", fillStamp},
    {kDav, "getlastmodified", fillStamp},
    {kDav, "resourcetype", fillCalendarType},
    {kDav, "owner", fillCalendarOwner},
    {kDav, "current-user-principal", fillCurrentUser},
    {kDav, "current-user-privilege-set", fillCalendarPrivileges},
    {kDav, "displayname", fillDisplayName},
    {kDav, "supported-report-set", fillCalendarReports},
    {kCalDav, "supported-calendar-component-set", fillEventComponent},
    {kCalDav, "schedule-calendar-transp", fillTransparency},
    {kCalendarServer, "getctag", fillFolderCtag},
};

constexpr CollectionRow kTaskRows[] = {
    {kDav, "getcontenttype", fillContentType},
    {kDav, "getetag", fillStamp},
    {kDav, "getlastmodified", fillStamp},
    {kDav, "resourcetype", fillCalendarType},
    {kDav, "owner", fillCalendarOwner},
    {kDav, "current-user-principal", fillCurrentUser},
    {kDav, "current-user-privilege-set", fillPlainPrivileges},
    {kDav, "displayname", fillDisplayName},
    {kDav, "supported-report-set", fillTaskReports},
    {kCalDav, "supported-calendar-component-set", fillTaskComponent},
    {kCalendarServer, "getctag", fillFolderCtag},
};

constexpr CollectionRow kAddressBookRows[] = {
    {kDav, "getcontenttype", fillContentType},
    {kDav, "getetag", fillStamp},
    {kDav, "getlastmodified", fillStamp},
    {kDav, "resourcetype", fillAddressBookType},
    {kDav, "owner", fillAddressBookOwner},
    {kDav, "current-user-principal", fillCurrentUser},
    {kDav, "current-user-privilege-set", fillPlainPrivileges},
    {kDav, "displayname", fillAddressBookName},
    {kDav, "supported-report-set", fillAddressBookReports},
    {kCardDav, "supported-address-data", fillAddressData},
    {kCalendarServer, "getctag", fillCtag},
};

}  // namespace

std::span<const CollectionRow> CollectionRowsOf(const webdav::ItemKind& kind) {
    if (&kind == &webdav::kTaskKind) return kTaskRows;
    if (&kind == &webdav::kContactKind) return kAddressBookRows;
    return kCalendarRows;
}

uint16_t EvaluateCollectionProperty(PropertyRecord& property, const CollectionTarget& target) {
    for (const CollectionRow& row : CollectionRowsOf(target.kind))
        if (row.name == property.name && row.namespaceUri == property.namespaceUri)
            return row.fill(property, target) ? 200 : 404;
    return 404;
}

}  // namespace DAV
