// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace sentrel {

/// Sees to it that the program's loop serves the main queue of the platform in force, until the QCoreApplication goes.
/// Does nothing where it does already. Main thread.
void serveMainQueueInQt();

} // namespace sentrel
