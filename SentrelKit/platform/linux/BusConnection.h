#pragma once

/// A kept connection of the library's own to a message bus, made when it is first needed and anew once it was lost.

#include <SentrelKit/base/system/ThreadSafety.h>
#include <SentrelKit/platform/Dispatch.h>

#include <gio/gio.h>
#include <memory>

namespace sentrel::platform {

struct ObjectRelease {
    void operator()(gpointer object) const noexcept { g_object_unref(object); }
};
struct VariantRelease {
    void operator()(GVariant* variant) const noexcept { g_variant_unref(variant); }
};
template <class Object>
using ObjectPointer = std::unique_ptr<Object, ObjectRelease>;
using VariantPointer = std::unique_ptr<GVariant, VariantRelease>;

/// One object of a service, as one of its interfaces.
struct BusObject {
    const char* service;
    const char* path;
    const char* interface;
};

/// One thread at a time, never the main loop's: calls wait.
class BusConnection {
public:
    /// `dispatch` keeps the time for connecting; it outlives the last call.
    BusConnection(GBusType bus, Dispatch& dispatch) : bus_(bus), dispatch_(dispatch) {}

    /// Calls a method and waits for its answer, at most a few seconds. Takes a floating `arguments` over. Null if there
    /// is no bus, no such service, or an error for an answer. `flags` tell whether the service may be started.
    [[nodiscard]] VariantPointer call(const BusObject& object, const char* method, GVariant* arguments,
                                      const GVariantType* answer, GDBusCallFlags flags);

    /// Ends what is under way; from now on every call fails at once. Any thread.
    void end();

private:
    using Cancellable = std::shared_ptr<GCancellable>;

    /// What ends the next wait.
    [[nodiscard]] Cancellable beginWait();
    [[nodiscard]] bool connect();

    GBusType bus_;
    Dispatch& dispatch_;
    ObjectPointer<GDBusConnection> connection_;
    Lock lock_;
    Cancellable wait_ SENTREL_GUARDED_BY(lock_);
    bool ended_ SENTREL_GUARDED_BY(lock_) = false;
};

} // namespace sentrel::platform
