// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

/// The dynamic store, as the code under test cannot see it.
namespace darwin::store {

/// Tells every session that asked for this key, on its queue.
void change(const std::string& key);

/// The names of the open sessions.
[[nodiscard]] std::vector<std::string> names();

} // namespace darwin::store
