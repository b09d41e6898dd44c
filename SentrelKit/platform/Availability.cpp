// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/Availability.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace sentrel::platform {

Availability availabilityOf(int error) noexcept {
    constexpr std::array missing = {ENOENT, ENODEV, ENXIO, ENOSYS, ENOTSUP, EOPNOTSUPP};
    if (error == EACCES || error == EPERM)
        return Availability::denied;
    return std::ranges::find(missing, error) != missing.end() ? Availability::unsupported : Availability::failed;
}

} // namespace sentrel::platform
