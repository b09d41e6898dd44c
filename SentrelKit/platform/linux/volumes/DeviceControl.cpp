// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/volumes/DeviceControl.h>

#include <cerrno>
#include <fcntl.h>
#include <sys/ioctl.h>

namespace sentrel::platform {

namespace {

UniqueFd openNode(const std::string& node, int flags) noexcept {
    int fd;
    do
        fd = ::open(node.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | flags);
    while (fd < 0 && errno == EINTR);
    return UniqueFd(fd);
}

} // namespace

UniqueFd DeviceControl::open(const std::string& node) noexcept {
    return openNode(node, 0);
}

UniqueFd DeviceControl::openUnused(const std::string& node) noexcept {
    return openNode(node, O_EXCL); // of a block device: open(2)
}

int DeviceControl::control(int fd, unsigned long request, void* argument) noexcept {
    int result;
    do
        result = ::ioctl(fd, request, argument);
    while (result < 0 && errno == EINTR);
    return result;
}

} // namespace sentrel::platform
