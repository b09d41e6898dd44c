// SPDX-License-Identifier: Apache-2.0
#pragma once

/// @file
/// The two error outlets: a line on the standard error stream, and the report that ends the process. Any thread; errno
/// stays as it was.

#include <SentrelKit/Export.h>

namespace sentrel {

/// The system's text for the current error number. Valid until the thread's next call.
[[nodiscard]] SENTREL_API const char* System_getLastError() noexcept;

/// The system's text for an error number. Valid until the thread's next call.
[[nodiscard]] SENTREL_API const char* System_getError(int error) noexcept;

/// Writes the formatted text to the standard error stream exactly as given: no line end is added.
[[gnu::format(printf, 1, 2)]] SENTREL_API void System_error(const char* format, ...) noexcept;

/// Writes the formatted text to the standard error stream and ends the process abnormally.
[[noreturn]] [[gnu::format(printf, 1, 2)]] SENTREL_API void System_abort(const char* format, ...) noexcept;

} // namespace sentrel
