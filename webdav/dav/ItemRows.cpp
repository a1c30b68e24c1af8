#include "webdav/dav/ItemRows.h"

#include <algorithm>

#include "webdav/base/TextTable.h"
#include "webdav/dav/KindTexts.h"
#include "webdav/dav/Namespaces.h"
#include "webdav/log/Log.h"

namespace DAV {

struct ItemRow {
    std::string_view namespaceUri;
    std::string_view name;
    bool plain;  ///< its text needs no escape
    /// Fills the empty text of the property; the result is its status.
    uint16_t (*fill)(std::string& text, const ItemContext& context, StoreItem& item);
};

namespace {

uint16_t fillContentType(std::string& text, const ItemContext& context, StoreItem&) {
    text = TextsOf(context.kind).propertyContentType;
    return 200;
}

uint16_t fillResourceType(std::string&, const ItemContext&, StoreItem&) {
    return 200;
}

uint16_t fillStamp(std::string& text, const ItemContext&, StoreItem& item) {
    webdav::AppendStamp(text, item.lastModified);
    return 200;
}

uint16_t fillItemText(std::string& text, const ItemContext& context, StoreItem& item) {
    item.exportFlag = 1;
    webdav::StoreText handedOut;
    const int32_t status =
        context.kind.operations.toText(item, context.folder, context.plainVCard, handedOut.out());
    if (status != STORE_OK) {
        webdav::Log(webdav::kLogError, context.request.RequestTag(), "%s failed [%d] : [%s:%s]",
                    TextsOf(context.kind).toText, status, context.request.Url().c_str(),
                    webdav::ItemNumberText(context.kind, item).c_str());
        return 500;
    }
    text = handedOut.view();
    return 200;
}

constexpr ItemRow kCalendarRows[] = {
    {kDav, "getcontenttype", true, fillContentType},
    {kDav, "resourcetype", true, fillResourceType},
    {kDav, "getetag", true, fillStamp},
    {kDav, "getlastmodified", true, fillStamp},
    {kCalDav, "calendar-data", false, fillItemText},
};

constexpr ItemRow kContactRows[] = {
    {kDav, "getcontenttype", true, fillContentType},
    {kDav, "resourcetype", true, fillResourceType},
    {kDav, "getetag", true, fillStamp},
    {kDav, "getlastmodified", true, fillStamp},
    {kCardDav, "address-data", false, fillItemText},
};

std::span<const ItemRow> rowsOf(const webdav::ItemKind& kind) {
    if (&kind == &webdav::kContactKind) return kContactRows;
    return kCalendarRows;
}

const ItemRow* rowOf(const webdav::ItemKind& kind, const PropertyName& property) {
    for (const ItemRow& row : rowsOf(kind))
        if (row.name == property.name && row.namespaceUri == property.namespaceUri) return &row;
    return nullptr;
}

}  // namespace

ItemContext::ItemContext(webdav::WebDAVRequest& webdavRequest, const webdav::ItemKind& itemKind)
    : request(webdavRequest),
      kind(itemKind),
      folder(webdavRequest.TargetFolder()),
      plainVCard(WantsPlainVCard(webdavRequest)) {}

ItemAnswers::ItemAnswers(PropFindResponseBase& response,
                         const std::vector<PropertyName>& properties, const ItemContext& context,
                         bool hrefsAreUnique)
    : response_(response), context_(context), hrefsAreUnique_(hrefsAreUnique) {
    for (const PropertyName& requested : properties) {
        const ItemRow* const row = rowOf(context.kind, requested);
        rows_.push_back(row);
        properties_.push_back(
            {requested.namespaceUri, requested.name, row != nullptr && row->plain, 404, {}});
    }
}

void ItemAnswers::add(std::string_view href, StoreItem& item) {
    for (size_t i = 0; i < rows_.size(); ++i) {
        TextProperty& property = properties_[i];
        property.text.clear();
        property.status = rows_[i] ? rows_[i]->fill(property.text, context_, item) : 404;
    }
    response_.addItem(href, properties_, hrefsAreUnique_);
}

void ItemAnswers::addCopyOf(std::string_view href, const StoreItem& listed) {
    webdav::ItemRecord copy(context_.kind);
    context_.kind.operations.copy(copy.get(), &listed);
    add(href, *copy.get());
}

void ItemAnswers::addMissing(std::string_view href) {
    for (TextProperty& property : properties_) {
        property.text.clear();
        property.status = 404;
    }
    response_.addItem(href, properties_, hrefsAreUnique_);
}

bool HaveUniqueUids(std::span<const StoreItem> items) {
    webdav::TextTable uids(items.size());
    return std::ranges::all_of(
        items, [&](const StoreItem& item) { return uids.add(item.uid ? item.uid : ""); });
}

bool WantsPlainVCard(webdav::WebDAVRequest& request) {
    return !request.Data().GetServerVar("HTTP_USER-AGENT").starts_with("eM Client");
}

}  // namespace DAV
