// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/base/util/PropertyList.h>

#include <SentrelKit/platform/Desktop.h>
#include <SentrelKit/platform/ProcessService.h>
#include <SentrelKit/platform/macos/network/Radios.h>

#include <libproc.h>
#include <mach/mach.h>
#include <sys/sysctl.h>

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace darwin {

/// An entry of the device registry.
struct RegistryEntry {
    std::string name;                               ///< in the service plane
    std::vector<std::string> classes;               ///< its class and what that derives from
    sentrel::PropertyList::Dictionary properties{}; ///< as its driver set them
    std::vector<std::shared_ptr<RegistryEntry>> children{};
    RegistryEntry* parent = nullptr;

    /// Adds an entry below this one.
    RegistryEntry& add(RegistryEntry entry);
};

/// One entry of the mount table, and what disk arbitration knows of its device.
struct Mount {
    std::string type = "apfs";
    std::string from;
    std::string on;
    std::uint32_t flags = 0;
    std::uint32_t blockSize = 4096;
    std::uint64_t blocks = 0;
    std::uint64_t freeBlocks = 0;
};

/// A drive's answers to the SMART user client.
struct SmartDrive {
    std::vector<std::string> calls; ///< what it was asked, with arguments, in order
    std::string failing;            ///< the name of the step that fails
    bool isExceeded = false;        ///< a threshold
    std::uint8_t temperature = 0;   ///< of attribute 194; none if 0
    bool makesInterface = true;     ///< whether its plug-in has the interface
};

/// A record of the list of logins.
struct Login {
    short type = 0; ///< as <utmpx.h> counts them
    std::string user{};
    std::string terminal{};
    std::string from{};
    long since = 0;
    int process = 0;
};

/// A process.
struct Process {
    proc_taskinfo task{};
    proc_bsdinfo facts{};
    rusage_info_v2 use{};
    std::vector<proc_fdinfo> files;
    std::string arguments;  ///< as the kernel lays them out
    bool isForeign = false; ///< another user's: its figures are refused
};

/// What the simulated system tells, all of it settable.
struct Machine {
    std::int64_t bootTime = 1'600'000'000; ///< seconds since the epoch
    host_basic_info basic{};
    host_cpu_load_info load{};
    std::vector<processor_cpu_load_info> processors; ///< of each, by its number
    processor_set_load_info setLoad{};
    vm_statistics64 memory{};
    xsw_usage swap{};
    std::map<std::string, std::string> controlTexts;     ///< of the control interface, by name
    std::map<std::string, std::uint64_t> controlNumbers; ///< the same
    std::string brand = "Example(R) Processor(TM) CPU @ 2.50GHz";
    std::uint64_t physicalMemory = 0;
    std::array<double, 3> loadAverages{1.5, 1.25, 1};
    double uptime = 0;
    long thermalState = 0;

    std::vector<Login> logins; ///< the list, in its order

    std::optional<std::vector<sentrel::PropertyList::Dictionary>> powerSources; ///< absent: not to be had
    std::optional<sentrel::PropertyList::Dictionary> adapter;                   ///< the external power adapter

    std::vector<std::uint8_t> interfaceList; ///< as the kernel lays it out
    std::map<std::string, int> mediaStatus;  ///< of an interface: its status bits
    std::map<std::string, int> media;        ///< the medium that it uses, of those that have a status
    std::optional<std::vector<sentrel::platform::Radio>> radios; ///< absent: without the Wi-Fi framework
    std::uint32_t reachability = 0;                              ///< the flags of any address
    std::optional<std::string> localHostName;                    ///< in the dynamic store
    sentrel::PropertyList::Dictionary storeKeys;                 ///< the dynamic store's values

    std::map<int, Process> processes;                           ///< by id
    std::vector<sentrel::platform::RunningApplication> running; ///< what the workspace lists
    std::map<std::string, std::vector<std::uint8_t>> pictures;  ///< the workspace's, by path
    std::vector<sentrel::platform::UserNotification> delivered; ///< by the user-notification centre
    std::vector<Mount> mounts;                                  ///< the mount table
    SmartDrive smart;                                           ///< every drive that is capable of SMART
    std::optional<std::string> dissent;                         ///< the objection to the next unmount
    std::vector<std::string> arbitrated;                        ///< what disk arbitration was told to do, in order

    RegistryEntry registry{.name = "Root", .classes = {"IORegistryEntry"}};
    RegistryEntry* display = nullptr; ///< behind the main display's port
};

/// One more reference to an entry, for a function that hands one out.
[[nodiscard]] mach_port_t taken(RegistryEntry& entry);

/// The entry behind a name that the registry handed out, or null.
[[nodiscard]] RegistryEntry* entryOf(mach_port_t name);

/// The entry with that BSD name, or null.
[[nodiscard]] RegistryEntry* entryNamed(const std::string& bsdName);

/// The machine in force. A test begins with a new one.
[[nodiscard]] Machine& machine();

/// Puts a new machine in force, without failures, with clean books and nothing on the queues.
void begin();

} // namespace darwin
