// Whether a person sits at the other end of a standard stream.
#pragma once

namespace platform {

bool inputIsTerminal();
bool errorOutputIsTerminal();

}  // namespace platform
