// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/HostFacts.h>

#include <cstddef>
#include <cstring>
#include <optional>
#include <string>
#include <utmpx.h>

namespace sentrel::platform {

/// A text field of a record, which ends at a zero byte or with its room.
template <std::size_t size>
[[nodiscard]] std::string loginText(const char (&field)[size]) {
    return {field, ::strnlen(field, size)};
}

/// The user of a record of the system's list of logins; absent for a record of another kind. Any thread.
[[nodiscard]] inline std::optional<LoggedInUser> userOf(const utmpx& record) {
    if (record.ut_type != USER_PROCESS || record.ut_user[0] == '\0')
        return std::nullopt;
    return LoggedInUser{loginText(record.ut_user), loginText(record.ut_line), loginText(record.ut_host),
                        record.ut_tv.tv_sec, record.ut_pid};
}

} // namespace sentrel::platform
