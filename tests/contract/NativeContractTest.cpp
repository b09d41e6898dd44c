// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/detail/Native.h>

#include "tests/contract/PlatformContract.h"
#include "tests/support/ConfigurationFolder.h"
#include "tests/support/EnvironmentValue.h"

// Where the desktop is reached over GLib's message bus, GLib hands messages between threads under locks of its own,
// which the thread sanitizer does not see: what its libraries themselves read and write is left out.
extern "C" const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() {
    return "called_from_lib:libglib-2.0.so.0\ncalled_from_lib:libgio-2.0.so.0\ncalled_from_lib:libgobject-2.0.so.0\n";
}

namespace sentrel {
namespace {

// The machine that the test runs on. Preferences go to a folder that goes away where the system takes one by its name;
// there is no desktop to show a notification, and no program to open an address.
class NativeContractMachine final : public ContractMachine {
public:
    platform::Platform& platform() override { return platform::makeNative(); }
    bool isReal() const override { return true; }

private:
    const ConfigurationFolder configuration_{};
    const EnvironmentValue bus_{"DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent"};
    const EnvironmentValue programs_{"PATH", "/nonexistent"};
};

INSTANTIATE_TEST_SUITE_P(Native, PlatformContract, testing::Values(&makeContractMachine<NativeContractMachine>));

} // namespace
} // namespace sentrel
