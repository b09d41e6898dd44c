// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/LoginRecords.h>

#include <SentrelKit/platform/support/LoginRecord.h>

#include <cstring>
#include <optional>
#include <utility>

namespace sentrel::platform {

std::vector<LoggedInUser> parseLoginRecords(std::string_view bytes) {
    std::vector<LoggedInUser> users;
    for (; bytes.size() >= sizeof(utmpx); bytes.remove_prefix(sizeof(utmpx))) {
        utmpx record{};
        std::memcpy(&record, bytes.data(), sizeof(record));
        if (std::optional<LoggedInUser> user = userOf(record))
            users.push_back(std::move(*user));
    }
    return users;
}

} // namespace sentrel::platform
