// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

namespace sentrel {

/// Moves the whole test program, before its first test, into a mount namespace of its own, where what it mounts is seen
/// by nobody else and ends with it. Any number of them do what one does.
class OwnMountNamespace final : public testing::Environment {
    void SetUp() override;
};

/// True once the program is in a mount namespace of its own.
[[nodiscard]] bool inOwnMountNamespace();

} // namespace sentrel
