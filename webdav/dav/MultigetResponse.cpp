#include "webdav/dav/MultigetResponse.h"

#include "platform/Files.h"
#include "webdav/dav/Hrefs.h"
#include "webdav/dav/ItemListing.h"
#include "webdav/dav/KindTexts.h"
#include "webdav/log/Log.h"

namespace DAV {

using webdav::Log;

int32_t MultigetResponse::run() {
    if (!listItems()) return -1;
    findWanted();
    for (const std::string& href : multiget_.hrefs()) {
        Log(webdav::kLogDebug, context_.request.RequestTag(), "Evaluating properties for: %s",
            href.c_str());
        answer(RepairedHref(href), NameOfHref(href));
    }
    return 0;
}

/// Only what is asked for: a folder may hold far more items.
void MultigetResponse::findWanted() {
    for (const std::string& href : multiget_.hrefs())
        for (std::string& uid :
             possibleUids(RepairedHref(href), WithoutExtension(NameOfHref(href))))
            wanted_.try_emplace(std::move(uid), nullptr);
    for (const StoreItem& item : records_) {
        if (item.uid == nullptr) continue;
        const auto wanted = wanted_.find(std::string_view(item.uid));
        // The first record of a UID wins.
        if (wanted != wanted_.end() && wanted->second == nullptr) wanted->second = &item;
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

void MultigetResponse::answer(const std::string& href, const std::string& name) {
    const std::string uid = WithoutExtension(name);
    const StoreItem* const item = find(href, uid);
    if (item == nullptr) {
        logUnknown(uid);
        AnswerMissingItem(*this, multiget_.properties(), href);
        return;
    }
    AnswerItem(*this, multiget_.properties(), context_, *item, href);
}

// vdirsyncer decodes the slash within a UID: the whole rest of the path is tried before the
// segment, which might name another item.
std::array<std::string, 2> MultigetResponse::possibleUids(const std::string& href,
                                                          const std::string& uid) const {
    return {WithoutExtension(NameBelowUrl(href, url_)), uid};
}

const StoreItem* MultigetResponse::find(const std::string& href, const std::string& uid) const {
    for (const std::string& name : possibleUids(href, uid)) {
        const auto found = wanted_.find(name);
        if (!name.empty() && found != wanted_.end() && found->second != nullptr)
            return found->second;
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

void CalMultigetResponse::answer(const std::string& href, const std::string& name) {
    const bool inbox = context_.request.Target().kind == "calendar-inbox";
    if (inbox || WithoutExtension(name) == "msg")
        answerMessage(href, name);
    else
        MultigetResponse::answer(href, name);
}

void CalMultigetResponse::answerMessage(const std::string& href, const std::string& name) {
    const webdav::WebDAVRequest& request = context_.request;
    const std::string& directory = request.Account().mailDirectory;
    const std::string path = directory + name;

    webdav::ItemRecord item(context_.kind);
    int32_t status = STORE_NOT_FOUND;
    if (!directory.empty() && platform::isPlainName(name))  // guests have no directory
        status = webdav::store().CV_CalGetCalItemFromMsg(item.get(), path.c_str(),
                                                         context_.folder.account.c_str());
    if (status != STORE_OK) {
        Log(webdav::kLogError, request.RequestTag(), "CV_CalGetCalItemFromMsg failed [%d] : [%s]",
            status, path.c_str());
        AnswerMissingItem(*this, multiget_.properties(), href);
        return;
    }
    AnswerItem(*this, multiget_.properties(), context_, *item, href);
}

}  // namespace DAV
