// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/volumes/UdisksClient.h>

#include <memory>
#include <string_view>

namespace sentrel::platform {

namespace {

constexpr const char* service = "org.freedesktop.UDisks2";
constexpr const char* managerPath = "/org/freedesktop/UDisks2/Manager";
constexpr const char* managerInterface = "org.freedesktop.UDisks2.Manager";
constexpr const char* filesystemInterface = "org.freedesktop.UDisks2.Filesystem";
constexpr const char* blockInterface = "org.freedesktop.UDisks2.Block";
constexpr const char* driveInterface = "org.freedesktop.UDisks2.Drive";
constexpr const char* loopInterface = "org.freedesktop.UDisks2.Loop";
constexpr std::string_view ownErrors = "org.freedesktop.UDisks2.Error.";
constexpr std::string_view notMounted = "org.freedesktop.UDisks2.Error.NotMounted";

} // namespace

BusAnswer UdisksClient::ask(const std::string& path, const char* interface, const char* method, GVariant* arguments,
                            int milliseconds) {
    const VariantPointer owned(g_variant_ref_sink(arguments));
    if (isSilent_)
        return {};
    BusAnswer answer = bus_.ask({service, path.c_str(), interface}, method, owned.get(), nullptr,
                                G_DBUS_CALL_FLAGS_NONE, milliseconds);
    isSilent_ = !answer.value && !(answer.error && g_dbus_error_is_remote_error(answer.error.get()));
    return answer;
}

UdisksAnswer UdisksClient::order(const std::string& path, const char* interface, const char* method) {
    GVariantBuilder options;
    g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
    const BusAnswer answer = ask(path, interface, method, g_variant_new("(a{sv})", &options), limits_.work);
    if (answer.value)
        return {UdisksAnswer::Outcome::done, {}};
    const TextPointer name(answer.error ? g_dbus_error_get_remote_error(answer.error.get()) : nullptr);
    if (!name || name.get() == notMounted || !std::string_view(name.get()).starts_with(ownErrors))
        return {};
    // The text was made on GLib's own bus thread, which hands it over under a lock that the thread sanitizer does not
    // see: what is read here is GLib's copy of it.
    g_dbus_error_strip_remote_error(answer.error.get());
    const TextPointer reason(g_strdup(answer.error->message));
    return {UdisksAnswer::Outcome::refused, reason.get()};
}

// The service's object for a device node; absent if there is no service or it knows no such device.
std::optional<std::string> UdisksClient::objectOf(const std::string& node) {
    GVariantBuilder wanted;
    g_variant_builder_init(&wanted, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&wanted, "{sv}", "path", g_variant_new_string(node.c_str()));
    GVariantBuilder options;
    g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
    const BusAnswer answer = ask(managerPath, managerInterface, "ResolveDevice",
                                 g_variant_new("(a{sv}a{sv})", &wanted, &options), limits_.lookUp);
    if (!answer.value || !g_variant_is_of_type(answer.value.get(), G_VARIANT_TYPE("(ao)")))
        return std::nullopt;
    const VariantPointer paths(g_variant_get_child_value(answer.value.get(), 0));
    if (g_variant_n_children(paths.get()) == 0)
        return std::nullopt;
    const VariantPointer path(g_variant_get_child_value(paths.get(), 0));
    return std::string(g_variant_get_string(path.get(), nullptr));
}

// The drive of a block device; absent for one that stands for none.
std::optional<std::string> UdisksClient::driveOf(const std::string& object) {
    const BusAnswer answer = ask(object, "org.freedesktop.DBus.Properties", "Get",
                                 g_variant_new("(ss)", blockInterface, "Drive"), limits_.lookUp);
    if (!answer.value || !g_variant_is_of_type(answer.value.get(), G_VARIANT_TYPE("(v)")))
        return std::nullopt;
    const VariantPointer boxed(g_variant_get_child_value(answer.value.get(), 0));
    const VariantPointer path(g_variant_get_variant(boxed.get()));
    if (!g_variant_is_of_type(path.get(), G_VARIANT_TYPE_OBJECT_PATH))
        return std::nullopt;
    std::string drive = g_variant_get_string(path.get(), nullptr);
    if (drive == "/")
        return std::nullopt;
    return drive;
}

UdisksAnswer UdisksClient::unmount(const std::string& node) {
    const std::optional<std::string> object = objectOf(node);
    return object ? order(*object, filesystemInterface, "Unmount") : UdisksAnswer();
}

UdisksAnswer UdisksClient::eject(const std::string& node) {
    const std::optional<std::string> object = objectOf(node);
    if (!object)
        return {};
    if (const std::optional<std::string> drive = driveOf(*object))
        return order(*drive, driveInterface, "Eject");
    return order(*object, loopInterface, "Delete");
}

} // namespace sentrel::platform
