// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/Availability.h>

#include <cstdint>
#include <string>

namespace sentrel::platform {

/// The name of the user of that number in the system's directory of users (getpwuid_r), which may lie on the network:
/// it takes the time that the directory takes. The name stays as it was unless the answer is `available`;
/// `unsupported`: there is no such user. Any thread.
[[nodiscard]] Availability findUserName(std::uint32_t user, std::string& name);

} // namespace sentrel::platform
