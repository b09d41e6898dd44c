// SPDX-License-Identifier: Apache-2.0
#pragma once

/// A kept connection of the library's own to a message bus, made when it is first needed and anew once it was lost.

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/linux/common/GLibOwners.h>

#include <gio/gio.h>
#include <memory>

namespace sentrel::platform {

/// One object of a service, as one of its interfaces.
struct BusObject {
    const char* service;
    const char* path;
    const char* interface;
};

/// What a call came to: a value or an error; neither if there was no connection to make it over.
struct BusAnswer {
    VariantPointer value;
    ErrorPointer error;
};

/// One thread at a time, never the main loop's: calls wait. No call waits for ever, whatever the bus and the service do
/// or leave undone: connecting takes 3 seconds at most.
class BusConnection {
public:
    static constexpr int usualMilliseconds = 3000; ///< for which a call waits for its answer

    explicit BusConnection(GBusType bus) : bus_(bus) {}

    /// Calls a method and waits for its answer, for so many milliseconds at most. Takes a floating `arguments` over.
    /// `flags` tell whether the service may be started.
    [[nodiscard]] BusAnswer ask(const BusObject& object, const char* method, GVariant* arguments,
                                const GVariantType* answer, GDBusCallFlags flags, int milliseconds);

    /// The same where it does not matter why there is no answer: null if there is no bus, no such service, or an error
    /// for an answer.
    [[nodiscard]] VariantPointer call(const BusObject& object, const char* method, GVariant* arguments,
                                      const GVariantType* answer, GDBusCallFlags flags) {
        return ask(object, method, arguments, answer, flags, usualMilliseconds).value;
    }

    /// Ends what is under way; from now on every call fails at once. Any thread.
    void end();

private:
    using Cancellable = std::shared_ptr<GCancellable>;

    /// What ends the next wait.
    [[nodiscard]] Cancellable beginWait();
    [[nodiscard]] bool connect();

    GBusType bus_;
    ObjectPointer<GDBusConnection> connection_;
    Lock lock_;
    Cancellable wait_ SENTREL_GUARDED_BY(lock_);
    bool ended_ SENTREL_GUARDED_BY(lock_) = false;
};

} // namespace sentrel::platform
