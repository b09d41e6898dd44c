// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/Window.h"

namespace dashboard {

std::optional<std::string> openDisplay() {
    return "this build has no toolkit";
}

int showWindow(sentrel::System& /*system*/, Settings& /*settings*/, std::optional<double> /*seconds*/) {
    return 1;
}

} // namespace dashboard
