// Collects a VTIMEZONE from the lines of an iCalendar text.
//
// Used wherever a text is read; what of a zone cannot be read is left out of it.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "groupware/ical/ContentLines.h"
#include "groupware/ical/TimeZone.h"

namespace groupware {

class ZoneReader {
  public:
    /// A line of the VTIMEZONE; the component is the innermost one open.
    void read(ComponentReader::Step step, std::string_view component, const ContentLine& line);

    const std::string& name() const { return name_; }
    /// Null when there is no observance in it.
    std::shared_ptr<const TimeZone> finish();

  private:
    void readObservance(const ContentLine& line);

    std::string name_;
    std::vector<ZoneObservance> observances_;
    ZoneObservance current_;
    bool hasStart_ = false;
};

/// Reads a text that is one VTIMEZONE.
std::shared_ptr<const TimeZone> readTimeZone(std::string_view text);

}  // namespace groupware
