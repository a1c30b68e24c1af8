#include "webdav/dav/MultigetResponse.h"

#include <algorithm>
#include <functional>

#include "platform/Files.h"
#include "webdav/dav/Hrefs.h"
#include "webdav/dav/ItemListing.h"
#include "webdav/dav/KindTexts.h"
#include "webdav/log/Log.h"

namespace DAV {

using webdav::Log;

int32_t MultigetResponse::run() {
    if (!listItems()) return -1;
    readHrefs();
    webdav::TextTable hrefs(wanted_.size());
    const bool hrefsAreUnique =
        std::ranges::all_of(wanted_, [&](const Wanted& wanted) { return hrefs.add(wanted.href); });
    findItems();

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
        std::string href = RepairedHref(sent);
        std::string name = NameOfHref(sent);
        std::string longUid = WithoutExtension(NameBelowUrl(href, url_));
        std::string uid = WithoutExtension(name);
        wanted_.push_back({std::move(href), std::move(name), std::move(longUid), std::move(uid)});
    }
}

/// Looks only for what is asked for: a folder may hold far more items.
void MultigetResponse::findItems() {
    uids_.emplace(2 * wanted_.size());
    for (const Wanted& wanted : wanted_) {
        uids_->add(wanted.longUid);
        uids_->add(wanted.uid);
    }
    items_.resize(uids_->size());
    for (const StoreItem& item : records_) {
        const auto place = item.uid == nullptr ? std::nullopt : uids_->find(item.uid);
        // The first record of a UID wins.
        if (place && items_[*place] == nullptr) items_[*place] = &item;
    }
}

bool MultigetResponse::listItems() {
    const KindTexts& texts = TextsOf(context_.kind);
    return ListItems(records_, context_.request.RequestTag(),
                     {texts.multigetCount, texts.multigetFailure, texts.multigetFailure},
                     [this](StoreItem* items, uint32_t* count) {
                         return context_.kind.operations.list(items, count, context_.folder);
                     });
}

void MultigetResponse::answer(ItemAnswers& answers, const Wanted& wanted) {
    if (const StoreItem* item = find(wanted)) {
        answers.addCopyOf(wanted.href, *item);
    } else {
        logUnknown(wanted.uid);
        answers.addMissing(wanted.href);
    }
}

const StoreItem* MultigetResponse::find(const Wanted& wanted) {
    for (const std::string& uid : {std::cref(wanted.longUid), std::cref(wanted.uid)}) {
        const auto place = uid.empty() ? std::nullopt : uids_->find(uid);
        if (place && items_[*place] != nullptr) return items_[*place];
    }
    return nullptr;
}

// Every property looks its item up by itself, so each one is logged.
void MultigetResponse::logUnknown(const std::string& uid) const {
    for (size_t i = 0; i < multiget_.properties().size(); ++i)
        Log(webdav::kLogError, context_.request.RequestTag(),
            TextsOf(context_.kind).multigetUnknown, context_.folder.folderPath.c_str(),
            uid.c_str());
}

void CalMultigetResponse::answer(ItemAnswers& answers, const Wanted& wanted) {
    if (context_.request.Target().kind == "calendar-inbox" || wanted.uid == "msg")
        answerMessage(answers, wanted);
    else
        MultigetResponse::answer(answers, wanted);
}

void CalMultigetResponse::answerMessage(ItemAnswers& answers, const Wanted& wanted) {
    const webdav::WebDAVRequest& request = context_.request;
    const std::string& directory = request.Account().mailDirectory;
    const std::string path = directory + wanted.name;

    webdav::ItemRecord item(context_.kind);
    int32_t status = STORE_NOT_FOUND;
    if (!directory.empty() && platform::isPlainName(wanted.name))  // guests have no directory
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
