// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <dispatch/dispatch.h>

#include <utility>

namespace sentrel::platform {

/// Owns one reference to a dispatch object (a queue, a source), or nothing.
template <class Object>
class DispatchOwner {
public:
    DispatchOwner() = default;
    /// Takes over the reference that a function named create gave to its caller.
    explicit DispatchOwner(Object created) noexcept : object_(created) {}
    DispatchOwner(DispatchOwner&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    DispatchOwner& operator=(DispatchOwner&& other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    ~DispatchOwner() {
        if (object_)
            dispatch_release(object_);
    }

    /// A reference of its own to an object that belongs to somebody else, as a function named get gives one.
    static DispatchOwner retained(Object borrowed) noexcept {
        dispatch_retain(borrowed);
        return DispatchOwner(borrowed);
    }

    [[nodiscard]] Object get() const noexcept { return object_; }

private:
    Object object_ = nullptr;
};

} // namespace sentrel::platform
