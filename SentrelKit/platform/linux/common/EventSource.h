// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace sentrel::platform {

/// Keeps a descriptor watched; releasing it ends the watch. A callback that already runs finishes, no new one begins.
class DescriptorWatch {
public:
    virtual ~DescriptorWatch() = default;
};

} // namespace sentrel::platform
