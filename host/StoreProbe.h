// Asks the store behind the extension how it is: for health checks and monitoring alone.
//
// The library is loaded when this is made and stays as long. Safe from every thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "abi/CVUser.h"
#include "platform/DynamicLibrary.h"

namespace host {

class StoreProbe {
  public:
    /// A path (backslashes) without extension; nothing is asked of an empty one.
    explicit StoreProbe(const std::string& library);

    /// What is wrong, or nothing.
    std::optional<std::string> problem() const;
    /// Nothing when this store offers none.
    std::optional<StoreFigures> figures() const;

  private:
    platform::DynamicLibrary library_;
    std::optional<std::string> loadProblem_;
    decltype(&CV_GetDomainCount) countDomains_ = nullptr;
    decltype(&CV_GetFigures) getFigures_ = nullptr;
};

}  // namespace host
