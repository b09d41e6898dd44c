// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The workspace's running applications, as the code under test cannot see them.
namespace darwin::workspace {

/// Tells those who observe that the running applications changed, on this thread.
void changeRunning();

/// Forgets those who observe, whose services are gone.
void reset();

/// How many observe.
[[nodiscard]] int runningObservers();

} // namespace darwin::workspace
