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

/// Markup that stands within a property, always the same.
struct FixedMarkup {
    std::string_view namespaceUri;  ///< whose prefix it uses beside that of DAV:
    std::string_view text;          ///< with the prefixes of Namespaces.h
};

/// An element with nothing but text.
struct ElementRecord {
    std::string_view namespaceUri;
    std::string_view name;
    std::string text;
};

/// An element below DAV:prop.
struct PropertyRecord {
    std::string_view namespaceUri;
    std::string_view name;
    std::string text = {};  ///< not written when anything of this is there, in this order
    std::vector<FixedMarkup> markup = {};
    std::vector<ElementRecord> children = {};
    std::vector<ResponseRecord> responses = {};

    void AddChild(std::string_view childNamespace, std::string_view childName,
                  std::string childText) {
        children.push_back({childNamespace, childName, std::move(childText)});
    }
};

struct PropStatRecord {
    uint16_t status = 0;
    std::vector<PropertyRecord> properties;
};

/// One DAV:response. The href is a valid URI reference already.
struct ResponseRecord {
    std::string href;
    std::vector<PropStatRecord> propstats;  ///< in the order in which their statuses first occurred
};

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
    PropertyRecord EmptyRecord() const { return {namespaceUri, name}; }
};

}  // namespace DAV
