#pragma once

#include "tests/support/TemporaryFolder.h"

#include <cstdlib>
#include <optional>
#include <string>

namespace sentrel {

/// A new, empty configuration folder for a scope: XDG_CONFIG_HOME leads there.
class ConfigurationFolder {
public:
    ConfigurationFolder() {
        if (const char* before = std::getenv("XDG_CONFIG_HOME"))
            before_ = before;
        setenv("XDG_CONFIG_HOME", folder_.path().c_str(), 1);
    }
    ~ConfigurationFolder() {
        if (before_)
            setenv("XDG_CONFIG_HOME", before_->c_str(), 1);
        else
            unsetenv("XDG_CONFIG_HOME");
    }
    ConfigurationFolder(const ConfigurationFolder&) = delete;
    ConfigurationFolder& operator=(const ConfigurationFolder&) = delete;

    const TemporaryFolder* operator->() const noexcept { return &folder_; }

private:
    TemporaryFolder folder_;
    std::optional<std::string> before_;
};

} // namespace sentrel
