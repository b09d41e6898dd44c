// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

namespace sentrel {

/// Another time zone for a scope.
class TimeZone {
public:
    explicit TimeZone(const char* name) {
        if (const char* before = std::getenv("TZ"))
            before_ = before;
        set(name);
    }
    ~TimeZone() { set(before_ ? before_->c_str() : nullptr); }
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;

private:
    static void set(const char* name) {
        if (name)
            setenv("TZ", name, 1);
        else
            unsetenv("TZ");
        tzset();
    }

    std::optional<std::string> before_;
};

} // namespace sentrel
