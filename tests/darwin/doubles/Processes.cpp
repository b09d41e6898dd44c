// SPDX-License-Identifier: Apache-2.0
#include <libproc.h>

#include "tests/darwin/doubles/Failures.h"
#include "tests/darwin/doubles/Machine.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

using namespace darwin;

namespace {

// As the kernel does: the whole record, or none of it.
template <class Record>
int give(const Record& record, void* buffer, int size) {
    if (size < static_cast<int>(sizeof(record))) {
        errno = ENOMEM;
        return 0;
    }
    std::memcpy(buffer, &record, sizeof(record));
    return sizeof(record);
}

} // namespace

extern "C" int proc_pidinfo(int pid, int flavor, std::uint64_t, void* buffer, int buffersize) {
    const auto process = machine().processes.find(pid);
    if (const auto code = failures::due("proc_pidinfo"))
        return *code; // fewer bytes than asked for
    if (process == machine().processes.end()) {
        errno = ESRCH;
        return 0;
    }
    if (flavor == PROC_PIDTBSDINFO)
        return give(process->second.facts, buffer, buffersize);
    if (flavor != PROC_PIDTASKINFO || process->second.isForeign) {
        errno = EPERM;
        return 0;
    }
    return give(process->second.task, buffer, buffersize);
}
