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
    if (process->second.isForeign) {
        errno = EPERM;
        return 0;
    }
    if (flavor == PROC_PIDLISTFDS) { // as many as fit
        const std::vector<proc_fdinfo>& files = process->second.files;
        const std::size_t count = std::min(files.size(), static_cast<std::size_t>(buffersize) / sizeof(proc_fdinfo));
        std::copy_n(files.begin(), count, static_cast<proc_fdinfo*>(buffer));
        return static_cast<int>(count * sizeof(proc_fdinfo));
    }
    if (flavor != PROC_PIDTASKINFO) {
        errno = EINVAL;
        return 0;
    }
    return give(process->second.task, buffer, buffersize);
}

extern "C" int proc_pid_rusage(int pid, int flavor, rusage_info_t* buffer) {
    const auto process = machine().processes.find(pid);
    if (const auto code = failures::due("proc_pid_rusage")) {
        errno = *code;
        return -1;
    }
    if (process == machine().processes.end() || process->second.isForeign || flavor != RUSAGE_INFO_V2) {
        errno = process == machine().processes.end() ? ESRCH : EPERM;
        return -1;
    }
    std::memcpy(buffer, &process->second.use, sizeof(rusage_info_v2));
    return 0;
}
