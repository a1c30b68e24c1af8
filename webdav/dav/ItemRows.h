// The properties of items, and how an item is answered in a multistatus.
#pragma once

#include <cstdint>
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

/// Answers an item under its href: every requested property, with its status. Works on a copy of
/// the listed record, as conversions may change it.
void AnswerItem(PropFindResponseBase& response, const std::vector<PropertyName>& properties,
                const ItemContext& context, const StoreItem& listed, std::string_view href);

/// Answers every requested property with 404: there is no such item.
void AnswerMissingItem(PropFindResponseBase& response, const std::vector<PropertyName>& properties,
                       std::string_view href);

/// False asks the store for vCard version 4.0: one client wants it, the others get 3.0.
bool WantsPlainVCard(webdav::WebDAVRequest& request);

}  // namespace DAV
