// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace sentrel::platform {

/// Opens an absolute address in the program that the user's desktop keeps for its scheme: through the desktop portal
/// inside a sandbox, else by starting that program, else by starting "xdg-open". No shell sees the address. False if it
/// is not an absolute address or nothing could be started. What is started takes all signals, also those that the
/// calling thread blocks or the process ignores, and has the thread's niceness. May block while it starts; any thread.
[[nodiscard]] bool openAddress(const std::string& address);

} // namespace sentrel::platform
