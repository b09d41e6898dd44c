// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/common/BusConnection.h>

#include <SentrelKit/platform/linux/common/OwnThread.h>

#include <chrono>
#include <utility>

namespace sentrel::platform {

namespace {

constexpr std::chrono::seconds connectLimit{3};

// Cancels what goes on for too long. Its thread is its own, so that no queue that is busy keeps it from that.
class TimeLimit {
public:
    TimeLimit(std::shared_ptr<GCancellable> cancellable, std::chrono::seconds limit) {
        const auto end = std::chrono::steady_clock::now() + limit;
        isKept_ = runOnOwnThread([state = state_, cancellable = std::move(cancellable), end] {
            {
                const LockScope scope(state->lock);
                while (!state->isOver && std::chrono::steady_clock::now() < end)
                    state->changed.wait_until(state->lock, end);
                if (state->isOver)
                    return;
            }
            g_cancellable_cancel(cancellable.get());
        });
    }
    ~TimeLimit() {
        const LockScope scope(state_->lock);
        state_->isOver = true;
        state_->changed.notify_all();
    }
    TimeLimit(const TimeLimit&) = delete;
    TimeLimit& operator=(const TimeLimit&) = delete;

    // False if there is no thread to be had for it.
    [[nodiscard]] bool isKept() const noexcept { return isKept_; }

private:
    struct State {
        Lock lock;
        Condition changed;
        bool isOver SENTREL_GUARDED_BY(lock) = false;
    };
    const std::shared_ptr<State> state_ = std::make_shared<State>();
    bool isKept_ = false;
};

} // namespace

BusConnection::Cancellable BusConnection::beginWait() {
    const LockScope scope(lock_);
    wait_ = Cancellable(g_cancellable_new(), Release<g_object_unref>());
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

BusAnswer BusConnection::ask(const BusObject& object, const char* method, GVariant* arguments,
                             const GVariantType* answer, GDBusCallFlags flags, int milliseconds) {
    const VariantPointer owned(g_variant_ref_sink(arguments));
    if (!connect())
        return {};
    const Cancellable wait = beginWait();
    GError* error = nullptr;
    VariantPointer value(g_dbus_connection_call_sync(connection_.get(), object.service, object.path, object.interface,
                                                     method, owned.get(), answer, flags, milliseconds, wait.get(),
                                                     &error));
    return {std::move(value), ErrorPointer(error)};
}

bool BusConnection::connect() {
    if (connection_ && !g_dbus_connection_is_closed(connection_.get()))
        return true;
    connection_.reset();
    const Cancellable wait = beginWait();
    if (g_cancellable_is_cancelled(wait.get()))
        return false;
    const TimeLimit limit(wait, connectLimit); // a bus may accept and say nothing for ever
    const TextPointer address(limit.isKept() ? g_dbus_address_get_for_bus_sync(bus_, wait.get(), nullptr) : nullptr);
    if (!address)
        return false;
    connection_.reset(g_dbus_connection_new_for_address_sync(
        address.get(),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, wait.get(), nullptr));
    return connection_ != nullptr;
}

} // namespace sentrel::platform
