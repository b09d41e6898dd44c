// SPDX-License-Identifier: Apache-2.0
#include "tests/darwin/doubles/Failures.h"
#include "tests/darwin/doubles/Ledger.h"
#include "tests/darwin/doubles/Machine.h"

#include <cstdlib>
#include <cstring>
#include <vector>

using namespace darwin;

namespace {

constexpr const char* rights = "port right";
constexpr const char* pages = "pages of an array";
constexpr mach_port_t task = 0x103;
constexpr mach_port_t host = 0x203;
constexpr mach_port_t defaultSet = 0x303;

// Gives a record in 32-bit words, as many as the caller has room for.
template <class Record>
kern_return_t give(const char* function, mach_port_t asked, mach_port_t known, int flavour, int knownFlavour,
                   const Record& record, integer_t* out, mach_msg_type_number_t* count) {
    ledger::use(rights, asked);
    if (const auto code = failures::due(function))
        return *code;
    if (asked != known || flavour != knownFlavour)
        return KERN_INVALID_ARGUMENT;
    const mach_msg_type_number_t words = sizeof(Record) / sizeof(integer_t);
    if (*count > words)
        *count = words;
    std::memcpy(out, &record, *count * sizeof(integer_t));
    return KERN_SUCCESS;
}

} // namespace

extern "C" {

mach_port_t mach_task_self_ = task;

mach_port_t mach_host_self() {
    ledger::take(rights, host);
    return host;
}

kern_return_t mach_port_deallocate(ipc_space_t, mach_port_name_t name) {
    ledger::give(rights, name);
    return KERN_SUCCESS;
}

kern_return_t host_info(host_t asked, host_flavor_t flavor, host_info_t out, mach_msg_type_number_t* count) {
    return give("host_info", asked, host, flavor, HOST_BASIC_INFO, machine().basic, out, count);
}

kern_return_t host_statistics(host_t asked, host_flavor_t flavor, host_info_t out, mach_msg_type_number_t* count) {
    return give("host_statistics", asked, host, flavor, HOST_CPU_LOAD_INFO, machine().load, out, count);
}

kern_return_t host_statistics64(host_t asked, host_flavor_t flavor, host_info64_t out, mach_msg_type_number_t* count) {
    return give("host_statistics64", asked, host, flavor, HOST_VM_INFO64, machine().memory, out, count);
}

vm_size_t vm_kernel_page_size = 16384;

kern_return_t host_processor_info(host_t asked, processor_flavor_t flavor, natural_t* count,
                                  processor_info_array_t* words, mach_msg_type_number_t* length) {
    ledger::use(rights, asked);
    if (const auto code = failures::due("host_processor_info"))
        return *code;
    if (asked != host || flavor != PROCESSOR_CPU_LOAD_INFO)
        return KERN_INVALID_ARGUMENT;
    const std::vector<processor_cpu_load_info>& loads = machine().processors;
    *count = static_cast<natural_t>(loads.size());
    *length = *count * PROCESSOR_CPU_LOAD_INFO_COUNT;
    const std::size_t bytes = *length * sizeof(integer_t);
    *words = static_cast<processor_info_array_t>(std::malloc(bytes));
    std::memcpy(*words, loads.data(), bytes);
    ledger::take(pages, reinterpret_cast<std::uintptr_t>(*words));
    return KERN_SUCCESS;
}

kern_return_t vm_deallocate(vm_map_t, vm_address_t address, vm_size_t) {
    if (ledger::give(pages, address))
        std::free(reinterpret_cast<void*>(address)); // NOLINT(performance-no-int-to-ptr): what it was taken as
    return KERN_SUCCESS;
}

kern_return_t processor_set_default(host_t asked, processor_set_name_t* set) {
    ledger::use(rights, asked);
    if (const auto code = failures::due("processor_set_default"))
        return *code;
    ledger::take(rights, defaultSet);
    *set = defaultSet;
    return KERN_SUCCESS;
}

kern_return_t processor_set_statistics(processor_set_name_t asked, processor_set_flavor_t flavor,
                                       processor_set_info_t out, mach_msg_type_number_t* count) {
    return give("processor_set_statistics", asked, defaultSet, flavor, PROCESSOR_SET_LOAD_INFO, machine().setLoad, out,
                count);
}

} // extern "C"
