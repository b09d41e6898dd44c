// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/common/NumberFile.h>

#include <SentrelKit/platform/linux/common/File.h>
#include <SentrelKit/platform/linux/common/KernelText.h>

#include <array>
#include <cerrno>
#include <fcntl.h>

namespace sentrel::platform {

std::optional<std::int64_t> NumberFile::read() noexcept {
    if (!file_)
        file_ = openAt(AT_FDCWD, path_.c_str());
    if (!file_)
        return std::nullopt;
    std::array<char, 32> buffer; // a 64-bit number, its sign and the end of its line
    const std::optional<std::size_t> count = readOnce(file_.get(), buffer);
    const int error = errno;
    if (!count || keeping_ == Keeping::closed)
        file_.reset(); // what fails is opened anew the next time: another device may have the name by then
    errno = error;
    if (!count)
        return std::nullopt;
    const std::optional<std::int64_t> number =
        toNumber<std::int64_t>(trimmed(wholeLines({buffer.data(), *count}, buffer.size())));
    if (!number)
        errno = EINVAL;
    return number;
}

} // namespace sentrel::platform
