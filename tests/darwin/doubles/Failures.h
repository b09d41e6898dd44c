// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <optional>
#include <string>

/// Failures that a test asks for, and how often each function was called. Any thread.
namespace darwin::failures {

/// Lets the n-th call from now of a function fail with a code of the function's own kind: what it returns, or errno.
void plan(const std::string& function, int code, int call = 1);

/// Lets each call from now of a function fail so.
void planAll(const std::string& function, int code);

/// Counts a call; the code of a failure that is due.
[[nodiscard]] std::optional<int> due(const std::string& function);

/// How often a function was called since `reset`.
[[nodiscard]] int calls(const std::string& function);

/// The functions that were called since `reset`, and how often.
[[nodiscard]] std::map<std::string, int> called();

/// Forgets all plans and counts.
void reset();

} // namespace darwin::failures
