// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/base/system/Assert.h>

#include <cstdio>
#include <cstdlib>

namespace sentrel {

void assertionFailed(const char* condition, const char* function, const char* file, int line) noexcept {
    std::fprintf(stderr, "Assertion failed: (%s), function %s, file %s, line %d.\n", condition, function, file, line);
    std::fflush(stderr);
    std::abort();
}

void fatalError(const char* message, const char* file, int line) noexcept {
    std::fprintf(stderr, "Fatal error: %s: file %s, line %d\n", message, file, line);
    std::fflush(stderr);
    std::abort();
}

} // namespace sentrel
