// The property tables of collections, a row a property, one table for each kind of folder.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "webdav/dav/CollectionTarget.h"
#include "webdav/dav/PropertyRecord.h"

namespace DAV {

struct CollectionRow {
    std::string_view namespaceUri;
    std::string_view name;
    /// Fills the property; false when the target does not have it, which is answered 404.
    bool (*fill)(PropertyRecord& property, const CollectionTarget& target);
};

std::span<const CollectionRow> CollectionRowsOf(const webdav::ItemKind& kind);

/// Fills one requested property of a collection. The result is its status, 200 or 404.
uint16_t EvaluateCollectionProperty(PropertyRecord& property, const CollectionTarget& target);

}  // namespace DAV
