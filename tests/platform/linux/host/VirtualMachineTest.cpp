// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/VirtualMachine.h>

#include "tests/support/Fixtures.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>

namespace sentrel::platform {
namespace {

Virtualization ofMachine(const std::string& name) {
    return detectVirtualization(SystemRoot(fixturePath("host/" + name)));
}

TEST(VirtualMachine, IsToldOfCapturedMachines) {
    EXPECT_EQ(ofMachine("laptop"), Virtualization{});
    EXPECT_EQ(ofMachine("board"), Virtualization{});
    EXPECT_EQ(ofMachine("guest"), (Virtualization{"qemu", ""}));
    EXPECT_EQ(ofMachine("container"), (Virtualization{"", "docker"}));
}

TEST(VirtualMachine, IsToldByTheSignatureOfItsHypervisor) {
    EXPECT_EQ(machineOfSignature(std::string("KVMKVMKVM\0\0\0", 12)), "kvm");
    EXPECT_EQ(machineOfSignature("Microsoft Hv"), "microsoft");
    EXPECT_EQ(machineOfSignature("VMwareVMware"), "vmware");
    for (const char* text : {"", "KVM", "SomethingNew", "kvmkvmkvm"})
        EXPECT_EQ(machineOfSignature(text), "") << text;
}

TEST(VirtualMachine, IsToldByWhatLiesAround) {
    using Files = std::vector<std::pair<std::string, std::string>>;
    const std::vector<std::pair<Files, std::string>> machines = {
        {{{"sys/class/dmi/id/product_name", "VirtualBox\n"}}, "oracle"},
        {{{"sys/class/dmi/id/sys_vendor", "Amazon EC2\n"}}, "amazon"},
        {{{"sys/class/dmi/id/bios_vendor", "BHYVE\n"}}, "bhyve"},
        {{{"sys/class/dmi/id/sys_vendor", "Xen\n"}}, "xen"},
        {{{"sys/class/dmi/id/sys_vendor", "Xen\n"}, {"proc/xen/capabilities", "control_d\n"}}, ""},
        {{{"sys/hypervisor/type", "xen\n"}}, "xen"},
        {{{"sys/hypervisor/type", "new\n"}}, "vm-other"},
        {{{"proc/device-tree/hypervisor/compatible", std::string("linux,kvm\0", 10)}}, "kvm"},
        {{{"proc/device-tree/hypervisor/compatible", "xen,xen-4.17"}}, "xen"},
        {{{"proc/cpuinfo", "vendor_id\t: User Mode Linux\n"}}, "uml"},
        {{{"proc/cpuinfo", "flags\t\t: fpu hypervisor\n"}}, "vm-other"},
        {{{"proc/cpuinfo", "flags\t\t: fpu nohypervisor hypervisors\n"}}, ""},
        {{{"proc/cpuinfo", "model name\t: hypervisor\n"}}, ""},
    };
    for (const auto& [files, machine] : machines) {
        const TemporaryFolder folder;
        for (const auto& [name, content] : files)
            folder.write(name, content);
        EXPECT_EQ(detectVirtualization(SystemRoot(folder.path())).machine, machine)
            << files.front().first << " " << files.front().second;
    }
}

TEST(VirtualMachine, IsNoContainerButMayHoldOne) {
    const std::vector<std::pair<std::pair<std::string, std::string>, std::string>> containers = {
        {{"run/systemd/container", "lxc\n"}, "lxc"},
        {{"run/systemd/container", "systemd-nspawn"}, "systemd-nspawn"},
        {{"run/systemd/container", "something-new"}, "container-other"},
        {{"run/systemd/container", "\n"}, ""},
        {{"run/host/container-manager", "podman\n"}, "podman"},
        {{"run/.containerenv", ""}, "podman"},
        {{".dockerenv", ""}, "docker"},
        {{"proc/sys/kernel/osrelease", "5.15.90.1-Microsoft-standard-WSL2\n"}, "wsl"},
        {{"proc/vz/version", "1"}, "openvz"},
    };
    for (const auto& [file, container] : containers) {
        const TemporaryFolder folder;
        folder.write(file.first, file.second);
        EXPECT_EQ(detectVirtualization(SystemRoot(folder.path())), (Virtualization{"", container})) << file.first;
    }
}

} // namespace
} // namespace sentrel::platform
