// SPDX-License-Identifier: Apache-2.0
// Unmounting and ejecting for real: by the system calls, and by a storage service on a system bus of the test's own.

#include <SentrelKit/probes/DiskProbes.h>

#include "tests/support/Await.h"
#include "tests/support/EnvironmentValue.h"
#include "tests/support/Eventually.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/linux/LoopDisk.h"
#include "tests/support/linux/MainLoop.h"
#include "tests/support/linux/MountNamespace.h"
#include "tests/support/linux/PrivateBus.h"
#include "tests/support/linux/SilentBus.h"

#include <SentrelKit/platform/DispatchQueue.h>
#include <SentrelKit/platform/Platform.h>
#include <SentrelKit/platform/VolumeService.h>
#include <SentrelKit/platform/linux/volumes/DiskRemoval.h>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <gio/gio.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <linux/loop.h>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/swap.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace sentrel::platform {
namespace {

using testing::ElementsAre;

const testing::Environment* const ownNamespace = testing::AddGlobalTestEnvironment(new OwnMountNamespace);

bool isMounted(const LoopDisk& image) {
    struct stat point {};
    struct stat above {};
    return ::stat(image.path().c_str(), &point) == 0 && ::stat((image.path() + "/..").c_str(), &above) == 0 &&
           point.st_dev != above.st_dev;
}

std::string mountTable() {
    std::ifstream file("/proc/self/mountinfo");
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool isAttached(const LoopDisk& image) {
    const int device = ::open(image.node().c_str(), O_RDONLY | O_CLOEXEC);
    loop_info64 info{};
    const bool attached = ::ioctl(device, LOOP_GET_STATUS64, &info) == 0;
    ::close(device);
    return attached;
}

// No message bus for a scope.
class NoBus {
    EnvironmentValue address_{"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus"};
};

// The answer to one whole-disk unmount, awaited.
struct Unmounted {
    bool isRefused = false;
    std::string reason;
};

std::optional<Unmounted> unmountWhole(DiskSession& session, const std::string& device, bool force = false) {
    const std::shared_ptr<StorageDevice> disk = session.disk(device);
    if (!disk)
        return std::nullopt;
    Event done;
    Unmounted answer;
    session.setQueue(dispatch::backgroundQueue());
    disk->wholeDisk()->unmount({.whole = true, .force = force},
                               [&](const std::shared_ptr<StorageDevice>&, const Dissenter* dissenter) {
                                   answer.isRefused = dissenter != nullptr;
                                   answer.reason = dissenter ? dissenter->reason : "";
                                   done.happened();
                               });
    if (!done.await())
        return std::nullopt;
    return answer;
}

class LiveRemoval : public testing::Test {
protected:
    void SetUp() override {
        if (!inOwnMountNamespace())
            GTEST_SKIP() << "no right to a mount namespace";
        if (::access("/dev/loop-control", W_OK) != 0)
            GTEST_SKIP() << "no loop devices";
    }

    static VolumeService& volumes() { return current().volumes(); }
};

// A storage service with one block device on one drive, on a bus daemon of the test's own.
class StorageService {
public:
    // What to answer to each call of "Unmount" in turn; then success.
    enum class Answer { success, busy, leave, never };

    explicit StorageService(std::string node, std::vector<Answer> answers = {}, bool resolves = true)
        : node_(std::move(node)), resolves_(resolves), answers_(std::move(answers)) {
        thread_ = std::thread([this] { serve(); });
        if (!ready_.await())
            throw std::runtime_error("no storage service");
    }
    ~StorageService() {
        g_main_context_invoke(context_, quit, this);
        thread_.join();
    }
    StorageService(const StorageService&) = delete;
    StorageService& operator=(const StorageService&) = delete;

    [[nodiscard]] std::vector<std::string> calls() {
        const std::lock_guard lock(mutex_);
        return calls_;
    }
    [[nodiscard]] bool awaitCalls(int count) { return called_.await(count); }

private:
    static constexpr const char* introspection =
        "<node>"
        "<interface name='org.freedesktop.UDisks2.Manager'><method name='ResolveDevice'>"
        "<arg type='a{sv}' direction='in'/><arg type='a{sv}' direction='in'/><arg type='ao' direction='out'/>"
        "</method></interface>"
        "<interface name='org.freedesktop.UDisks2.Filesystem'><method name='Unmount'>"
        "<arg type='a{sv}' direction='in'/></method></interface>"
        "<interface name='org.freedesktop.UDisks2.Block'><property name='Drive' type='o' access='read'/></interface>"
        "<interface name='org.freedesktop.UDisks2.Drive'><method name='Eject'>"
        "<arg type='a{sv}' direction='in'/></method></interface>"
        "</node>";
    static constexpr const char* blockPath = "/org/freedesktop/UDisks2/block_devices/disk";
    static constexpr const char* drivePath = "/org/freedesktop/UDisks2/drives/drive";

    static gboolean quit(gpointer self) {
        g_main_loop_quit(static_cast<StorageService*>(self)->loop_);
        return G_SOURCE_REMOVE;
    }

    void serve() {
        context_ = g_main_context_new();
        g_main_context_push_thread_default(context_);
        loop_ = g_main_loop_new(context_, FALSE);
        connection_ = g_dbus_connection_new_for_address_sync(
            bus_.address().c_str(),
            static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                              G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, nullptr);
        GDBusNodeInfo* node = g_dbus_node_info_new_for_xml(introspection, nullptr);
        const GDBusInterfaceVTable table{call, property, nullptr, {}};
        for (GDBusInterfaceInfo** interface = node->interfaces; *interface; ++interface) {
            const std::string name = (*interface)->name;
            const char* path = name.ends_with("Manager") ? "/org/freedesktop/UDisks2/Manager"
                               : name.ends_with("Drive") ? drivePath
                                                         : blockPath;
            g_dbus_connection_register_object(connection_, path, *interface, &table, this, nullptr, nullptr);
        }
        g_bus_own_name_on_connection(connection_, "org.freedesktop.UDisks2", G_BUS_NAME_OWNER_FLAGS_NONE, acquired,
                                     nullptr, this, nullptr);
        g_main_loop_run(loop_);
        for (GDBusMethodInvocation* invocation : unanswered_)
            g_object_unref(invocation);
        if (connection_) {
            g_dbus_connection_close_sync(connection_, nullptr, nullptr);
            g_object_unref(connection_);
        }
        g_dbus_node_info_unref(node);
        g_main_loop_unref(loop_);
        g_main_context_pop_thread_default(context_);
        g_main_context_unref(context_);
    }

    static void acquired(GDBusConnection*, const gchar*, gpointer self) {
        static_cast<StorageService*>(self)->ready_.happened();
    }

    static GVariant* property(GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*, GError**,
                              gpointer) {
        return g_variant_new_object_path(drivePath);
    }

    static void call(GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar* method,
                     GVariant* arguments, GDBusMethodInvocation* invocation, gpointer self) {
        static_cast<StorageService*>(self)->answer(method, arguments, invocation);
    }

    void answer(const std::string& method, GVariant* arguments, GDBusMethodInvocation* invocation) {
        GVariant* first = g_variant_get_child_value(arguments, 0);
        if (method == "ResolveDevice" && !resolves_) {
            g_variant_unref(first);
            unanswered_.push_back(invocation);
            return;
        }
        if (method == "ResolveDevice") {
            const gchar* path = nullptr;
            const bool isKnown = g_variant_lookup(first, "path", "&s", &path) && node_ == path;
            GVariantBuilder objects;
            g_variant_builder_init(&objects, G_VARIANT_TYPE("ao"));
            if (isKnown)
                g_variant_builder_add(&objects, "o", blockPath);
            g_dbus_method_invocation_return_value(invocation, g_variant_new("(ao)", &objects));
            g_variant_unref(first);
            return;
        }
        gboolean force = FALSE;
        g_variant_lookup(first, "force", "b", &force);
        g_variant_unref(first);
        Answer next = Answer::success;
        {
            const std::lock_guard lock(mutex_);
            calls_.push_back(method + (force ? " force" : ""));
            if (method == "Unmount" && !answers_.empty()) {
                next = answers_.front();
                answers_.erase(answers_.begin());
            }
        }
        if (next == Answer::success) {
            g_dbus_method_invocation_return_value(invocation, nullptr);
        } else if (next == Answer::busy) {
            g_dbus_method_invocation_return_dbus_error(invocation, "org.freedesktop.UDisks2.Error.DeviceBusy",
                                                       "target is busy");
        } else if (next == Answer::never) {
            unanswered_.push_back(invocation);
        } else { // gone without an answer
            g_dbus_connection_close_sync(connection_, nullptr, nullptr);
            g_object_unref(invocation);
        }
        called_.happened();
    }

    const std::string node_;
    const bool resolves_;
    std::vector<GDBusMethodInvocation*> unanswered_;
    std::mutex mutex_;
    std::vector<Answer> answers_;
    std::vector<std::string> calls_;
    PrivateBus bus_;
    GMainContext* context_ = nullptr;
    GMainLoop* loop_ = nullptr;
    GDBusConnection* connection_ = nullptr;
    Event ready_;
    Event called_;
    std::thread thread_;
};

TEST_F(LiveRemoval, UnmountsByTheSystemCallsWhereThereIsNoService) {
    const NoBus noBus;
    const LoopDisk image("CALLS", 16);
    image.mount();
    const auto session = volumes().openSession();
    const auto answer = unmountWhole(*session, image.device());
    ASSERT_TRUE(answer);
    EXPECT_FALSE(answer->isRefused) << answer->reason;
    EXPECT_FALSE(isMounted(image));
}

// A file that is open on an image for a scope.
class OpenFile {
public:
    explicit OpenFile(std::string path)
        : path_(std::move(path)), file_(::open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {}
    ~OpenFile() { ::close(file_); }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    // True if what is written can be read again under the file's name.
    [[nodiscard]] bool keeps(const std::string& text) const {
        if (::pwrite(file_, text.data(), text.size(), 0) != static_cast<ssize_t>(text.size()) || ::fsync(file_) != 0)
            return false;
        std::ifstream file(path_);
        return std::string(std::istreambuf_iterator<char>(file), {}) == text;
    }

private:
    const std::string path_;
    const int file_;
};

// Force once detached the file system with the files that were open on it.
TEST_F(LiveRemoval, IsRefusedWhereAFileIsOpenEvenByForce) {
    const NoBus noBus;
    const LoopDisk image("BUSY", 16);
    image.mount();
    const auto session = volumes().openSession();
    {
        const OpenFile file(image.path() + "/open");
        for (const bool force : {false, true}) {
            const auto answer = unmountWhole(*session, image.device(), force);
            ASSERT_TRUE(answer);
            EXPECT_TRUE(answer->isRefused);
            EXPECT_EQ(answer->reason, "Device or resource busy");
            EXPECT_TRUE(isMounted(image));
        }
        EXPECT_TRUE(file.keeps("what was written"));
    }
    const auto answer = unmountWhole(*session, image.device());
    ASSERT_TRUE(answer);
    EXPECT_FALSE(answer->isRefused);
}

TEST_F(LiveRemoval, UnmountsByForceWhatIsNotInUse) {
    const NoBus noBus;
    const DividedLoopDisk disk;
    const TemporaryFolder folder;
    for (const int part : {1, 2}) {
        folder.makeFolder(std::to_string(part));
        disk.mount(part, folder.path(std::to_string(part)));
    }
    const auto session = volumes().openSession();
    {
        const OpenFile file(folder.path("2/open"));
        auto answer = unmountWhole(*session, disk.device(1));
        ASSERT_TRUE(answer);
        EXPECT_TRUE(answer->isRefused);
        EXPECT_THAT(mountTable(), testing::HasSubstr(folder.path("1")));
        answer = unmountWhole(*session, disk.device(1), true);
        ASSERT_TRUE(answer);
        EXPECT_TRUE(answer->isRefused);
        EXPECT_THAT(mountTable(), testing::Not(testing::HasSubstr(folder.path("1"))));
        EXPECT_THAT(mountTable(), testing::HasSubstr(folder.path("2")));
    }
    const auto answer = unmountWhole(*session, disk.device(1));
    ASSERT_TRUE(answer);
    EXPECT_FALSE(answer->isRefused);
}

TEST_F(LiveRemoval, UnmountsWithoutAQueueAndCallsNobodyBack) {
    const NoBus noBus;
    const LoopDisk image("QUIET", 16);
    image.mount();
    const auto called = std::make_shared<std::atomic<bool>>(false);
    {
        const auto session = volumes().openSession();
        session->disk(image.device())->unmount({.whole = true}, [called](const auto&, const auto*) { *called = true; });
        EXPECT_TRUE(eventually([&] { return !isMounted(image); }));
    }
    EXPECT_FALSE(*called);
}

TEST_F(LiveRemoval, DropsACompletionThatStandsInTheQueueOnceItsSessionHasNone) {
    const NoBus noBus;
    const LoopDisk image("DROPPED", 16);
    image.mount();
    bool called = false;
    const auto session = volumes().openSession();
    session->setQueue(dispatch::mainQueue());
    session->disk(image.device())->unmount({.whole = true}, [&](const auto&, const auto*) { called = true; });
    EXPECT_TRUE(eventually([&] { return !isMounted(image) && g_main_context_pending(nullptr) != FALSE; }));
    session->setQueue(nullptr);
    bool isServed = false;
    dispatch::mainQueue()->async([&] { isServed = true; });
    EXPECT_TRUE(serveUntil([&] { return isServed; }));
    EXPECT_FALSE(called);
}

TEST_F(LiveRemoval, EjectsAnImageByLettingItsFileGo) {
    const NoBus noBus;
    const LoopDisk image("EJECT", 16);
    image.mount();
    EXPECT_EQ(probes::_ejectDisk(image.device().c_str()), 1);
    EXPECT_TRUE(eventually([&] { return !isMounted(image) && !isAttached(image); }));
}

// Makes the first part of a disk this program's root file system, with the second at /data, as on a machine with one
// disk. Of the old root only the kernel's folders and /tmp stay in sight. No TemporaryFolder: if a step failed, that
// would empty what is mounted in it, /dev included.
void makeRoot(const DividedLoopDisk& disk) {
    std::string root = "/tmp/sentrel-root-XXXXXX";
    if (!::mkdtemp(root.data()))
        throw std::runtime_error("no folder");
    disk.mount(1, root);
    for (const char* name : {"/old", "/data", "/proc", "/sys", "/dev", "/tmp"})
        ::mkdir((root + name).c_str(), 0755);
    for (const char* name : {"/proc", "/sys", "/dev", "/tmp"}) {
        if (::mount(name, (root + name).c_str(), nullptr, MS_BIND, nullptr) != 0)
            throw std::runtime_error(name);
    }
    disk.mount(2, root + "/data");
    if (::chdir(root.c_str()) != 0 || ::syscall(SYS_pivot_root, ".", "old") != 0 || ::chdir("/") != 0 ||
        ::umount2("/old", MNT_DETACH) != 0 || ::rmdir(root.c_str()) != 0)
        throw std::runtime_error("pivot_root");
}

bool isSystemDisk(const std::optional<Unmounted>& answer) {
    return answer && answer->isRefused && answer->reason == "the system runs from this disk";
}

// In a process that does nothing else: tries everything to eject the volume beside the root.
[[noreturn]] void ejectBesideTheRoot(bool withService) {
    bool isUntouched = false;
    {
        const DividedLoopDisk disk;
        std::optional<NoBus> noBus;
        std::optional<StorageService> service;
        if (withService)
            service.emplace(disk.node(2));
        else
            noBus.emplace();
        makeRoot(disk);
        const std::string before = mountTable();
        isUntouched = probes::_ejectDisk(disk.device(2).c_str()) == 0;
        const auto session = current().volumes().openSession();
        for (const bool force : {false, true}) {
            for (const int part : {1, 2})
                isUntouched = isSystemDisk(unmountWhole(*session, disk.device(part), force)) && isUntouched;
        }
        isUntouched = mountTable() == before && (!service || service->calls().empty()) && isUntouched;
    }
    std::_Exit(isUntouched ? 0 : 1);
}

// Once a second partition took "/" along: unmounted, and as that is refused, detached with all files open on it.
TEST_F(LiveRemoval, LeavesADiskAloneThatCarriesTheRoot) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    for (const bool withService : {false, true})
        EXPECT_EXIT(ejectBesideTheRoot(withService), testing::ExitedWithCode(0),
                    "Error: DADiskUnmount refused for 'loop[0-9]+p2', a disk that the system runs from -- "
                    "Device or resource busy");
}

// Takes a partition for swap space for a scope.
class SwapSpace {
public:
    explicit SwapSpace(std::string node) : node_(std::move(node)) {
        runProgram({"mkswap", node_});
        if (::swapon(node_.c_str(), 0) != 0)
            throw std::runtime_error("swapon");
    }
    ~SwapSpace() { ::swapoff(node_.c_str()); }
    SwapSpace(const SwapSpace&) = delete;
    SwapSpace& operator=(const SwapSpace&) = delete;

private:
    const std::string node_;
};

TEST_F(LiveRemoval, LeavesADiskAloneThatTheMachineSwapsTo) {
    const NoBus noBus;
    const DividedLoopDisk disk;
    const TemporaryFolder folder;
    disk.mount(1, folder.path());
    const std::string before = mountTable();
    {
        const SwapSpace swap(disk.node(2));
        testing::internal::CaptureStderr();
        EXPECT_EQ(probes::_ejectDisk(disk.device(1).c_str()), 0);
        EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::StartsWith("Error: DADiskUnmount refused for"));
        const auto session = volumes().openSession();
        EXPECT_TRUE(isSystemDisk(unmountWhole(*session, disk.device(1), true)));
        EXPECT_EQ(mountTable(), before);
    }
    EXPECT_EQ(probes::_ejectDisk(disk.device(1).c_str()), 1);
    EXPECT_TRUE(eventually([&] { return mountTable().find(folder.path()) == std::string::npos; }));
}

TEST_F(LiveRemoval, LeavesUnmountAndEjectToTheService) {
    const LoopDisk image("SERVED", 16);
    image.mount();
    StorageService service(image.node());
    EXPECT_EQ(probes::_ejectDisk(image.device().c_str()), 1);
    ASSERT_TRUE(service.awaitCalls(2));
    EXPECT_THAT(service.calls(), ElementsAre("Unmount", "Eject"));
    EXPECT_TRUE(isMounted(image)); // this service only says that it did it
}

// The service's own force is a lazy unmount.
TEST_F(LiveRemoval, NeverAsksTheServiceForItsForce) {
    const LoopDisk image("REFUSED", 16);
    image.mount();
    StorageService service(image.node(), {StorageService::Answer::busy});
    EXPECT_EQ(probes::_ejectDisk(image.device().c_str()), 1);
    ASSERT_TRUE(service.awaitCalls(3));
    EXPECT_THAT(service.calls(), ElementsAre("Unmount", "Unmount", "Eject"));
}

TEST_F(LiveRemoval, GoesPastTheServicesRefusalByForceWhereNothingIsInUse) {
    const LoopDisk image("IDLE", 16);
    image.mount();
    const StorageService service(image.node(), {StorageService::Answer::busy});
    const auto session = volumes().openSession();
    const auto answer = unmountWhole(*session, image.device(), true);
    ASSERT_TRUE(answer);
    EXPECT_FALSE(answer->isRefused) << answer->reason;
    EXPECT_FALSE(isMounted(image));
}

TEST_F(LiveRemoval, LeavesABusyDiskMountedWithTheService) {
    const LoopDisk image("HELD", 16);
    image.mount();
    const OpenFile file(image.path() + "/open");
    StorageService service(image.node(), {StorageService::Answer::busy, StorageService::Answer::busy});
    EXPECT_EQ(probes::_ejectDisk(image.device().c_str()), 1);
    ASSERT_TRUE(service.awaitCalls(3));
    EXPECT_THAT(service.calls(), ElementsAre("Unmount", "Unmount", "Eject"));
    EXPECT_TRUE(isMounted(image));
    EXPECT_TRUE(file.keeps("what was written"));
}

TEST_F(LiveRemoval, TellsTheServicesReason) {
    const LoopDisk image("REASON", 16);
    image.mount();
    StorageService service(image.node(), {StorageService::Answer::busy});
    const auto session = volumes().openSession();
    const auto answer = unmountWhole(*session, image.device());
    ASSERT_TRUE(answer);
    EXPECT_TRUE(answer->isRefused);
    EXPECT_THAT(answer->reason, testing::HasSubstr("target is busy"));
}

TEST_F(LiveRemoval, GoesOnByTheSystemCallsWhenTheServiceGoesInTheMiddle) {
    const LoopDisk image("GONE", 16);
    image.mount();
    StorageService service(image.node(), {StorageService::Answer::leave});
    EXPECT_EQ(probes::_ejectDisk(image.device().c_str()), 1);
    EXPECT_TRUE(eventually([&] { return !isMounted(image) && !isAttached(image); }));
    EXPECT_THAT(service.calls(), ElementsAre("Unmount"));
}

TEST_F(LiveRemoval, UsesTheSystemCallsForADeviceThatTheServiceDoesNotKnow) {
    const LoopDisk image("UNKNOWN", 16);
    image.mount();
    const StorageService service("/dev/other");
    const auto session = volumes().openSession();
    const auto answer = unmountWhole(*session, image.device());
    ASSERT_TRUE(answer);
    EXPECT_FALSE(answer->isRefused);
    EXPECT_FALSE(isMounted(image));
}

// Once such a bus was waited for without end, and the eject came to nothing.
TEST_F(LiveRemoval, EjectsByTheSystemCallsWhereTheBusNeverAnswers) {
    const SilentBus bus;
    const LoopDisk image("SILENT", 16);
    image.mount();
    EXPECT_EQ(probes::_ejectDisk(image.device().c_str()), 1);
    EXPECT_TRUE(eventually([&] { return !isMounted(image) && !isAttached(image); }));
}

// The steps below a session, with limits that a test can wait for.
class LimitedRemoval : public LiveRemoval {
protected:
    void unmountAndEject(const LoopDisk& image) {
        UdisksClient service({.lookUp = 100, .work = 100});
        EXPECT_FALSE(unmountAll(mounts_, service, image.device(), false));
        EXPECT_FALSE(isMounted(image));
        ejectDisk(devices_, service, control_, image.device());
        EXPECT_FALSE(isAttached(image));
    }

