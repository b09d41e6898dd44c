// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/ProcessService.h>

#include <functional>
#include <vector>

/// The workspace's running applications. Any thread.
namespace sentrel::platform::Workspace {

/// Those that run now, without their start times.
[[nodiscard]] std::vector<RunningApplication> runningApplications();

/// Calls `changed` after each change of them, on the thread that makes the change, for as long as the process lives:
/// taking a key-value observation back while another thread delivers is not safe.
void observeRunningApplications(std::function<void()> changed);

} // namespace sentrel::platform::Workspace
