// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/base/system/System.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace sentrel {

namespace {

// strerror_r comes in two forms: one fills the buffer and returns a number, the other returns the text.
[[maybe_unused]] const char* errorText(int, const char* buffer) noexcept {
    return buffer;
}
[[maybe_unused]] const char* errorText(const char* text, const char*) noexcept {
    return text;
}

} // namespace

const char* System_getLastError() noexcept {
    return System_getError(errno);
}

const char* System_getError(int error) noexcept {
    thread_local char buffer[256];
    const int kept = errno;
    const char* text = errorText(strerror_r(error, buffer, sizeof buffer), buffer);
    errno = kept;
    return text;
}

void System_error(const char* format, ...) noexcept {
    const int kept = errno;
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
    std::fflush(stderr); // for a host that gave the stream a buffer
    errno = kept;
}

void System_abort(const char* format, ...) noexcept {
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
    std::fflush(stderr);
    std::abort();
}

} // namespace sentrel
