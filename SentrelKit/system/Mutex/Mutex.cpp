#include <SentrelKit/system/Mutex/Mutex.h>

#include <SentrelKit/base/system/Assert.h>

namespace sentrel {

Mutex::Mutex(SourceLocation where) noexcept {
    if (pthread_mutex_init(&mutex_, nullptr) != 0)
        fatalError("Failed to initialize Mutex", where.file, where.line);
}

Mutex::~Mutex() {
    pthread_mutex_destroy(&mutex_);
}

void Mutex::lockFailed(SourceLocation where) noexcept {
    fatalError("Failed to lock mutex", where.file, where.line);
}

} // namespace sentrel
