// The properties of items, and how an item is answered in a multistatus.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "webdav/dav/PropFindResponse.h"
#include "webdav/dav/PropertyRecord.h"
#include "webdav/frame/WebDAVRequest.h"

namespace DAV {

/// What stays the same for all items that one request is answered with.
struct ItemContext {
    ItemContext(webdav::WebDAVRequest& webdavRequest, const webdav::ItemKind& itemKind);

    webdav::WebDAVRequest& request;
    const webdav::ItemKind& kind;
    webdav::FolderAccess folder;
    bool plainVCard;
};

struct ItemRow;

/// Answers items under their hrefs: every requested property, with its status.
class ItemAnswers {
  public:
    /// @param hrefsAreUnique whether no href is used twice, nor that of another resource in the
    /// answer: each item is then written as it comes.
    ItemAnswers(PropFindResponseBase& response, const std::vector<PropertyName>& properties,
                const ItemContext& context, bool hrefsAreUnique);

    /// Conversions may change the record.
    void add(std::string_view href, StoreItem& item);
    /// Works on a copy of the listed record.
    void addCopyOf(std::string_view href, const StoreItem& listed);
    /// There is no such item: every property with 404.
    void addMissing(std::string_view href);

  private:
    PropFindResponseBase& response_;
    const ItemContext& context_;
    bool hrefsAreUnique_;
    std::vector<const ItemRow*> rows_;  // of the properties; null for one that items do not have
    std::vector<TextProperty> properties_;
};

/// Whether no two items have the same UID, which their hrefs are made of.
bool HaveUniqueUids(std::span<const StoreItem> items);

/// False asks the store for vCard version 4.0: one client wants it, the others get 3.0.
bool WantsPlainVCard(webdav::WebDAVRequest& request);

}  // namespace DAV
