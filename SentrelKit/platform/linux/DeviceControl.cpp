#include <SentrelKit/platform/linux/DeviceControl.h>

#include <cerrno>
#include <fcntl.h>
#include <sys/ioctl.h>

namespace sentrel::platform {

UniqueFd DeviceControl::open(const std::string& node) noexcept {
    int fd;
    do
        fd = ::open(node.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    while (fd < 0 && errno == EINTR);
    return UniqueFd(fd);
}

int DeviceControl::control(int fd, unsigned long request, void* argument) noexcept {
    int result;
    do
        result = ::ioctl(fd, request, argument);
    while (result < 0 && errno == EINTR);
    return result;
}

} // namespace sentrel::platform
