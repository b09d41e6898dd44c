// SPDX-License-Identifier: Apache-2.0
#include "tests/support/linux/PrivateBus.h"

// GLib hands messages between its bus thread and the caller under locks of its own, which the thread sanitizer does not
// see: what its libraries themselves read and write is left out. Our own code stays under watch.
extern "C" const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() {
    return "called_from_lib:libglib-2.0.so.0\ncalled_from_lib:libgio-2.0.so.0\ncalled_from_lib:libgobject-2.0.so.0\n";
}

namespace sentrel {

PrivateBus::PrivateBus()
    : daemon_({"sh", "-c", "exec dbus-daemon --session --nofork --nopidfile --print-address=1 2>/dev/null"}),
      address_(daemon_.readLine()) {
    if (!address_)
        return;
    session_ = std::make_unique<EnvironmentValue>("DBUS_SESSION_BUS_ADDRESS", *address_);
    system_ = std::make_unique<EnvironmentValue>("DBUS_SYSTEM_BUS_ADDRESS", *address_);
}

} // namespace sentrel
