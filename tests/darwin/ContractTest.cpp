// SPDX-License-Identifier: Apache-2.0
/// The backend of macOS held to the contract of all backends, on the simulated system.

#include "tests/contract/PlatformContract.h"
#include "tests/darwin/FurnishedMac.h"
#include "tests/darwin/doubles/Failures.h"
#include "tests/darwin/doubles/Ledger.h"
#include "tests/darwin/doubles/Objects.h"
#include "tests/darwin/doubles/Queues.h"
#include "tests/darwin/doubles/Store.h"
#include "tests/darwin/doubles/VolumeNotices.h"
#include "tests/darwin/doubles/Workspace.h"

#include <SentrelKit/platform/macos/MacPlatform.h>

#include <map>
#include <memory>
#include <string>

namespace {

using namespace darwin;
using sentrel::ContractChange;
using sentrel::ContractMachine;
using sentrel::PlatformContract;
using sentrel::platform::MacPlatform;
using sentrel::platform::Platform;
using sentrel::platform::VolumeNotification;

// The function that fails where an operation of the seam fails: one for each service that has an operation of that
// name.
const std::multimap<std::string, std::string>& functions() {
    static const std::multimap<std::string, std::string> all{
        {"bootTime", "sysctl"},
        {"hostInfo", "host_info"},
        {"loadTicks", "host_statistics"},
        {"defaultProcessorSet", "processor_set_default"},
        {"processorSetLoad", "processor_set_statistics"},
        {"brand", "sysctlbyname"},
        {"virtualMemory", "host_statistics64"},
        {"swapUsage", "sysctl"},
        {"loadAverages", "getloadavg"},
        {"processorLoad", "host_processor_info"},
        {"processorFrequencies", "sysctlbyname"},
        {"memoryDetails", "host_statistics64"},
        {"swapCounters", "host_statistics64"},
        {"memoryCompression", "host_statistics64"},
        {"operatingSystem", "sysctlbyname"},
        {"virtualization", "sysctlbyname"},
        {"users", "getutxent"},
        {"pciDevices", "IOServiceGetMatchingServices"},
        {"activeDeviceID", "IORegistryEntrySearchCFProperty"},
        {"countMountedFileSystems", "getfsstat"},
        {"listMountedFileSystems", "getfsstat"},
        {"space", "statfs"},
        {"openSession", "DASessionCreate"},
        {"disk", "DADiskCreateFromBSDName"},
        {"description", "DADiskCopyDescription"},
        {"wholeDisk", "DADiskCopyWholeDisk"},
        {"isSystemDisk", "DADiskCopyWholeDisk"},
        {"media", "DADiskCopyIOMedia"},
        {"statistics", "IORegistryEntrySearchCFProperty"},
        {"parent", "IORegistryEntryGetParentEntry"},
        {"diskOperations", "IOServiceGetMatchingServices"},
        {"diskDevices", "IOServiceGetMatchingServices"},
        {"packetCounters", "sysctl"},
        {"links", "sysctl"},
        {"wirelessLinks", "CWWiFiClient"},
        {"createSmartPlugIn", "IOCreatePlugInInterfaceForService"},
        {"queryInterface", "QueryInterface"},
        {"enableOperations", "SMARTEnableDisableOperations"},
        {"enableAutosave", "SMARTEnableDisableAutosave"},
        {"returnStatus", "SMARTReturnStatus"},
        {"executeOffLineImmediate", "SMARTExecuteOffLineImmediate"},
        {"readData", "SMARTReadData"},
        {"validateData", "SMARTValidateReadData"},
        {"listInterfaces", "sysctl"},
        {"mediaStatus", "ioctl"},
        {"matchInterface", "IOServiceGetMatchingServices"},
        {"properties", "IORegistryEntryCreateCFProperties"},
        {"search", "IORegistryEntrySearchCFProperty"},
        {"connectivity", "SCNetworkReachabilityGetFlags"},
        {"watchConfiguration", "SCDynamicStoreCreate"},
        {"setNotificationKeys", "SCDynamicStoreSetNotificationKeys"},
        {"localHostName", "SCDynamicStoreCopyLocalHostName"},
        {"value", "SCDynamicStoreCopyValue"},
        {"powerSources", "IOPSCopyPowerSourcesInfo"},
        {"description", "IOPSGetPowerSourceDescription"},
        {"count", "IOPSCopyPowerSourcesList"},
        {"externalAdapterDetails", "IOPSCopyExternalPowerAdapterDetails"},
        {"batteryService", "IOServiceGetMatchingService"},
        {"property", "IORegistryEntryCreateCFProperty"},
        {"observe", "IOPSNotificationCreateRunLoopSource"},
        {"taskInfo", "proc_pidinfo"},
        {"startTime", "proc_pidinfo"},
        {"storageBytes", "proc_pid_rusage"},
        {"openFiles", "proc_pidinfo"},
        {"commandLine", "sysctl"},
        {"parent", "proc_pidinfo"},
    };
    return all;
}

class DarwinContractMachine final : public ContractMachine {
public:
    DarwinContractMachine() {
        begin();
        furnish();
        platform_ = std::make_unique<MacPlatform>();
    }
    ~DarwinContractMachine() override {
        queues::advance(10); // what was under way ends
        platform_.reset();
        EXPECT_THAT(ledger::close(), testing::IsEmpty());
    }
    DarwinContractMachine(const DarwinContractMachine&) = delete;
    DarwinContractMachine& operator=(const DarwinContractMachine&) = delete;

    Platform& platform() override { return *platform_; }

    bool isOnMainThread() const override { return queues::running().empty() || queues::running() == "main"; }

    void change(ContractChange what) override {
        switch (what) {
        case ContractChange::volumes:
            return workspace::post({VolumeNotification::Kind::didMount, {}, {}, "/Volumes/NEW"});
        case ContractChange::power:
            machine().powerSources->front().insert_or_assign("Current Capacity", 49);
            return signalSources();
        case ContractChange::configuration:
            return store::change("State:/Network/Global/IPv4");
        case ContractChange::applications:
            machine().running.push_back({.processIdentifier = ++lastId_});
            return workspace::changeRunning();
        }
    }

    void fail(const std::string& operation) override {
        if (operation == "unmount")
            machine().dissent = "a file is open";
        else if (operation == "thermalState")
            machine().thermalState = -1; // the call itself cannot fail
        const auto [first, last] = functions().equal_range(operation);
        for (auto function = first; function != last; ++function)
            failures::planAll(function->second, KERN_FAILURE);
    }

private:
    std::unique_ptr<MacPlatform> platform_;
    int lastId_ = 100'000'000;
};

INSTANTIATE_TEST_SUITE_P(Darwin, PlatformContract,
                         testing::Values(&sentrel::makeContractMachine<DarwinContractMachine>));

} // namespace
