// The web-server extension: a library with three exported entry points.
//
// Loaded and started once, before the first request, and terminated once, after the last; call()
// is safe from every thread in between. Failures are texts for the operator.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "abi/Isapi.h"
#include "platform/DynamicLibrary.h"

namespace host {

class ExtensionModule {
  public:
    ExtensionModule() = default;
    /// An extension that is part of this program.
    ExtensionModule(PFN_GETEXTENSIONVERSION getVersion, PFN_HTTPEXTENSIONPROC proc,
                    PFN_TERMINATEEXTENSION end);

    /// Loads the library of that path (backslashes, with or without extension) and finds its entry
    /// points. Result: what went wrong, or nothing.
    std::optional<std::string> load(std::string_view path);

    /// Lets the extension start up; false when it refuses to serve.
    bool start();
    DWORD call(EXTENSION_CONTROL_BLOCK& block) const { return call_(&block); }
    /// Lets the extension shut down; no call may be in progress.
    void terminate();

  private:
    platform::DynamicLibrary library_;
    PFN_GETEXTENSIONVERSION version_ = nullptr;
    PFN_HTTPEXTENSIONPROC call_ = nullptr;
    PFN_TERMINATEEXTENSION terminate_ = nullptr;
};

}  // namespace host
