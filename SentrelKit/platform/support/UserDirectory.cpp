// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/support/UserDirectory.h>

#include <cerrno>
#include <cstddef>
#include <pwd.h>
#include <vector>

namespace sentrel::platform {

Availability findUserName(std::uint32_t user, std::string& name) {
    constexpr std::size_t most = std::size_t{1} << 20; // an entry lists no groups: it is a line of text
    passwd entry{};
    passwd* found = nullptr;
    int result = ERANGE;
    std::vector<char> texts(1024);
    while ((result = ::getpwuid_r(user, &entry, texts.data(), texts.size(), &found)) == ERANGE && texts.size() < most)
        texts.resize(texts.size() * 4);
    switch (result) {
    case 0:
    case ENOENT: // so say some systems of a number that they do not have
    case ESRCH:
    case EBADF:
    case EPERM:
        break;
    default:
        return Availability::failed;
    }
    if (!found || !found->pw_name)
        return Availability::unsupported;
    name = found->pw_name;
    return Availability::available;
}

} // namespace sentrel::platform
