// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/desktop/LinuxDesktop.h>

#include <SentrelKit/platform/linux/common/BusConnection.h>
#include <SentrelKit/platform/linux/common/OwnThread.h>
#include <SentrelKit/platform/linux/desktop/OpenAddress.h>

#include <chrono>
#include <cstring>
#include <glib.h>
#include <optional>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

namespace sentrel::platform {

namespace {

constexpr BusObject notificationService{"org.freedesktop.Notifications", "/org/freedesktop/Notifications",
                                        "org.freedesktop.Notifications"};

constexpr std::uint8_t urgencyNormal = 1;
constexpr std::int32_t expiryLeftToServer = -1;

/// What the service says that it can do.
struct Capabilities {
    bool markup = false;
    bool actions = false;
    bool inlineReply = false;
};

Capabilities readCapabilities(GVariant* names) {
    Capabilities capabilities;
    GVariantIter* each = nullptr;
    g_variant_get(names, "(as)", &each);
    const char* name = nullptr;
    while (g_variant_iter_loop(each, "&s", &name)) {
        capabilities.markup = capabilities.markup || std::strcmp(name, "body-markup") == 0;
        capabilities.actions = capabilities.actions || std::strcmp(name, "actions") == 0;
        capabilities.inlineReply = capabilities.inlineReply || std::strcmp(name, "inline-reply") == 0;
    }
    g_variant_iter_free(each);
    return capabilities;
}

// The bus closes the connection of a client that sends a text with bytes that are no UTF-8.
std::string validText(const std::string& text) {
    return TextPointer(g_utf8_make_valid(text.c_str(), -1)).get();
}

std::string bodyOf(const UserNotification& notification, bool markup) {
    std::string text = validText(notification.text.value_or(std::string()));
    if (!markup)
        return text;
    return TextPointer(g_markup_escape_text(text.c_str(), -1)).get();
}

GVariant* actionsOf(const UserNotification& notification, const Capabilities& capabilities) {
    GVariantBuilder actions;
    g_variant_builder_init(&actions, G_VARIANT_TYPE("as"));
    if (notification.actionButtonTitle && capabilities.actions) {
        g_variant_builder_add(&actions, "s", "action");
        g_variant_builder_add(&actions, "s", validText(*notification.actionButtonTitle).c_str());
    }
    if (notification.hasReplyButton && capabilities.inlineReply) {
        g_variant_builder_add(&actions, "s", "inline-reply");
        g_variant_builder_add(&actions, "s", "Reply");
    }
    return g_variant_builder_end(&actions);
}

GVariant* hintsOf(const UserNotification& notification, bool presentsWhileFrontmost) {
    GVariantBuilder hints;
    g_variant_builder_init(&hints, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&hints, "{sv}", "urgency", g_variant_new_byte(urgencyNormal));
    // Servers file a resident notification of the program in front away without showing it.
    g_variant_builder_add(&hints, "{sv}", "resident", g_variant_new_boolean(!presentsWhileFrontmost));
    if (notification.sound)
        g_variant_builder_add(&hints, "{sv}", "sound-name",
                              g_variant_new_string(validText(*notification.sound).c_str()));
    else
        g_variant_builder_add(&hints, "{sv}", "suppress-sound", g_variant_new_boolean(TRUE));
    return g_variant_builder_end(&hints);
}

std::string programName() {
    const char* name = g_get_application_name();
    return name ? validText(name) : std::string();
}

} // namespace

/// The connection to the service. It stays open: a server takes the notifications of a program that left the bus away.
class LinuxDesktop::Notifier {
public:
    void notify(const UserNotification& notification, bool presentsWhileFrontmost) {
        const LockScope scope(busy_);
        const VariantPointer names = bus_.call(notificationService, "GetCapabilities", g_variant_new("()"),
                                               G_VARIANT_TYPE("(as)"), G_DBUS_CALL_FLAGS_NONE);
        if (!names)
            return;
        const Capabilities capabilities = readCapabilities(names.get());
        const std::uint32_t replaced = 0;
        const char* icon = "";
        // The answer, the notification's number, is of no use here, nor is an error.
        static_cast<void>(bus_.call(notificationService, "Notify",
                                    g_variant_new("(susss@as@a{sv}i)", programName().c_str(), replaced, icon,
                                                  validText(notification.title).c_str(),
                                                  bodyOf(notification, capabilities.markup).c_str(),
                                                  actionsOf(notification, capabilities),
                                                  hintsOf(notification, presentsWhileFrontmost), expiryLeftToServer),
                                    nullptr, G_DBUS_CALL_FLAGS_NONE));
    }

    /// Drops what is under way and what is to come; nothing is under way any more once this returns.
    void end() {
        bus_.end();
        const LockScope scope(busy_);
    }

private:
    Lock busy_;
    BusConnection bus_{G_BUS_TYPE_SESSION};
};

/// An address to be opened by whichever thread begins first.
class LinuxDesktop::Opening {
public:
    explicit Opening(std::string address) : address_(std::move(address)) {}

    /// Opens the address unless another thread has begun to.
    void open() {
        {
            const LockScope scope(lock_);
            if (std::exchange(begun_, true))
                return;
            changed_.notify_all();
        }
        const bool opened = platform::openAddress(address_);
        const LockScope scope(lock_);
        opened_ = opened;
        changed_.notify_all();
    }

    /// Waits until somebody has begun, for a second at most.
    void awaitBegin() {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(1);
        const LockScope scope(lock_);
        while (!begun_ && std::chrono::steady_clock::now() < end)
            changed_.wait_until(lock_, end);
    }

    /// Waits until it is open or could not be opened.
    bool result() {
        const LockScope scope(lock_);
        while (!opened_)
            changed_.wait(lock_);
        return *opened_;
    }

private:
    const std::string address_;
    Lock lock_;
    Condition changed_ SENTREL_GUARDED_BY(lock_);
    bool begun_ SENTREL_GUARDED_BY(lock_) = false;
    std::optional<bool> opened_ SENTREL_GUARDED_BY(lock_);
};

LinuxDesktop::LinuxDesktop(Dispatch& dispatch)
    : main_(dispatch.mainQueue()), queue_(dispatch.serialQueue("notifications")),
      notifier_(std::make_shared<Notifier>()) {}

LinuxDesktop::~LinuxDesktop() {
    notifier_->end();
}

std::string LinuxDesktop::defaultSoundName() const {
    return "message-new-instant";
}

void LinuxDesktop::deliver(const UserNotification& notification) {
    queue_->async([notifier = notifier_, notification, presents = presents_.load()] {
        notifier->notify(notification, presents);
    });
}

bool LinuxDesktop::openAddress(const std::string& address) {
    // A started program inherits the niceness of the thread that starts it, which the thread itself cannot lower again.
    const int own = getpriority(PRIO_PROCESS, static_cast<id_t>(syscall(SYS_gettid)));
    if (own <= getpriority(PRIO_PROCESS, static_cast<id_t>(getpid())))
        return platform::openAddress(address);
    const auto opening = std::make_shared<Opening>(address);
    main_->async([opening] { runOnOwnThread([opening] { opening->open(); }); });
    opening->awaitBegin();
    opening->open();
    return opening->result();
}

} // namespace sentrel::platform
