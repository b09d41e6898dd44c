// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/common/UdevMonitor.h>

#include <cerrno>

namespace sentrel::platform {

UdevMonitor::UdevMonitor(const char* source, const char* subsystem) : context_(udev_new()) {
    if (context_)
        monitor_.reset(udev_monitor_new_from_netlink(context_.get(), source));
    if (monitor_ && (udev_monitor_filter_add_match_subsystem_devtype(monitor_.get(), subsystem, nullptr) < 0 ||
                     udev_monitor_enable_receiving(monitor_.get()) < 0))
        monitor_.reset();
}

int UdevMonitor::descriptor() const noexcept {
    return monitor_ ? udev_monitor_get_fd(monitor_.get()) : -1;
}

bool UdevMonitor::takeNotices() noexcept {
    if (!monitor_)
        return false;
    bool any = false;
    errno = 0;
    while (const Owner<udev_device, udev_device_unref> device{udev_monitor_receive_device(monitor_.get())})
        any = true;
    return any || errno == ENOBUFS;
}

} // namespace sentrel::platform
