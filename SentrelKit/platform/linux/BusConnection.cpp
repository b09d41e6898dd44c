#include <SentrelKit/platform/linux/BusConnection.h>

#include <utility>

namespace sentrel::platform {

namespace {

constexpr std::int64_t connectNanoseconds = 3'000'000'000;
constexpr int callMilliseconds = 3000;

} // namespace

BusConnection::Cancellable BusConnection::beginWait() {
    const LockScope scope(lock_);
    wait_ = Cancellable(g_cancellable_new(), ObjectRelease());
    if (ended_)
        g_cancellable_cancel(wait_.get());
    return wait_;
}

void BusConnection::end() {
    const LockScope scope(lock_);
    ended_ = true;
    if (wait_)
        g_cancellable_cancel(wait_.get());
}

VariantPointer BusConnection::call(const BusObject& object, const char* method, GVariant* arguments,
                                   const GVariantType* answer, GDBusCallFlags flags) {
    const VariantPointer owned(g_variant_ref_sink(arguments));
    if (!connect())
        return nullptr;
    const Cancellable wait = beginWait();
    return VariantPointer(g_dbus_connection_call_sync(connection_.get(), object.service, object.path, object.interface,
                                                      method, owned.get(), answer, flags, callMilliseconds, wait.get(),
                                                      nullptr));
}

bool BusConnection::connect() {
    if (connection_ && !g_dbus_connection_is_closed(connection_.get()))
        return true;
    connection_.reset();
    const Cancellable wait = beginWait();
    if (g_cancellable_is_cancelled(wait.get()))
        return false;
    char* address = g_dbus_address_get_for_bus_sync(bus_, wait.get(), nullptr);
    if (!address)
        return false;
    // Connecting to a bus that does not answer has no time limit of its own.
    dispatch_.backgroundQueue()->after(connectNanoseconds, [wait] { g_cancellable_cancel(wait.get()); });
    connection_.reset(g_dbus_connection_new_for_address_sync(
        address,
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, wait.get(), nullptr));
    g_free(address);
    return connection_ != nullptr;
}

} // namespace sentrel::platform
