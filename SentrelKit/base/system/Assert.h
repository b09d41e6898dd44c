// SPDX-License-Identifier: Apache-2.0
#pragma once

/// @file
/// Broken preconditions. They stop the process, in release builds too, with one line on the standard error stream that
/// names the function, the source file, the line and the condition text.

#include <SentrelKit/Export.h>

namespace sentrel {

/// Reports a broken precondition and ends the process abnormally. Any thread.
[[noreturn]] SENTREL_API void assertionFailed(const char* condition, const char* function, const char* file,
                                              int line) noexcept;

/// Stops the process with "Fatal error: <message>: file <file>, line <line>" on the standard error stream. Any thread.
[[noreturn]] SENTREL_API void fatalError(const char* message, const char* file = __builtin_FILE(),
                                         int line = __builtin_LINE()) noexcept;

} // namespace sentrel

/// Stops the process unless the condition holds.
#define SENTREL_ASSERT(condition)                                                                                      \
    (static_cast<bool>(condition) ? void(0) : ::sentrel::assertionFailed(#condition, __func__, __FILE__, __LINE__))
