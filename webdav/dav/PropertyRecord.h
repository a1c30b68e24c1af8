// The records that a multistatus answer is made of.
//
// Names and namespaces are views: of constants, or of the request's own property list, which lives
// as long as the answer.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace DAV {

struct ResponseRecord;

/// An element below DAV:prop; a property is the outermost of them.
struct ElementRecord {
    std::string_view namespaceUri;
    std::string_view name;
    std::string text;  ///< not written when there are children
    std::vector<std::pair<std::string_view, std::string>> attributes;
    std::vector<ElementRecord> children;
    std::vector<ResponseRecord> responses;  ///< nested, written behind the children

    ElementRecord& AddChild(std::string_view childNamespace, std::string_view childName,
                            std::string childText = {});
};

using PropertyRecord = ElementRecord;

struct PropStatRecord {
    uint16_t status = 0;
    std::vector<PropertyRecord> properties;
};

/// One DAV:response. The href is a valid URI reference already.
struct ResponseRecord {
    std::string href;
    std::vector<PropStatRecord> propstats;  ///< in the order in which their statuses first occurred
};

inline ElementRecord& ElementRecord::AddChild(std::string_view childNamespace,
                                              std::string_view childName, std::string childText) {
    return children.emplace_back(
        ElementRecord{childNamespace, childName, std::move(childText), {}, {}, {}});
}

/// A property of an item: nothing but text.
struct TextProperty {
    std::string_view namespaceUri;
    std::string_view name;
    bool plain = false;  ///< whatever the text, it holds nothing that markup escapes
    uint16_t status = 0;
    std::string text;
};

/// A property that a client asks for. Its namespace belongs to the request, which has it once
/// however many properties are of it.
struct PropertyName {
    std::string_view namespaceUri;
    std::string name;

    /// Its record, still without a value.
    PropertyRecord EmptyRecord() const { return {namespaceUri, name, {}, {}, {}, {}}; }
};

}  // namespace DAV
