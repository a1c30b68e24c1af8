#include "webdav/dav/ItemListing.h"

#include "webdav/log/Log.h"

namespace DAV {

namespace {

constexpr uint32_t kFirstRoom = 1000;

}  // namespace

bool ListItems(webdav::ItemRecords& records, const char* tag, const ListingTexts& texts,
               const ListOperation& list, const InsteadOfSecond& instead) {
    uint32_t count = kFirstRoom;
    records.Renew(count);
    const int32_t first = list(records.data(), &count);
    if (first != STORE_OK && first != STORE_MORE_ROOM) {
        webdav::Log(webdav::kLogError, tag, texts.failure, first);
        return false;
    }
    webdav::Log(webdav::kLogDebug, tag, texts.count, count);
    if (first == STORE_MORE_ROOM) {
        if (instead && instead(count)) {
            records.Shrink(0);
            return true;
        }
        records.Renew(count);
        const int32_t second = list(records.data(), &count);
        if (second != STORE_OK) {
            webdav::Log(webdav::kLogError, tag, texts.secondFailure, second);
            return false;
        }
    }
    records.Shrink(count);
    return true;
}

}  // namespace DAV
