// SPDX-License-Identifier: Apache-2.0
// The tools with which the toolkits' widgets are tested, on a window that no toolkit is behind.

#include "tests/embed/support/DesktopSession.h"

#include "tests/embed/support/DisplayUser.h"
#include "tests/support/Eventually.h"

#include <array>
#include <csignal>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/wait.h>

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>

namespace sentrel {
namespace {

// A red window that hears of everything.
class PlainWindow {
public:
    explicit PlainWindow(const char* title) {
        const int screen = DefaultScreen(display_);
        window_ = XCreateSimpleWindow(display_, DefaultRootWindow(display_), 0, 0, 200, 100, 0,
                                      BlackPixel(display_, screen), 0xFF0000);
        XChangeProperty(display_, window_, XInternAtom(display_, "_NET_WM_NAME", False),
                        XInternAtom(display_, "UTF8_STRING", False), 8, PropModeReplace,
                        reinterpret_cast<const unsigned char*>(title), static_cast<int>(std::string(title).size()));
        XSelectInput(display_, window_,
                     PointerMotionMask | ButtonPressMask | ButtonReleaseMask | KeyPressMask | StructureNotifyMask |
                         ExposureMask | FocusChangeMask);
        XMapWindow(display_, window_);
        XFlush(display_);
    }
    ~PlainWindow() { XCloseDisplay(display_); }
    PlainWindow(const PlainWindow&) = delete;
    PlainWindow& operator=(const PlainWindow&) = delete;

    // The next event of a kind; false if none comes.
    bool awaitEvent(int type, XEvent& event) {
        XFlush(display_);
        for (;;) {
            while (XPending(display_) > 0) {
                XNextEvent(display_, &event);
                if (event.type == type)
                    return true;
            }
            pollfd wait{ConnectionNumber(display_), POLLIN, 0};
            if (::poll(&wait, 1, 30'000) <= 0)
                return false;
        }
    }

private:
    ::Display* display_ = XOpenDisplay(nullptr);
    ::Window window_ = 0;
};

TEST(DesktopSession, AWindowIsSeenPointedAtAndTypedInto) {
    const DesktopSession session;
    const DisplayUser user;
    PlainWindow plain("A plain window");
    XEvent event{};
    ASSERT_TRUE(plain.awaitEvent(FocusIn, event));
    std::optional<DisplayUser::Window> window;
    ASSERT_TRUE(eventually([&] { return (window = user.windowNamed("A plain window")).has_value(); }));
    // The frame's corner comes there; the window manager's frames are thinner than 10 pixels.
    user.moveWindow(*window, {100, 200, 200, 100});
    ASSERT_TRUE(eventually([&] { return user.placeOf(*window).x < 110; }));
    const DisplayUser::Place place = user.placeOf(*window);
    EXPECT_TRUE(
        eventually([&] { return user.screenshot(place).pixels == std::vector<std::uint32_t>(20'000, 0xFF0000); }));

    user.movePointer(place.x + 20, place.y + 30);
    ASSERT_TRUE(plain.awaitEvent(MotionNotify, event));
    EXPECT_EQ(event.xmotion.x, 20);
    EXPECT_EQ(event.xmotion.y, 30);
    user.click(place.x + 21, place.y + 31, 3);
    ASSERT_TRUE(plain.awaitEvent(ButtonPress, event));
    EXPECT_EQ(event.xbutton.button, 3U);
    ASSERT_TRUE(plain.awaitEvent(ButtonRelease, event));
    EXPECT_EQ(event.xbutton.x, 21);

    user.typeKey("shift+Tab");
    ASSERT_TRUE(plain.awaitEvent(KeyPress, event));
    EXPECT_EQ(XLookupKeysym(&event.xkey, 0), static_cast<KeySym>(XK_Shift_L));
    ASSERT_TRUE(plain.awaitEvent(KeyPress, event));
    EXPECT_EQ(XLookupKeysym(&event.xkey, 0), static_cast<KeySym>(XK_Tab));
    EXPECT_NE(event.xkey.state & ShiftMask, 0U);
}

TEST(DesktopSession, AWindowIsMinimisedAndMovedToAnotherWorkspaceAndBack) {
    const DesktopSession session;
    const DisplayUser user;
    PlainWindow plain("A plain window");
    XEvent event{};
    ASSERT_TRUE(plain.awaitEvent(FocusIn, event));
    std::optional<DisplayUser::Window> window;
    ASSERT_TRUE(eventually([&] { return (window = user.windowNamed("A plain window")).has_value(); }));

    user.minimise(*window);
    EXPECT_TRUE(plain.awaitEvent(UnmapNotify, event));
    user.activate(*window);
    EXPECT_TRUE(plain.awaitEvent(MapNotify, event));
    user.moveToWorkspace(*window, 1);
    EXPECT_TRUE(plain.awaitEvent(UnmapNotify, event));
    user.showWorkspace(1);
    EXPECT_TRUE(plain.awaitEvent(MapNotify, event));
}

TEST(DesktopSession, TheScreenIsAsLargeAsAskedFor) {
    const DesktopSession session({"640x480", 192, false});
    const Screenshot screen = DisplayUser().screenshot({0, 0, 10'000, 10'000});
    EXPECT_EQ(screen.width, 640);
    EXPECT_EQ(screen.height, 480);
}

// Processes whose environment names the desktop's own folder.
int programsOf(const std::string& folder) {
    ChildProgram search({"sh", "-c", "grep -alF '" + folder + "' /proc/[0-9]*/environ 2>/dev/null | wc -l"});
    return std::stoi(search.readLine().value_or("-1"));
}

TEST(DesktopSession, NothingOutlivesATestThatIsKilled) {
    std::array<int, 2> pipe{};
    ASSERT_EQ(::pipe(pipe.data()), 0);
    const pid_t test = ::fork();
    if (test == 0) {
        const DesktopSession session;
        const std::string folder = std::getenv("XDG_RUNTIME_DIR");
        const ssize_t written = ::write(pipe[1], folder.data(), folder.size());
        static_cast<void>(written);
        for (;;)
            ::pause();
    }
    ::close(pipe[1]);
    std::string folder(256, '\0');
    const ssize_t size = ::read(pipe[0], folder.data(), folder.size());
    ::close(pipe[0]);
    ASSERT_GT(size, 0);
    folder.resize(static_cast<std::size_t>(size));
    EXPECT_GT(programsOf(folder), 2);
    ::kill(test, SIGKILL);
    ::waitpid(test, nullptr, 0);
    EXPECT_TRUE(eventually([&] { return programsOf(folder) == 0; }));
    EXPECT_TRUE(eventually([&] { return ::access(folder.c_str(), F_OK) != 0; }));
}

} // namespace
} // namespace sentrel
