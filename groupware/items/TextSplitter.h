// Divides a text of many items into texts of one item each.
//
// All components of one UID are one item. Each keeps its own bytes and gets a wrapper with the time
// zones that it uses. Items without UID are items of their own.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "groupware/db/Database.h"

namespace groupware {

class TextSplitter {
  public:
    /// The text must live as long as this. A text that cannot be divided has no items; the problem
    /// tells why.
    TextSplitter(ItemKind kind, std::string_view text);

    size_t count() const { return items_.size(); }
    const std::string& problem() const { return problem_; }
    /// The text of one item.
    std::string text(size_t index) const;

  private:
    /// One component of the kind, or one vCard.
    struct Part {
        std::string_view bytes;
        size_t calendar = 0;             ///< the VCALENDAR it stands in
        std::vector<std::string> zones;  ///< TZIDs that it names
    };
    struct Zone {
        std::string name;
        std::string_view bytes;
    };
    struct Calendar {
        std::string header;
        std::vector<Zone> zones;
    };
    class Reading;

    const Zone* zone(const Part& part, const std::string& name) const;

    ItemKind kind_;
    std::vector<Calendar> calendars_;
    std::vector<std::vector<Part>> items_;
    std::string problem_;
};

/// Adds bytes that are whole lines; the last one gets its end when it lacks one.
void appendLines(std::string& text, std::string_view lines);

}  // namespace groupware
