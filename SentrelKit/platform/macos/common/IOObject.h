// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <IOKit/IOKitLib.h>

#include <utility>

namespace sentrel::platform {

/// Owns one reference to an object of the device registry (an entry, an iterator), or nothing.
class IOObject {
public:
    IOObject() = default;
    explicit IOObject(io_object_t owned) noexcept : object_(owned) {}
    IOObject(IOObject&& other) noexcept : object_(std::exchange(other.object_, IO_OBJECT_NULL)) {}
    IOObject& operator=(IOObject&& other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    ~IOObject() {
        if (object_ != IO_OBJECT_NULL)
            IOObjectRelease(object_);
    }

    [[nodiscard]] io_object_t get() const noexcept { return object_; }
    explicit operator bool() const noexcept { return object_ != IO_OBJECT_NULL; }

private:
    io_object_t object_ = IO_OBJECT_NULL;
};

} // namespace sentrel::platform
