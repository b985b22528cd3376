// Starts an application of the product when the user logs in, or no longer.
#ifndef QUILLHAVEN_SYSTEM_LAUNCH_ON_STARTUP_H_
#define QUILLHAVEN_SYSTEM_LAUNCH_ON_STARTUP_H_

#include "quillhaven/platform/files/bundle.h"

namespace quillhaven::system {

// Sees to it that the user's login items (platform/files/login_items.h) hold
// the bundle, or do not.
//
// Enabled, there is an entry for the bundle's very path, which starts it hidden
// and is switched on; one is added at the end if need be. Entries of other
// copies (bundles elsewhere with the same identifier) are removed, and so are
// those with names that begin with "Quillhaven".
//
// Disabled, the entries of all bundles with the same identifier are removed,
// and those whose bundle vanishes during the call.
//
// Entries of other applications stay as they are. Two bundles without an
// identifier are never copies of each other. Nothing is reported: entries that
// cannot be looked up, changed or added are left alone, and without a folder
// for settings nothing is done. Thread-safe.
void QHSetLaunchOnStartup(bool enabled, const platform::Bundle& bundle);

}  // namespace quillhaven::system

#endif  // QUILLHAVEN_SYSTEM_LAUNCH_ON_STARTUP_H_