    const BlockDevices devices_{SystemRoot()};
    Mounts mounts_{devices_};
    DeviceControl control_;
};

TEST_F(LimitedRemoval, GoesOnByTheSystemCallsWhereTheServiceNeverAnswers) {
    const LoopDisk image("DEAF", 16);
    image.mount();
    const StorageService service(image.node(), {}, false);
    unmountAndEject(image);
}

TEST_F(LimitedRemoval, GoesOnByTheSystemCallsWhereAnUnmountNeverEnds) {
    const LoopDisk image("STUCK", 16);
    image.mount();
    StorageService service(image.node(), {StorageService::Answer::never});
    unmountAndEject(image);
    EXPECT_THAT(service.calls(), ElementsAre("Unmount")) << "a service that kept silent is not asked again";
}

// An eject stops many drives at once, whatever is still mounted of them.
TEST_F(LimitedRemoval, EjectsNothingThatIsInUse) {
    const NoBus noBus;
    const LoopDisk image("USED", 16);
    image.mount();
    UdisksClient service;
    ejectDisk(devices_, service, control_, image.device());
    EXPECT_EQ(devices_.attribute(image.device(), "loop/autoclear"), "0");
    EXPECT_TRUE(isMounted(image));
    image.unmount();
    ejectDisk(devices_, service, control_, image.device());
    EXPECT_FALSE(isAttached(image));
}

// A machine's devices, none of which can be opened.
class CountedControl final : public DeviceControl {
public:
    UniqueFd openUnused(const std::string& /*node*/) noexcept override {
        ++opened;
        return {};
    }
    int opened = 0;
};

// The mapper hands an eject on to the disk below, and with it every other volume there.
TEST(DiskRemoval, SendsNoEjectThroughAStackedDevice) {
    const NoBus noBus;
    const TemporaryFolder files;
    files.link("/sys/class/block/dm-0/slaves/sda1", "../../sda1");
    files.makeFolder("/sys/class/block/sda");
    const BlockDevices devices{SystemRoot(files.path())};
    UdisksClient service;
    CountedControl control;
    ejectDisk(devices, service, control, "dm-0");
    EXPECT_EQ(control.opened, 0);
    ejectDisk(devices, service, control, "sda");
    EXPECT_EQ(control.opened, 1);
}

} // namespace
} // namespace sentrel::platform
