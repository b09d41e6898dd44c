// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The one suite that the library itself reads: the preferences that the host application and its widgets share.

#include <SentrelKit/settings/UserDefaults.h>

namespace sentrel {

/// The suite "Q4R7TWXN20.SentrelSharingDefaults". Any thread.
[[nodiscard]] SENTREL_API UserDefaults sharedDefaults();

} // namespace sentrel
