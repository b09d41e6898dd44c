// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <utility>

namespace sentrel::platform {

/// Owns one reference to a Core Foundation object, or nothing.
template <class Reference>
class CFOwner {
public:
    CFOwner() = default;
    /// Takes over the reference that a function named Create or Copy gave to its caller.
    explicit CFOwner(Reference created) noexcept : reference_(created) {}
    CFOwner(CFOwner&& other) noexcept : reference_(std::exchange(other.reference_, nullptr)) {}
    CFOwner& operator=(CFOwner&& other) noexcept {
        std::swap(reference_, other.reference_);
        return *this;
    }
    ~CFOwner() {
        if (reference_)
            CFRelease(reference_);
    }

    /// A reference of its own to an object that belongs to somebody else, as a function named Get gives one.
    static CFOwner retained(Reference borrowed) noexcept {
        if (borrowed)
            CFRetain(borrowed);
        return CFOwner(borrowed);
    }

    [[nodiscard]] Reference get() const noexcept { return reference_; }
    /// Hands the reference to the caller, who owns it from now on.
    [[nodiscard]] Reference release() noexcept { return std::exchange(reference_, nullptr); }
    explicit operator bool() const noexcept { return reference_ != nullptr; }

private:
    Reference reference_ = nullptr;
};

/// The object as a kind of it, borrowed: null if it is another kind, or null.
template <class Reference>
[[nodiscard]] Reference cfCast(CFTypeRef object, CFTypeID kind) noexcept {
    return object && CFGetTypeID(object) == kind ? static_cast<Reference>(object) : nullptr;
}

} // namespace sentrel::platform
