#pragma once

namespace sentrel {

/// Moves the whole program into a mount namespace of its own, where what it mounts is seen by nobody else and ends with
/// it. Call it before the first thread starts (as a gtest environment). False without the right to.
bool enterOwnMountNamespace();

/// True once the program is in a mount namespace of its own.
[[nodiscard]] bool inOwnMountNamespace();

} // namespace sentrel
