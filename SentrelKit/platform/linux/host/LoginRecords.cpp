// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/LoginRecords.h>

#include <cstring>
#include <string>
#include <utmpx.h>

namespace sentrel::platform {

namespace {

// A text field ends at a zero byte or with its room.
template <std::size_t size>
std::string textOf(const char (&field)[size]) {
    return {field, ::strnlen(field, size)};
}

} // namespace

std::vector<LoggedInUser> parseLoginRecords(std::string_view bytes) {
    std::vector<LoggedInUser> users;
    for (; bytes.size() >= sizeof(utmpx); bytes.remove_prefix(sizeof(utmpx))) {
        utmpx record{};
        std::memcpy(&record, bytes.data(), sizeof(record));
        if (record.ut_type != USER_PROCESS || record.ut_user[0] == '\0')
            continue;
        users.push_back({textOf(record.ut_user), textOf(record.ut_line), textOf(record.ut_host), record.ut_tv.tv_sec,
                         record.ut_pid});
    }
    return users;
}

} // namespace sentrel::platform
