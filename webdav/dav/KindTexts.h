// What the protocol says of each kind of item: its log texts, its answers, its data property.
//
// The texts are kept letter for letter; where one kind speaks of another, or names an operation by
// half its name, clients and administrators know it so.
#pragma once

#include <string_view>

#include "webdav/store/ItemKind.h"

namespace DAV {

struct KindTexts {
    // Properties of an item.
    const char* propertyContentType;
    std::string_view dataNamespace;
    std::string_view dataName;

    // Listings: what is counted, and the name under which a failure is logged.
    const char* propFindCount;
    const char* propFindFailure;
    const char* multigetCount;
    const char* multigetFailure;
    const char* queryStart;
    const char* queryCount;
    const char* queryFailure;
    const char* querySecondFailure;
    const char* multigetUnknown;

    // Store operations as GET and the property tables name them when they fail.
    const char* find;
    const char* get;
    const char* toText;

    // PUT: operation named in the log, detail of the answer.
    const char* read;
    const char* readDetail;
    const char* write;
    const char* writeDetail;
    const char* edit;
    const char* editDetail;
    const char* setRelatedData;
    const char* setRelatedDataDetail;

    // DELETE.
    const char* deleteUnknown;
    const char* deleted;
    const char* deleteFailure;
    const char* deleteMessage;
};

const KindTexts& TextsOf(const webdav::ItemKind& kind);

}  // namespace DAV
