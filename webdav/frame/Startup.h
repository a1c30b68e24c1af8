// Start-up and shut-down of the extension, in their fixed order.
//
// Called once each by the web server, with no request in progress.
#pragma once

namespace webdav {

/// Reads where the product is installed, starts the log, loads the store. False when the store
/// cannot be loaded; the log tells why and the thread's last error is the code.
bool StartExtension();

/// Releases the store and stops the log, whose queued lines are written first.
void StopExtension();

}  // namespace webdav
