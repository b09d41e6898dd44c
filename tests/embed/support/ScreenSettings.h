// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace sentrel {

/// The desktop's settings that programs of the display follow while they run (XSETTINGS), such as "Xft/DPI", in 1024ths
/// of a dot per inch. To be there before the program's toolkit.
class ScreenSettings {
public:
    using Values = std::vector<std::pair<std::string, int>>;

    /// Says nothing yet.
    ScreenSettings();
    ~ScreenSettings();
    ScreenSettings(const ScreenSettings&) = delete;
    ScreenSettings& operator=(const ScreenSettings&) = delete;

    /// All that there is from now on.
    void set(const Values& values);

private:
    struct Owner;
    std::unique_ptr<Owner> owner_;
};

} // namespace sentrel
