#include <SentrelKit/platform/linux/UdisksClient.h>

#include <gio/gio.h>
#include <limits>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

namespace sentrel::platform {

namespace {

constexpr const char* service = "org.freedesktop.UDisks2";
constexpr const char* managerPath = "/org/freedesktop/UDisks2/Manager";
constexpr const char* managerInterface = "org.freedesktop.UDisks2.Manager";
constexpr const char* filesystemInterface = "org.freedesktop.UDisks2.Filesystem";
constexpr const char* blockInterface = "org.freedesktop.UDisks2.Block";
constexpr const char* driveInterface = "org.freedesktop.UDisks2.Drive";
constexpr const char* loopInterface = "org.freedesktop.UDisks2.Loop";
constexpr std::string_view notMounted = "org.freedesktop.UDisks2.Error.NotMounted";
constexpr int quickTimeout = 5000;                         // milliseconds, for what only looks up
constexpr int noTimeout = std::numeric_limits<int>::max(); // writing back a slow disk may take minutes

struct Unreference {
    void operator()(GDBusConnection* connection) const noexcept {
        g_dbus_connection_close_sync(connection, nullptr, nullptr);
        g_object_unref(connection);
    }
    void operator()(GVariant* value) const noexcept { g_variant_unref(value); }
    void operator()(GError* error) const noexcept { g_error_free(error); }
    void operator()(gchar* text) const noexcept { g_free(text); }
};
template <class T>
using Owned = std::unique_ptr<T, Unreference>;

struct Reply {
    Owned<GVariant> value; // null on failure
    Owned<GError> error;

    // The service never got to see the call.
    [[nodiscard]] bool nobodyThere() const {
        return !value && (!error || g_error_matches(error.get(), G_DBUS_ERROR, G_DBUS_ERROR_SERVICE_UNKNOWN) ||
                          g_error_matches(error.get(), G_DBUS_ERROR, G_DBUS_ERROR_NAME_HAS_NO_OWNER) ||
                          g_error_matches(error.get(), G_DBUS_ERROR, G_DBUS_ERROR_SPAWN_SERVICE_NOT_FOUND));
    }
    [[nodiscard]] bool isNoSuchMethod() const {
        return error && (g_error_matches(error.get(), G_DBUS_ERROR, G_DBUS_ERROR_UNKNOWN_METHOD) ||
                         g_error_matches(error.get(), G_DBUS_ERROR, G_DBUS_ERROR_UNKNOWN_INTERFACE));
    }
};

class SystemBus {
public:
    // A connection of its own, closed at the end: a host that ejects once keeps none.
    SystemBus() {
        const Owned<gchar> address(g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr));
        if (address)
            connection_.reset(g_dbus_connection_new_for_address_sync(
                address.get(),
                static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                  G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
                nullptr, nullptr, nullptr));
    }

    // Sinks the arguments.
    Reply call(const std::string& path, const char* interface, const char* method, GVariant* arguments,
               int timeout) const {
        const Owned<GVariant> kept(g_variant_ref_sink(arguments));
        if (!connection_)
            return {};
        GError* error = nullptr;
        Owned<GVariant> value(g_dbus_connection_call_sync(connection_.get(), service, path.c_str(), interface, method,
                                                          kept.get(), nullptr, G_DBUS_CALL_FLAGS_NONE, timeout, nullptr,
                                                          &error));
        return {std::move(value), Owned<GError>(error)};
    }

    // The service's object for a device node; absent if there is no service or it knows no such device.
    [[nodiscard]] std::optional<std::string> objectOf(const std::string& node) const {
        GVariantBuilder wanted;
        g_variant_builder_init(&wanted, G_VARIANT_TYPE_VARDICT);
        g_variant_builder_add(&wanted, "{sv}", "path", g_variant_new_string(node.c_str()));
        GVariantBuilder options;
        g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
        const Reply reply = call(managerPath, managerInterface, "ResolveDevice",
                                 g_variant_new("(a{sv}a{sv})", &wanted, &options), quickTimeout);
        if (!reply.value || !g_variant_is_of_type(reply.value.get(), G_VARIANT_TYPE("(ao)")))
            return std::nullopt;
        const Owned<GVariant> paths(g_variant_get_child_value(reply.value.get(), 0));
        if (g_variant_n_children(paths.get()) == 0)
            return std::nullopt;
        const Owned<GVariant> path(g_variant_get_child_value(paths.get(), 0));
        return std::string(g_variant_get_string(path.get(), nullptr));
    }

    // The drive of a block device; absent for one that stands for none.
    [[nodiscard]] std::optional<std::string> driveOf(const std::string& object) const {
        const Reply reply = call(object, "org.freedesktop.DBus.Properties", "Get",
                                 g_variant_new("(ss)", blockInterface, "Drive"), quickTimeout);
        if (!reply.value || !g_variant_is_of_type(reply.value.get(), G_VARIANT_TYPE("(v)")))
            return std::nullopt;
        const Owned<GVariant> boxed(g_variant_get_child_value(reply.value.get(), 0));
        const Owned<GVariant> path(g_variant_get_variant(boxed.get()));
        if (!g_variant_is_of_type(path.get(), G_VARIANT_TYPE_OBJECT_PATH))
            return std::nullopt;
        std::string drive = g_variant_get_string(path.get(), nullptr);
        if (drive == "/")
            return std::nullopt;
        return drive;
    }

private:
    Owned<GDBusConnection> connection_;
};

GVariant* optionsWith(bool force) {
    GVariantBuilder options;
    g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
    if (force)
        g_variant_builder_add(&options, "{sv}", "force", g_variant_new_boolean(TRUE));
    return g_variant_new("(a{sv})", &options);
}

UdisksAnswer answerOf(const Reply& reply) {
    if (reply.value)
        return {UdisksAnswer::Outcome::done, {}};
    if (reply.nobodyThere())
        return {UdisksAnswer::Outcome::unavailable, {}};
    // The text was made on GLib's own bus thread, which hands it over under a lock that the thread sanitizer does not
    // see: what is read here is GLib's copy of it.
    const Owned<gchar> reason(g_strdup(reply.error->message));
    return {UdisksAnswer::Outcome::refused, reason.get()};
}

} // namespace

UdisksAnswer udisksUnmount(const std::string& node, bool force) {
    const SystemBus bus;
    const std::optional<std::string> object = bus.objectOf(node);
    if (!object)
        return {};
    const Reply reply = bus.call(*object, filesystemInterface, "Unmount", optionsWith(force), noTimeout);
    if (reply.error) {
        const Owned<gchar> name(g_dbus_error_get_remote_error(reply.error.get()));
        if (name && notMounted == name.get())
            return {UdisksAnswer::Outcome::done, {}};
    }
    return answerOf(reply);
}

UdisksAnswer udisksEject(const std::string& node) {
    const SystemBus bus;
    const std::optional<std::string> object = bus.objectOf(node);
    if (!object)
        return {};
    if (const std::optional<std::string> drive = bus.driveOf(*object))
        return answerOf(bus.call(*drive, driveInterface, "Eject", optionsWith(false), noTimeout));
    const Reply reply = bus.call(*object, loopInterface, "Delete", optionsWith(false), noTimeout);
    if (reply.isNoSuchMethod())
        return {UdisksAnswer::Outcome::refused, "not a drive"};
    return answerOf(reply);
}

} // namespace sentrel::platform
