// Reads the attributes of one start tag, in order. Values may be quoted either way, bare or absent;
// what is no attribute is passed over. Linear in the tag, whatever it holds; never fails.
#pragma once

#include <string>
#include <string_view>

namespace webdav {

struct MarkupAttribute {
    std::string_view name;
    std::string_view rawValue;  ///< as it stands in the text, references not decoded

    /// The value with its references decoded.
    std::string value() const;
};

class AttributeReader {
  public:
    /// `startTag` is the whole tag from "<" to ">"; it must outlive the reader.
    explicit AttributeReader(std::string_view startTag);

    /// Reads the next attribute; false when there is none left.
    bool next(MarkupAttribute& attribute);

    /// What has not been read yet: the tag's inside behind the last attribute.
    std::string_view rest() const { return rest_; }
    /// Whether the tag ended where a value or the closing quote of one was still to come, so that
    /// what is put behind it would be taken for that.
    bool wantsValue() const { return wantsValue_; }

  private:
    std::string_view takeName();
    std::string_view takeValue();
    std::string_view takeQuoted();
    void skipBlanks();

    std::string_view rest_;
    bool wantsValue_ = false;
};

/// Finds an attribute by its exact name; the first one counts when a tag has it twice.
bool findAttribute(std::string_view startTag, std::string_view name, MarkupAttribute& attribute);

}  // namespace webdav
