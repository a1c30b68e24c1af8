// The changes that the store itself makes to an item, and what every committed change is followed
// by.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "abi/StoreTypes.h"
#include "groupware/engine/Engine.h"
#include "groupware/ical/TextEdit.h"
#include "groupware/items/ItemContents.h"

namespace groupware {

/// Null when the text holds no item of the kind.
ParsedPointer parsedText(ItemKind kind, std::string text);

/// The stored text, with the UID set there that the record was given since it was listed.
std::string textForUid(const ItemContents& contents, const StoredItem& stored);

/// The text with the statuses that the record's attendees were given; the same object when there is
/// nothing to change. No status and "needs action" say the same.
ParsedPointer withStatuses(const StoreItem& record, ParsedPointer parsed);

/// The task's text with the instance of that time completed, as it is when it has been completed
/// before; nothing when the text tells no such instance.
std::optional<std::string> withOccurrenceCompleted(std::string_view text,
                                                   const StoreDateTime& occurrence);

/// A contact's identifier: 32 hexadecimal digits; other kinds have none.
std::string newIdentifier(ItemKind kind);

/// Brings the account's directories up to date. The change is durable already, and a tree that is
/// behind is made good before it is next shown: a failure here is nobody's loss.
void mirrorAfterCommit(Engine& engine, int64_t account);

}  // namespace groupware
