// Whether the server can do its work: the extension answers and the data can be written.
//
// run() is for a worker thread, since it waits for the disk and the extension.
#pragma once

#include <optional>
#include <string>

#include "host/ExtensionModule.h"
#include "host/StoreProbe.h"

namespace host {

class HealthCheck {
  public:
    /// The directory (backslashes) may be empty: then nothing is written.
    HealthCheck(const ExtensionModule& module, const StoreProbe& store, std::string dataDirectory)
        : module_(module), store_(store), dataDirectory_(std::move(dataDirectory)) {}

    /// What is wrong, or nothing.
    std::optional<std::string> run() const;

  private:
    std::optional<std::string> askExtension() const;
    std::optional<std::string> writeFile() const;

    const ExtensionModule& module_;
    const StoreProbe& store_;
    const std::string dataDirectory_;
};

}  // namespace host
