// Whether the server can do its work: the extension answers and the data can be written.
//
// run() is for a worker thread, since it waits for the disk and the extension.
#pragma once

#include <optional>
#include <string>

#include "host/ExtensionModule.h"

namespace host {

class HealthCheck {
  public:
    /// Paths have backslashes; what is empty is not looked at.
    HealthCheck(const ExtensionModule& module, std::string dataDirectory, std::string storeLibrary)
        : module_(module),
          dataDirectory_(std::move(dataDirectory)),
          storeLibrary_(std::move(storeLibrary)) {}

    /// What is wrong, or nothing.
    std::optional<std::string> run() const;

  private:
    std::optional<std::string> askExtension() const;
    std::optional<std::string> askStore() const;
    std::optional<std::string> writeFile() const;

    const ExtensionModule& module_;
    const std::string dataDirectory_;
    const std::string storeLibrary_;
};

}  // namespace host
