#include "webdav/dav/MultigetResponse.h"

#include <algorithm>
#include <span>

#include "platform/Files.h"
#include "webdav/base/TextTable.h"
#include "webdav/dav/ItemListing.h"
#include "webdav/dav/KindTexts.h"
#include "webdav/log/Log.h"

namespace DAV {

using webdav::Log;

namespace {

// A look-up costs the store about as much as so many items of a listing.
constexpr size_t kItemsOfLookUp = 12;
// Smaller folders are listed, which takes no longer than the rest of the request.
constexpr uint32_t kLargeFolder = 2'000;

}  // namespace

int32_t MultigetResponse::run() {
    readHrefs();
    if (!getItems()) return -1;
    webdav::TextTable hrefs(wanted_.size());
    const bool hrefsAreUnique =
        std::ranges::all_of(wanted_, [&](const Wanted& wanted) { return hrefs.add(wanted.href); });

    expectItems(wanted_.size());
    ItemAnswers answers(*this, multiget_.properties(), context_, hrefsAreUnique);
    for (size_t i = 0; i < wanted_.size(); ++i) {
        Log(webdav::kLogDebug, context_.request.RequestTag(), "Evaluating properties for: %s",
            multiget_.hrefs()[i].c_str());
        answer(answers, wanted_[i]);
    }
    return 0;
}

// vdirsyncer decodes the slash within a UID: the whole rest of the path is tried before the
// segment, which might name another item.
void MultigetResponse::readHrefs() {
    wanted_.reserve(multiget_.hrefs().size());
    for (const std::string& sent : multiget_.hrefs()) {
        Wanted& wanted = wanted_.emplace_back();
        wanted.href = RepairedHref(sent);
        wanted.longUid = WithoutExtension(NameBelowUrl(wanted.href, url_));
        wanted.uid = WithoutExtension(NameOfHref(sent));
    }
}

bool MultigetResponse::getItems() {
    const KindTexts& texts = TextsOf(context_.kind);
    const bool listed = ListItems(
        records_, context_.request.RequestTag(),
        {texts.multigetCount, texts.multigetFailure, texts.multigetFailure},
        [this](StoreItem* items, uint32_t* count) {
            return context_.kind.operations.list(items, count, context_.folder);
        },
        [this](uint32_t count) { return lookedUp_ = lookUp(count); });
    if (listed && !lookedUp_) findListed();
    return listed;
}

/// Looks only for what is asked for: a folder may hold far more items.
void MultigetResponse::findListed() {
    webdav::TextTable uids(2 * wanted_.size());
    for (const Wanted& wanted : wanted_) {
        uids.add(wanted.longUid);
        uids.add(wanted.uid);
    }
    std::vector<StoreItem*> items(uids.size());
    for (StoreItem& item : std::span(records_.data(), records_.size())) {
        const auto place = item.uid == nullptr ? std::nullopt : uids.find(item.uid);
        // The first record of a UID wins.
        if (place && items[*place] == nullptr) items[*place] = &item;
    }
    const auto listed = [&](const std::string& uid) {
        return uid.empty() ? nullptr : items[*uids.find(uid)];
    };
    for (Wanted& wanted : wanted_) {
        wanted.item = listed(wanted.longUid);
        if (wanted.item == nullptr) wanted.item = listed(wanted.uid);
    }
}

/// Looks few items up in a large folder. False when the folder is to be listed all the same: also
/// when one is not there, since a look-up does not tell that from a failure, and clients delete
/// what is said to be gone.
bool MultigetResponse::lookUp(uint32_t count) {
    if (count < kLargeFolder || wanted_.size() > count / kItemsOfLookUp) return false;
    const webdav::ItemOperations& operations = context_.kind.operations;
    found_.Renew(wanted_.size());
    StoreItem* record = found_.data();
    for (Wanted& wanted : wanted_) {
        if (standsInFile(wanted) || wanted.mainUid().empty()) continue;
        if (!operations.find(record, wanted.mainUid(), context_.folder)) return false;
        wanted.item = record++;
    }
    return std::ranges::all_of(wanted_, [&](const Wanted& wanted) {
        if (wanted.item == nullptr) return true;
        if (operations.get(wanted.item, context_.folder) != STORE_OK) return false;
        // A store may have read the UID to its first NUL only, or in any case of letters.
        return wanted.item->uid != nullptr && wanted.item->uid == wanted.mainUid();
    });
}

void MultigetResponse::answer(ItemAnswers& answers, const Wanted& wanted) {
    if (wanted.item == nullptr) {
        logUnknown(wanted.uid);
        answers.addMissing(wanted.href);
    } else if (lookedUp_) {
        answers.add(wanted.href, *wanted.item);
    } else {
        answers.addCopyOf(wanted.href, *wanted.item);  // others may name it as well
    }
}

// Every property looks its item up by itself, so each one is logged.
void MultigetResponse::logUnknown(const std::string& uid) const {
    for (size_t i = 0; i < multiget_.properties().size(); ++i)
        Log(webdav::kLogError, context_.request.RequestTag(),
            TextsOf(context_.kind).multigetUnknown, context_.folder.folderPath.c_str(),
            uid.c_str());
}

bool CalMultigetResponse::standsInFile(const Wanted& wanted) const {
    return context_.request.Target().kind == "calendar-inbox" || wanted.uid == "msg";
}

void CalMultigetResponse::answer(ItemAnswers& answers, const Wanted& wanted) {
    if (standsInFile(wanted))
        answerMessage(answers, wanted);
    else
        MultigetResponse::answer(answers, wanted);
}

void CalMultigetResponse::answerMessage(ItemAnswers& answers, const Wanted& wanted) {
    const webdav::WebDAVRequest& request = context_.request;
    const std::string& directory = request.Account().mailDirectory;
    const std::string name = NameOfHref(wanted.href);
    const std::string path = directory + name;

    webdav::ItemRecord item(context_.kind);
    int32_t status = STORE_NOT_FOUND;
    if (!directory.empty() && platform::isPlainName(name))  // guests have no directory
        status = webdav::store().CV_CalGetCalItemFromMsg(item.get(), path.c_str(),
                                                         context_.folder.account.c_str());
    if (status == STORE_OK) {
        answers.addCopyOf(wanted.href, *item);
        return;
    }
    Log(webdav::kLogError, request.RequestTag(), "CV_CalGetCalItemFromMsg failed [%d] : [%s]",
        status, path.c_str());
    answers.addMissing(wanted.href);
}

}  // namespace DAV
