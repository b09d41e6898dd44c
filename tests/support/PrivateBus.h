#pragma once

#include "ChildProgram.h"

#include <memory>
#include <optional>
#include <string>

namespace sentrel {

/// An environment variable with another value for a scope.
class EnvironmentGuard {
public:
    EnvironmentGuard(std::string name, const std::string& value);
    ~EnvironmentGuard();
    EnvironmentGuard(const EnvironmentGuard&) = delete;
    EnvironmentGuard& operator=(const EnvironmentGuard&) = delete;

private:
    std::string name_;
    std::optional<std::string> before_;
};

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
    std::unique_ptr<EnvironmentGuard> session_;
    std::unique_ptr<EnvironmentGuard> system_;
};

} // namespace sentrel
