// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What the macOS backend uses of the Mach host interface, declared as the system does.

#include <cstdint>

typedef unsigned int natural_t;
typedef int integer_t;
typedef int kern_return_t;
typedef unsigned int boolean_t;
typedef natural_t mach_port_t;
typedef natural_t mach_port_name_t;
typedef mach_port_t host_t;
typedef mach_port_t processor_set_name_t;
typedef mach_port_t ipc_space_t;
typedef natural_t mach_msg_type_number_t;
typedef int host_flavor_t;
typedef int processor_set_flavor_t;
typedef integer_t* host_info_t;
typedef integer_t* host_info64_t;
typedef integer_t* processor_set_info_t;
typedef int processor_flavor_t;
typedef integer_t* processor_info_array_t;
typedef mach_port_t vm_map_t;
typedef unsigned long vm_address_t;
typedef unsigned long vm_size_t;
typedef integer_t cpu_type_t;
typedef integer_t cpu_subtype_t;
typedef integer_t cpu_threadtype_t;

#define KERN_SUCCESS 0
#define KERN_INVALID_ARGUMENT 4
#define KERN_FAILURE 5
#define MACH_PORT_NULL 0

#define HOST_BASIC_INFO 1
#define HOST_CPU_LOAD_INFO 3
#define HOST_VM_INFO64 4
#define PROCESSOR_SET_LOAD_INFO 4
#define PROCESSOR_CPU_LOAD_INFO 2
#define CPU_STATE_USER 0
#define CPU_STATE_SYSTEM 1
#define CPU_STATE_IDLE 2
#define CPU_STATE_NICE 3
#define CPU_STATE_MAX 4
#define HOST_BASIC_INFO_COUNT 12u
#define HOST_CPU_LOAD_INFO_COUNT 4u
#define HOST_VM_INFO64_REV1_COUNT 38u
#define PROCESSOR_SET_LOAD_INFO_COUNT 4u
#define PROCESSOR_CPU_LOAD_INFO_COUNT 4u

#pragma pack(push, 4)
struct host_basic_info {
    integer_t max_cpus;
    integer_t avail_cpus;
    natural_t memory_size;
    cpu_type_t cpu_type;
    cpu_subtype_t cpu_subtype;
    cpu_threadtype_t cpu_threadtype;
    integer_t physical_cpu;
    integer_t physical_cpu_max;
    integer_t logical_cpu;
    integer_t logical_cpu_max;
    uint64_t max_mem;
};
#pragma pack(pop)

struct host_cpu_load_info {
    natural_t cpu_ticks[CPU_STATE_MAX];
};

struct processor_cpu_load_info {
    unsigned int cpu_ticks[CPU_STATE_MAX];
};

struct processor_set_load_info {
    int task_count;
    int thread_count;
    integer_t load_average;
    integer_t mach_factor;
};

struct vm_statistics64 {
    natural_t free_count;
    natural_t active_count;
    natural_t inactive_count;
    natural_t wire_count;
    uint64_t zero_fill_count;
    uint64_t reactivations;
    uint64_t pageins;
    uint64_t pageouts;
    uint64_t faults;
    uint64_t cow_faults;
    uint64_t lookups;
    uint64_t hits;
    uint64_t purges;
    natural_t purgeable_count;
    natural_t speculative_count;
    uint64_t decompressions;
    uint64_t compressions;
    uint64_t swapins;
    uint64_t swapouts;
    natural_t compressor_page_count;
    natural_t throttled_count;
    natural_t external_page_count;
    natural_t internal_page_count;
    uint64_t total_uncompressed_pages_in_compressor;
} __attribute__((aligned(8)));

extern "C" {
extern mach_port_t mach_task_self_;
mach_port_t mach_host_self(void);
kern_return_t mach_port_deallocate(ipc_space_t task, mach_port_name_t name);
kern_return_t host_info(host_t host, host_flavor_t flavor, host_info_t host_info_out,
                        mach_msg_type_number_t* host_info_outCnt);
kern_return_t host_statistics(host_t host_priv, host_flavor_t flavor, host_info_t host_info_out,
                              mach_msg_type_number_t* host_info_outCnt);
kern_return_t host_statistics64(host_t host_priv, host_flavor_t flavor, host_info64_t host_info64_out,
                                mach_msg_type_number_t* host_info64_outCnt);
kern_return_t host_processor_info(host_t host, processor_flavor_t flavor, natural_t* out_processor_count,
                                  processor_info_array_t* out_processor_info,
                                  mach_msg_type_number_t* out_processor_infoCnt);
kern_return_t vm_deallocate(vm_map_t target_task, vm_address_t address, vm_size_t size);
extern vm_size_t vm_kernel_page_size;
kern_return_t processor_set_default(host_t host, processor_set_name_t* default_set);
kern_return_t processor_set_statistics(processor_set_name_t pset, processor_set_flavor_t flavor,
                                       processor_set_info_t info_out, mach_msg_type_number_t* info_outCnt);
}

#define mach_task_self() mach_task_self_
