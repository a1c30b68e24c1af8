#include "webdav/dav/QueryReponse.h"

#include "webdav/dav/Hrefs.h"
#include "webdav/dav/ItemListing.h"
#include "webdav/dav/KindTexts.h"
#include "webdav/log/Log.h"

namespace DAV {

using webdav::Log;

int32_t QueryReponse::run() {
    const KindTexts& texts = TextsOf(context_.kind);
    const char* tag = context_.request.RequestTag();
    const std::string url = context_.request.Url();
    Log(webdav::kLogDebug, tag, texts.queryStart, url.c_str());
    if (inbox_) return 0;

    webdav::ItemRecords records(context_.kind);
    const bool listed = ListItems(
        records, tag, {texts.queryCount, texts.queryFailure, texts.querySecondFailure},
        [this](StoreItem* items, uint32_t* count) {
            return context_.kind.operations.query(items, count, query_.range(), context_.folder);
        });
    if (!listed) return -1;

    expectItems(records.size());
    // Clients query a collection under its URL with the closing slash; none is put in between.
    ItemHref href(HrefOfUrl(url), context_.kind);
    ItemAnswers answers(*this, query_.properties(), context_,
                        HaveUniqueUids({records.begin(), records.size()}));
    for (const StoreItem& item : records) {
        const std::string& itsHref = href.of(item);
        Log(webdav::kLogDebug, tag, "Evaluating properties for: %s", itsHref.c_str());
        answers.addCopyOf(itsHref, item);
    }
    return 0;
}

}  // namespace DAV
