#include "webdav/dav/ItemRows.h"

#include <span>

#include "webdav/dav/KindTexts.h"
#include "webdav/dav/Namespaces.h"
#include "webdav/log/Log.h"

namespace DAV {

namespace {

struct ItemRow {
    std::string_view namespaceUri;
    std::string_view name;
    /// Fills the property; the result is its status.
    uint16_t (*fill)(PropertyRecord& property, const ItemContext& context, StoreItem& item);
};

uint16_t fillContentType(PropertyRecord& property, const ItemContext& context, StoreItem&) {
    property.text = TextsOf(context.kind).propertyContentType;
    return 200;
}

uint16_t fillResourceType(PropertyRecord&, const ItemContext&, StoreItem&) {
    return 200;
}

uint16_t fillStamp(PropertyRecord& property, const ItemContext&, StoreItem& item) {
    property.text = webdav::FormatStamp(item.lastModified);
    return 200;
}

uint16_t fillItemText(PropertyRecord& property, const ItemContext& context, StoreItem& item) {
    item.exportFlag = 1;
    webdav::StoreText text;
    const int32_t status =
        context.kind.operations.toText(item, context.folder, context.plainVCard, text.out());
    if (status != STORE_OK) {
        webdav::Log(webdav::kLogError, context.request.RequestTag(), "%s failed [%d] : [%s:%s]",
                    TextsOf(context.kind).toText, status, context.request.Url().c_str(),
                    webdav::ItemNumberText(context.kind, item).c_str());
        return 500;
    }
    property.text = text.view();
    return 200;
}

constexpr ItemRow kCalendarRows[] = {
    {kDav, "getcontenttype", fillContentType},
    {kDav, "resourcetype", fillResourceType},
    {kDav, "getetag", fillStamp},
    {kDav, "getlastmodified", fillStamp},
    {kCalDav, "calendar-data", fillItemText},
};

constexpr ItemRow kContactRows[] = {
    {kDav, "getcontenttype", fillContentType},
    {kDav, "resourcetype", fillResourceType},
    {kDav, "getetag", fillStamp},
    {kDav, "getlastmodified", fillStamp},
    {kCardDav, "address-data", fillItemText},
};

std::span<const ItemRow> rowsOf(const webdav::ItemKind& kind) {
    if (&kind == &webdav::kContactKind) return kContactRows;
    return kCalendarRows;
}

uint16_t evaluate(PropertyRecord& property, const ItemContext& context, StoreItem& item) {
    for (const ItemRow& row : rowsOf(context.kind))
        if (row.name == property.name && row.namespaceUri == property.namespaceUri)
            return row.fill(property, context, item);
    return 404;
}

}  // namespace

ItemContext::ItemContext(webdav::WebDAVRequest& webdavRequest, const webdav::ItemKind& itemKind)
    : request(webdavRequest),
      kind(itemKind),
      folder(webdavRequest.TargetFolder()),
      plainVCard(WantsPlainVCard(webdavRequest)) {}

void AnswerItem(PropFindResponseBase& response, const std::vector<PropertyName>& properties,
                const ItemContext& context, const StoreItem& listed, std::string_view href) {
    webdav::ItemRecord copy(context.kind);
    context.kind.operations.copy(copy.get(), &listed);
    for (const PropertyName& requested : properties) {
        PropertyRecord property = requested.EmptyRecord();
        const uint16_t status = evaluate(property, context, *copy.get());
        response.addProperty(href, status, std::move(property));
    }
}

void AnswerMissingItem(PropFindResponseBase& response, const std::vector<PropertyName>& properties,
                       std::string_view href) {
    for (const PropertyName& requested : properties)
        response.addProperty(href, 404, requested.EmptyRecord());
}

bool WantsPlainVCard(webdav::WebDAVRequest& request) {
    return !request.Data().GetServerVar("HTTP_USER-AGENT").starts_with("eM Client");
}

}  // namespace DAV
