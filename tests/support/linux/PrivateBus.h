// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/ChildProgram.h"
#include "tests/support/EnvironmentValue.h"

#include <memory>
#include <optional>
#include <string>

namespace sentrel {

/// A message bus of the test's own, which stands for the session's and the system's for a scope.
class PrivateBus {
public:
    PrivateBus();

    /// False if there is no dbus-daemon here.
    [[nodiscard]] bool runs() const noexcept { return address_.has_value(); }
    [[nodiscard]] const std::string& address() const { return *address_; }

private:
    ChildProgram daemon_;
    std::optional<std::string> address_;
    std::unique_ptr<EnvironmentValue> session_;
    std::unique_ptr<EnvironmentValue> system_;
};

} // namespace sentrel
