#include "groupware/items/FolderItem.h"

namespace groupware {

namespace {

/// With its places in the lists of the snapshot.
constexpr size_t kBytesOfItem = sizeof(FolderItem) + 128;

}  // namespace

FolderItem::FolderItem(ItemKind ofKind, FolderKey in, ItemHead head, std::shared_ptr<MemoryUse> use)
    : ItemContents(ofKind, in, std::move(head.row), nullptr),
      span(head.span),
      memory(std::move(use)) {
    memory.add(kBytesOfItem + row.uid.size() + row.identifier.size());
}

void FolderItem::remember(ParsedPointer itsText) const {
    const size_t people = itsText->facts.attendees.size() * sizeof(CalendarUser);
    const size_t bytes = itsText->text.size() + sizeof(ParsedText) + people;
    if (text.keep(std::make_unique<const ParsedPointer>(std::move(itsText)))) memory.add(bytes);
}

}  // namespace groupware
