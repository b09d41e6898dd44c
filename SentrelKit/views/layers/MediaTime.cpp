// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/layers/MediaTime.h>

#include <SentrelKit/platform/Clock.h>
#include <SentrelKit/platform/Platform.h>

namespace sentrel {

double mediaTime() noexcept {
    return static_cast<double>(platform::current().clock().monotonicNanoseconds()) * 1.0e-9;
}

} // namespace sentrel
