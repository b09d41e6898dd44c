// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/VirtualMachine.h>

#include <SentrelKit/platform/linux/common/KernelText.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <string>
#include <utility>

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif

namespace sentrel::platform {

namespace {

using Name = std::pair<std::string_view, std::string_view>;

template <std::size_t Count>
std::string_view ofBeginning(const std::array<Name, Count>& names, std::string_view text) noexcept {
    const auto name =
        std::find_if(names.begin(), names.end(), [text](const Name& each) { return text.starts_with(each.first); });
    return name == names.end() ? std::string_view() : name->second;
}

// The signature of the hypervisor (leaf 0x40000000, where bit 31 of leaf 1's ecx says that there is one); empty
// without.
std::string readSignature() {
#if defined(__x86_64__) || defined(__i386__)
    unsigned a = 0;
    unsigned b = 0;
    unsigned c = 0;
    unsigned d = 0;
    if (__get_cpuid(1, &a, &b, &c, &d) == 0 || (c >> 31U) == 0)
        return {};
    __cpuid(0x40000000, a, b, c, d);
    std::array<char, 12> text{};
    std::memcpy(text.data(), &b, 4);
    std::memcpy(text.data() + 4, &c, 4);
    std::memcpy(text.data() + 8, &d, 4);
    return {text.data(), text.size()};
#else
    return {};
#endif
}

std::string_view firmwareMachine(const SystemRoot& root) {
    for (const char* file : {"product_name", "sys_vendor", "board_vendor", "bios_vendor", "product_version"}) {
        const std::optional<std::string> text = root.readLine(std::string("/sys/class/dmi/id/") + file);
        const std::string_view machine = text ? machineOfFirmware(*text) : std::string_view();
        if (!machine.empty())
            return machine;
    }
    return {};
}

std::string_view deviceTreeMachine(const SystemRoot& root) {
    const std::string text = root.read("/proc/device-tree/hypervisor/compatible").value_or("");
    if (text.empty())
        return {};
    if (text.starts_with("linux,kvm"))
        return "kvm";
    return text.find("xen") != std::string::npos ? "xen" : "vm-other";
}

bool ownsXen(const SystemRoot& root) {
    return root.read("/proc/xen/capabilities").value_or("").find("control_d") != std::string::npos;
}

bool hasHypervisorFlag(std::string_view cpuInfo) {
    while (std::optional<std::string_view> line = takeLine(cpuInfo)) {
        if (trimmed(takeUpTo(*line, ':')) != "flags")
            continue;
        for (std::string_view word = takeWord(*line); !word.empty(); word = takeWord(*line))
            if (word == "hypervisor")
                return true;
        return false;
    }
    return false;
}

std::string_view machineKind(const SystemRoot& root) {
    const std::string_view firmware = firmwareMachine(root);
    // These say more than the hypervisor that they are built on.
    for (const std::string_view own : {"oracle", "xen", "amazon", "parallels", "google"})
        if (firmware == own && !(own == "xen" && ownsXen(root)))
            return firmware;
    const std::string cpuInfo = root.read("/proc/cpuinfo").value_or("");
    if (cpuInfo.find("User Mode Linux") != std::string::npos)
        return "uml";
    if (ownsXen(root))
        return {};
    const std::string signature = root.isReal() ? readSignature() : std::string();
    if (const std::string_view machine = machineOfSignature(signature); !machine.empty())
        return machine;
    if (!firmware.empty())
        return firmware;
    const std::string hypervisor = root.readLine("/sys/hypervisor/type").value_or("");
    if (!hypervisor.empty())
        return hypervisor == "xen" ? "xen" : "vm-other";
    if (const std::string_view machine = deviceTreeMachine(root); !machine.empty())
        return machine;
    return !signature.empty() || hasHypervisorFlag(cpuInfo) ? "vm-other" : "";
}

bool exists(const SystemRoot& root, std::string_view path) {
    return static_cast<bool>(root.open(path));
}

std::string_view containerKind(const SystemRoot& root) {
    if (exists(root, "/proc/vz") && !exists(root, "/proc/bc"))
        return "openvz";
    const std::string release = root.readLine("/proc/sys/kernel/osrelease").value_or("");
    if (release.find("Microsoft") != std::string::npos || release.find("WSL") != std::string::npos)
        return "wsl";
    for (const char* file : {"/run/host/container-manager", "/run/systemd/container"})
        if (const std::optional<std::string> manager = root.readLine(file); manager && !manager->empty())
            return containerOfManager(*manager);
    if (exists(root, "/run/.containerenv"))
        return "podman";
    return exists(root, "/.dockerenv") ? "docker" : "";
}

} // namespace

std::string_view machineOfSignature(std::string_view signature) noexcept {
    constexpr std::array<Name, 12> names = {{{"KVMKVMKVM", "kvm"},
                                             {"Linux KVM Hv", "kvm"},
                                             {"TCGTCGTCGTCG", "qemu"},
                                             {"XenVMMXenVMM", "xen"},
                                             {"VMwareVMware", "vmware"},
                                             {"Microsoft Hv", "microsoft"},
                                             {"bhyve bhyve ", "bhyve"},
                                             {"QNXQVMBSQG", "qnx"},
                                             {"ACRNACRNACRN", "acrn"},
                                             {"SRESRESRESRE", "sre"},
                                             {"Apple VZ", "apple"},
                                             {" lrpepyh vr", "parallels"}}};
    return ofBeginning(names, signature);
}

std::string_view machineOfFirmware(std::string_view name) noexcept {
    constexpr std::array<Name, 17> names = {{{"KVM", "kvm"},
                                             {"OpenStack", "kvm"},
                                             {"KubeVirt", "kvm"},
                                             {"Amazon EC2", "amazon"},
                                             {"QEMU", "qemu"},
                                             {"VMware", "vmware"},
                                             {"VMW", "vmware"},
                                             {"innotek GmbH", "oracle"},
                                             {"VirtualBox", "oracle"},
                                             {"Xen", "xen"},
                                             {"Bochs", "bochs"},
                                             {"Parallels", "parallels"},
                                             {"BHYVE", "bhyve"},
                                             {"Hyper-V", "microsoft"},
                                             {"Virtual Machine", "microsoft"},
                                             {"Apple Virtualization", "apple"},
                                             {"Google Compute Engine", "google"}}};
    return ofBeginning(names, name);
}

std::string_view containerOfManager(std::string_view name) noexcept {
    constexpr std::array<std::string_view, 9> names = {"docker", "lxc", "lxc-libvirt", "podman",        "pouch",
                                                       "proot",  "rkt", "wsl",         "systemd-nspawn"};
    const auto* const known = std::find(names.begin(), names.end(), name);
    return known == names.end() ? "container-other" : *known;
}

Virtualization detectVirtualization(const SystemRoot& root) {
    return {std::string(machineKind(root)), std::string(containerKind(root))};
}

} // namespace sentrel::platform
