// SPDX-License-Identifier: Apache-2.0
#pragma once

/// /run/utmp (utmp(5)), which login programs keep and `who` shows. Systems that have given it up have no list here.

#include <SentrelKit/platform/HostFacts.h>

#include <string_view>
#include <vector>

namespace sentrel::platform {

/// The users of the records of kind USER_PROCESS, in their order. A record at the end that is not whole is left out.
[[nodiscard]] std::vector<LoggedInUser> parseLoginRecords(std::string_view bytes);

} // namespace sentrel::platform
