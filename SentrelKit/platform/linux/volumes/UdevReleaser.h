// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <libudev.h>

namespace sentrel::platform {

/// Gives handles of libudev back.
struct UdevReleaser {
    void operator()(udev* context) const noexcept { udev_unref(context); }
    void operator()(udev_monitor* monitor) const noexcept { udev_monitor_unref(monitor); }
    void operator()(udev_device* device) const noexcept { udev_device_unref(device); }
};

} // namespace sentrel::platform
