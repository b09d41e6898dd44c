// SPDX-License-Identifier: Apache-2.0
#include <utmpx.h>

#include "tests/darwin/doubles/Failures.h"
#include "tests/darwin/doubles/Ledger.h"
#include "tests/darwin/doubles/Machine.h"

#include <cerrno>
#include <cstring>
#include <mutex>
#include <optional>

using namespace darwin;

namespace {

constexpr const char* openList = "open list of logins";

// The process's one place in the list; absent while it is closed.
struct Walk {
    std::mutex lock;
    std::optional<std::size_t> place;
    utmpx record{};
};

Walk& walk() {
    static Walk& instance = *new Walk;
    return instance;
}

// Without a byte at its end where it fills its room.
template <std::size_t size>
void put(char (&to)[size], const std::string& text) {
    std::strncpy(to, text.c_str(), size);
}

} // namespace

extern "C" {

void setutxent() {
    const std::lock_guard guard(walk().lock);
    if (walk().place)
        walk().place = 0;
}

struct utmpx* getutxent() {
    const std::lock_guard guard(walk().lock);
    if (const auto code = failures::due("getutxent")) {
        errno = *code;
        return nullptr;
    }
    if (!walk().place) {
        walk().place = 0;
        ledger::take(openList, 1);
    }
    if (*walk().place == machine().logins.size())
        return nullptr;
    const Login& login = machine().logins[(*walk().place)++];
    utmpx& record = walk().record = {};
    put(record.ut_user, login.user);
    put(record.ut_line, login.terminal);
    put(record.ut_host, login.from);
    record.ut_type = login.type;
    record.ut_tv.tv_sec = login.since;
    record.ut_pid = login.process;
    return &record;
}

void endutxent() {
    const std::lock_guard guard(walk().lock);
    if (!walk().place)
        return;
    walk().place.reset();
    static_cast<void>(ledger::give(openList, 1));
}

} // extern "C"
