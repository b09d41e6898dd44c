// SPDX-License-Identifier: Apache-2.0
#include "tests/darwin/doubles/Failures.h"
#include "tests/darwin/doubles/Machine.h"

#include <net/if.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/sockio.h>
#include <sys/syscall.h>
#include <sys/sysctl.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <string_view>

using namespace darwin;

namespace {

// Gives bytes as the control interface does: all or none, and how many they are; without a
// place for them only that.
int give(const char* function, const void* bytes, std::size_t length, void* out, std::size_t* size) {
    if (const auto code = failures::due(function)) {
        errno = *code;
        return -1;
    }
    if (!out) {
        *size = length;
        return 0;
    }
    if (*size < length) {
        errno = ENOMEM;
        return -1;
    }
    std::memcpy(out, bytes, length);
    *size = length;
    return 0;
}

} // namespace

extern "C" {

int sysctl(int* name, u_int length, void* out, size_t* size, void*, size_t) {
    if (length == 2 && name[0] == CTL_KERN && name[1] == KERN_BOOTTIME) {
        const timeval boot{.tv_sec = machine().bootTime, .tv_usec = 5};
        return give("sysctl", &boot, sizeof(boot), out, size);
    }
    if (length == 2 && name[0] == CTL_VM && name[1] == VM_SWAPUSAGE)
        return give("sysctl", &machine().swap, sizeof(xsw_usage), out, size);
    if (length == 6 && name[0] == CTL_NET && name[1] == PF_ROUTE && name[4] == NET_RT_IFLIST2) {
        const std::vector<std::uint8_t>& list = machine().interfaceList;
        return give("sysctl", list.data(), list.size(), out, size);
    }
    if (length == 2 && name[0] == CTL_KERN && name[1] == KERN_ARGMAX) {
        constexpr int most = 1 << 20;
        return give("sysctl", &most, sizeof(most), out, size);
    }
    if (length == 3 && name[0] == CTL_KERN && name[1] == KERN_PROCARGS2) {
        const auto process = machine().processes.find(name[2]);
        if (process == machine().processes.end() || process->second.isForeign) {
            errno = EINVAL; // for both
            return -1;
        }
        const std::string& words = process->second.arguments;
        return give("sysctl", words.data(), words.size(), out, size);
    }
    errno = ENOENT;
    return -1;
}

int sysctlbyname(const char* name, void* out, size_t* size, void*, size_t) {
    if (const auto text = machine().controlTexts.find(name); text != machine().controlTexts.end())
        return give("sysctlbyname", text->second.c_str(), text->second.size() + 1, out, size);
    if (const auto number = machine().controlNumbers.find(name); number != machine().controlNumbers.end()) {
        const auto value = static_cast<std::uint32_t>(number->second);
        return give("sysctlbyname", &value, sizeof(value), out, size);
    }
    if (std::string_view(name) != "machdep.cpu.brand_string") {
        errno = ENOENT;
        return -1;
    }
    return give("sysctlbyname", machine().brand.c_str(), machine().brand.size() + 1, out, size);
}

int getloadavg(double averages[], int count) noexcept {
    if (failures::due("getloadavg"))
        return -1;
    for (int index = 0; index < count; ++index)
        averages[index] = machine().loadAverages.at(static_cast<std::size_t>(index));
    return count;
}

int socket(int domain, int type, int protocol) noexcept {
    if (const auto code = failures::due("socket")) {
        errno = *code;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_socket, domain, type, protocol)); // of this system
}

int ioctl(int, unsigned long request, ...) {
    va_list arguments;
    va_start(arguments, request);
    auto* const media = va_arg(arguments, ifmediareq*);
    va_end(arguments);
    if (const auto code = failures::due("ioctl")) {
        errno = *code;
        return -1;
    }
    const auto status = machine().mediaStatus.find(media->ifm_name);
    if (request != SIOCGIFMEDIA || status == machine().mediaStatus.end()) {
        errno = ENXIO;
        return -1;
    }
    media->ifm_status = status->second;
    const auto medium = machine().media.find(media->ifm_name);
    media->ifm_current = media->ifm_active = medium == machine().media.end() ? 0 : medium->second;
    return 0;
}

} // extern "C"
