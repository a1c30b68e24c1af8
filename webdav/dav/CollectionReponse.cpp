#include "webdav/dav/CollectionReponse.h"

#include <span>

#include "webdav/dav/CollectionRows.h"
#include "webdav/dav/HomeListing.h"
#include "webdav/dav/Hrefs.h"
#include "webdav/dav/ItemListing.h"
#include "webdav/dav/ItemRows.h"
#include "webdav/dav/KindTexts.h"
#include "webdav/dav/TaskUid.h"
#include "webdav/log/Log.h"
#include "webdav/log/LogThread.h"

namespace DAV {

namespace {

void logEvaluating(const webdav::WebDAVRequest& request, const std::string& what) {
    webdav::Log(webdav::kLogDebug, request.RequestTag(), "Evaluating properties for: %s",
                what.c_str());
}

}  // namespace

int32_t CollectionReponse::execute() {
    logEvaluating(request_, propfind_.url());
    if (role_ == CollectionRole::kFolder && !request_.Target().itemName.empty()) {
        answerItem();
        return 0;
    }
    AnswerCollection(*this, propfind_, AddressedCollection(request_, kind_, role_),
                     HrefOfUrl(propfind_.url()));
    if (role_ == CollectionRole::kHomeSet)
        return ListHome(*this, request_, propfind_, kind_) ? 0 : -1;
    if (role_ == CollectionRole::kFolder && propfind_.depth() == 1) return listItems() ? 0 : -1;
    return 0;
}

bool CollectionReponse::listItems() {
    const ItemContext context(request_, kind_);
    const KindTexts& texts = TextsOf(kind_);
    webdav::ItemRecords records(kind_);
    const bool listed =
        ListItems(records, request_.RequestTag(),
                  {texts.propFindCount, texts.propFindFailure, texts.propFindFailure},
                  [&](StoreItem* items, uint32_t* count) {
                      return kind_.operations.list(items, count, context.folder);
                  });
    if (!listed) return false;

    const std::span items(records.data(), records.size());
    expectItems(items.size());
    ItemHref href(HrefWithSlash(propfind_.url()), kind_);
    ItemAnswers answers(*this, propfind_.properties(), context, HaveUniqueUids(items));
    const bool logsItems = webdav::LogThread::Instance().Wants(webdav::kLogDebug);
    for (StoreItem& item : items) {
        GiveTaskUid(context, item);
        const std::string& itsHref = href.of(item);
        if (logsItems) logEvaluating(request_, itsHref);
        answers.add(itsHref, item);
    }
    return true;
}

// Clients fetch the tag of an item that they have just written from the item's own URL.
void CollectionReponse::answerItem() {
    const ItemContext context(request_, kind_);
    const std::string href = HrefOfUrl(propfind_.url());
    webdav::ItemRecord item(kind_);
    const bool found =
        kind_.operations.find(item.get(), WithoutExtension(NameOfUrl(propfind_.url())),
                              context.folder) &&
        kind_.operations.get(item.get(), context.folder) == STORE_OK;
    ItemAnswers answers(*this, propfind_.properties(), context, true);
    if (found)
        answers.add(href, *item.get());
    else
        answers.addMissing(href);
}

void AnswerCollection(PropFindResponseBase& response, const PropFindRequest& propfind,
                      const CollectionTarget& target, std::string_view href) {
    for (const PropertyName& requested : propfind.properties()) {
        PropertyRecord property = requested.EmptyRecord();
        const uint16_t status = EvaluateCollectionProperty(property, target);
        response.addProperty(href, status, std::move(property));
    }
}

}  // namespace DAV
