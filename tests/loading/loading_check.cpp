// SPDX-License-Identifier: Apache-2.0
// Loads the shared library the way a host with plug-ins does and checks what loading alone does to the process.
#include <SentrelKit/platform/DispatchQueue.h>

#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <dlfcn.h>
#include <memory>
#include <semaphore.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

int threads() {
    DIR* folder = opendir("/proc/self/task");
    int count = 0;
    while (const dirent* entry = folder ? readdir(folder) : nullptr)
        count += entry->d_name[0] != '.';
    closedir(folder);
    return count;
}

// True if a closure given to the library's background queue runs.
bool backgroundQueueWorks(void* library) {
    using BackgroundQueue = std::shared_ptr<sentrel::DispatchQueue> (*)();
    const auto queue = reinterpret_cast<BackgroundQueue>(dlsym(library, "_ZN7sentrel8dispatch15backgroundQueueEv"));
    if (!queue)
        return false;
    sem_t done;
    sem_init(&done, 0, 0);
    queue()->async([&] { sem_post(&done); });
    while (sem_wait(&done) != 0) {
    }
    return true;
}

int fail(const char* what) {
    std::fprintf(stderr, "%s\n", what);
    return 1;
}

int loadsWithoutAThread(const char* path) {
    if (!dlopen(path, RTLD_NOW))
        return fail(dlerror());
    return threads() == 1 ? 0 : fail("loading started a thread");
}

int worksInAForkedChild(const char* path) {
    void* library = dlopen(path, RTLD_NOW);
    if (!library)
        return fail(dlerror());
    for (const bool usedBefore : {false, true}) {
        if (usedBefore && !backgroundQueueWorks(library))
            return fail("the background queue does not work");
        const pid_t child = fork();
        if (child == 0)
            _exit(backgroundQueueWorks(library) ? 0 : 1);
        int status = 0;
        if (waitpid(child, &status, 0) != child || status != 0)
            return fail(usedBefore ? "the child of a used library failed" : "the child of a loaded library failed");
    }
    return backgroundQueueWorks(library) ? 0 : fail("the parent's queue broke");
}

int canBeClosed(const char* path) {
    for (int round = 0; round < 3; ++round) {
        void* library = dlopen(path, RTLD_NOW);
        if (!library)
            return fail(dlerror());
        if (!backgroundQueueWorks(library))
            return fail("the background queue does not work");
        if (dlclose(library) != 0)
            return fail(dlerror());
    }
    return 0;
}

} // namespace

int main(int count, char** arguments) {
    if (count != 3)
        return fail("usage: loading_check threads|fork|unload LIBRARY");
    if (std::strcmp(arguments[1], "threads") == 0)
        return loadsWithoutAThread(arguments[2]);
    if (std::strcmp(arguments[1], "fork") == 0)
        return worksInAForkedChild(arguments[2]);
    return canBeClosed(arguments[2]);
}
