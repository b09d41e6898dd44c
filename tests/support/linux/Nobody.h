// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

namespace sentrel {

/// Runs a check in a process of a user who owns nothing else; what fails there fails the test.
void asNobody(const std::function<void()>& check);

} // namespace sentrel
