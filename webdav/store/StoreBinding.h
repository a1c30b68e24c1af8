// Finds the store's two libraries, binds their operations and lets go of them again.
//
// Called by the start-up and shut-down of the extension, never while requests run.
#pragma once

namespace webdav {

/// Binds the user library, then the calendar library; logs what happens. False when either cannot
/// be bound; a user library that was bound before the calendar library failed stays loaded.
bool LoadStore();

/// Releases both libraries; does nothing unless the store is loaded.
void UnloadStore();

/// True while both libraries are bound.
bool IsStoreLoaded();

}  // namespace webdav
