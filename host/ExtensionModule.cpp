#include "host/ExtensionModule.h"

#include "platform/Error.h"

namespace host {

ExtensionModule::ExtensionModule(PFN_GETEXTENSIONVERSION getVersion, PFN_HTTPEXTENSIONPROC proc,
                                 PFN_TERMINATEEXTENSION end)
    : version_(getVersion), call_(proc), terminate_(end) {}

std::optional<std::string> ExtensionModule::load(std::string_view path) {
    if (const uint32_t error = library_.load(path)) {
        return library_.problem().empty() ? platform::describeError(error) : library_.problem();
    }
    version_ = library_.function<PFN_GETEXTENSIONVERSION>("GetExtensionVersion");
    call_ = library_.function<PFN_HTTPEXTENSIONPROC>("HttpExtensionProc");
    terminate_ = library_.function<PFN_TERMINATEEXTENSION>("TerminateExtension");
    if (version_ == nullptr || call_ == nullptr) {
        return "it is no web-server extension: GetExtensionVersion or HttpExtensionProc is missing";
    }
    return std::nullopt;
}

bool ExtensionModule::start() {
    HSE_VERSION_INFO info{};
    return version_(&info) != FALSE;
}

void ExtensionModule::terminate() {
    // The one entry point that an extension may do without.
    if (terminate_ != nullptr) terminate_(HSE_TERM_MUST_UNLOAD);
}

}  // namespace host
