// An extension that shows what it was given and does on request what a real one should not.
#pragma once

#include "host/ExtensionModule.h"

namespace host {

/// What a call does is chosen by its path: /webdav/echo, variables, misuse, silent, throw, large,
/// login, error, or block, which waits at a gate.
struct TestExtension {
    static ExtensionModule module();
    /// Lets the calls at the gate go on; module() closes it again.
    static void openGate();
    static void waitUntilBlocked(int calls);
};

}  // namespace host
