// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

namespace sentrel::platform {

/// Gives a handle back to the C library that it is from.
template <auto release>
struct Release {
    template <class Handle>
    void operator()(Handle* handle) const noexcept {
        release(handle);
    }
};

/// Owns a handle of a C library, which is given back by that function.
template <class Handle, auto release>
using Owner = std::unique_ptr<Handle, Release<release>>;

} // namespace sentrel::platform
