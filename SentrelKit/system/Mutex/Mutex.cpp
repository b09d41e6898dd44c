// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Mutex/Mutex.h>

#include <SentrelKit/base/system/Assert.h>
#include <SentrelKit/base/system/detail/ForkGate.h>

namespace sentrel {

Mutex::Mutex(SourceLocation where) noexcept {
    if (pthread_mutex_init(&mutex_, nullptr) != 0)
        fatalError("Failed to initialize Mutex", where.file, where.line);
}

Mutex::~Mutex() {
    pthread_mutex_destroy(&mutex_);
}

bool Mutex::lock() noexcept {
    ForkGate::enter();
    if (pthread_mutex_lock(&mutex_) == 0)
        return true;
    ForkGate::leave();
    return false;
}

bool Mutex::tryLock() noexcept {
    ForkGate::enter();
    if (pthread_mutex_trylock(&mutex_) == 0)
        return true;
    ForkGate::leave();
    return false;
}

bool Mutex::unlock() noexcept {
    if (pthread_mutex_unlock(&mutex_) != 0)
        return false;
    ForkGate::leave();
    return true;
}

void Mutex::lockFailed(SourceLocation where) noexcept {
    fatalError("Failed to lock mutex", where.file, where.line);
}

} // namespace sentrel
