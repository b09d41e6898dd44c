// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

namespace sentrel::platform {

class Platform;

/// Makes what the layer above keeps for a platform that comes in force, and with its release brings back what it kept
/// before.
using SessionMaker = std::shared_ptr<void> (*)(Platform& platform);

/// Tells overrides how sessions are made. The probes call it once, at load.
void setSessionMaker(SessionMaker maker) noexcept;

} // namespace sentrel::platform
