// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/ChildProgram.h"
#include "tests/support/EnvironmentValue.h"

#include <memory>
#include <string>
#include <vector>

namespace sentrel {

/// A desktop of the test's own (desktop_session.py): a display, a window manager with four workspaces, a message bus
/// and the bus of assistive technology. The environment names them for a scope. It ends with the test, whatever ends
/// that.
class DesktopSession {
public:
    struct Setup {
        std::string screen = "1280x1024"; ///< in pixels
        int dotsPerInch = 96;
        bool hasWindowManager = true;
    };

    DesktopSession() : DesktopSession(Setup{}) {}
    /// Waits until all of it runs; throws where something did not start.
    explicit DesktopSession(const Setup& setup);
    ~DesktopSession();
    DesktopSession(const DesktopSession&) = delete;
    DesktopSession& operator=(const DesktopSession&) = delete;

private:
    ChildProgram program_;
    std::vector<std::unique_ptr<EnvironmentValue>> variables_;
};

/// The path of a program of this folder.
[[nodiscard]] std::string embedSupportPath(const std::string& name);

} // namespace sentrel
