// The files of host/setup/, which the build puts into the program.
#pragma once

#include <string_view>

namespace host {

extern const std::string_view kSetupPage;
extern const std::string_view kSetupStyle;
extern const std::string_view kSetupProfile;

}  // namespace host
