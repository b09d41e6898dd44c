// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

namespace sentrel::platform {

/// Makes what the layer above keeps for the platform in force, and with its release brings back what it kept before.
using SessionMaker = std::shared_ptr<void> (*)();

/// Tells overrides how sessions are made. The probes call it once, at load.
void setSessionMaker(SessionMaker maker) noexcept;

} // namespace sentrel::platform
