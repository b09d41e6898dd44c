// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/TemporaryFolder.h"

#include <clocale>
#include <cstdlib>
#include <string>

namespace sentrel {

/// A locale with a decimal comma, made on the spot, in force for a scope.
class CommaLocale {
public:
    CommaLocale() {
        folder_.write("comma", "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \".\"\ngrouping 3\nEND LC_NUMERIC\n");
        folder_.makeFolder("locales");
        const std::string compile =
            "localedef -c -i " + folder_.path("comma") + " " + folder_.path("locales/comma") + " >/dev/null 2>&1";
        static_cast<void>(std::system(compile.c_str()));
        setenv("LOCPATH", folder_.path("locales").c_str(), 1);
        isInForce_ = std::setlocale(LC_NUMERIC, "comma") != nullptr;
    }
    ~CommaLocale() {
        std::setlocale(LC_NUMERIC, "C");
        unsetenv("LOCPATH");
    }
    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;

    /// False where localedef could not make it.
    [[nodiscard]] bool isInForce() const noexcept { return isInForce_; }

private:
    TemporaryFolder folder_;
    bool isInForce_ = false;
};

} // namespace sentrel
