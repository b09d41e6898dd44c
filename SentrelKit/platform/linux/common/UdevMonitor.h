// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/linux/common/Owner.h>

#include <libudev.h>

namespace sentrel::platform {

/// Hears that devices of one subsystem come, change and go. One thread at a time.
class UdevMonitor {
public:
    /// Hears nothing.
    UdevMonitor() = default;

    /// `source` is "kernel", whose word comes at once and also where no daemon runs, or "udev", whose word comes when
    /// its database holds the change. Hears nothing where that cannot be had.
    UdevMonitor(const char* source, const char* subsystem);

    /// Readable when there are notices; -1 without any to come.
    [[nodiscard]] int descriptor() const noexcept;

    /// Takes the notices that have arrived, without waiting. True if there were any or some were lost.
    bool takeNotices() noexcept;

private:
    Owner<udev, udev_unref> context_;
    Owner<udev_monitor, udev_monitor_unref> monitor_;
};

} // namespace sentrel::platform
