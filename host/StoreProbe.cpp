#include "host/StoreProbe.h"

namespace host {

StoreProbe::StoreProbe(const std::string& library) {
    if (library.empty()) return;
    if (library_.load(library) != 0) {
        loadProblem_ = "cannot load the store: " + library_.problem();
        return;
    }
    countDomains_ = library_.function<decltype(countDomains_)>("CV_GetDomainCount");
    getFigures_ = library_.function<decltype(getFigures_)>("CV_GetFigures");
}

std::optional<std::string> StoreProbe::problem() const {
    if (loadProblem_ || countDomains_ == nullptr || countDomains_() > 0) return loadProblem_;
    return "the store finds no domain; what stands on standard error may tell why";
}

std::optional<StoreFigures> StoreProbe::figures() const {
    if (getFigures_ == nullptr) return std::nullopt;
    StoreFigures figures{};
    getFigures_(&figures, sizeof figures);
    return figures;
}

}  // namespace host
