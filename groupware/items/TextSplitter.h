// Divides a text of many items into texts of one item each.
//
// All components of one UID are one item. Each keeps its own bytes and gets a wrapper with the time
// zones that it uses; a text that holds one item and nothing else stays as it is. Items without UID
// are items of their own.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
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
    /// Its components alone.
    std::string components(size_t index) const;

  private:
    /// One component of the kind, or one vCard.
    struct Part {
        std::string_view bytes;
        size_t calendar = 0;             ///< the VCALENDAR it stands in
        std::vector<std::string> zones;  ///< TZIDs that it names, each once
    };
    struct Calendar {
        std::string header;
        std::unordered_map<std::string, std::string_view> zones;  ///< by TZID, the first of each
    };
    class Reading;

    std::string wrapped(const std::vector<Part>& parts) const;

    ItemKind kind_;
    std::string_view whole_;
    bool holdsOthers_ = false;  ///< components of other kinds
    std::vector<Calendar> calendars_;
    std::vector<std::vector<Part>> items_;
    std::string problem_;
};

/// Adds bytes that are whole lines, so that lines of other texts can follow: the last one gets its
/// end when it lacks one, and lines that end in CR alone get LF too.
void appendLines(std::string& text, std::string_view lines);

}  // namespace groupware
