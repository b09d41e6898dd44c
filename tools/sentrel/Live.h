// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace tool {

/// Shows this machine on the terminal until it is told to stop: by a key, or a signal, which then ends the process as
/// it would have, with the terminal as it was. Where there is no terminal to show it on, prints the figures once, and
/// why on the standard error stream. On the main thread. The exit status.
[[nodiscard]] int live();

} // namespace tool
