// SPDX-License-Identifier: Apache-2.0
#include "tests/embed/support/DisplayUser.h"

#include <algorithm>
#include <array>
#include <cairo.h>
#include <stdexcept>

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/extensions/Xfixes.h>

namespace sentrel {

namespace {

// A window may go away while it is asked for: the answer is then empty, and not the end of the program.
int ignoreError(::Display* /*display*/, XErrorEvent* /*error*/) {
    return 0;
}

struct Property {
    unsigned char* bytes = nullptr;
    unsigned long count = 0;

    Property(::Display* display, ::Window window, const char* name, ::Atom type) {
        ::Atom actual = 0;
        int format = 0;
        unsigned long left = 0;
        if (XGetWindowProperty(display, window, XInternAtom(display, name, False), 0, 4096, False, type, &actual,
                               &format, &count, &left, &bytes) != Success ||
            actual != type)
            count = 0;
    }
    ~Property() {
        if (bytes)
            XFree(bytes);
    }
    Property(const Property&) = delete;
    Property& operator=(const Property&) = delete;
};

} // namespace

void Screenshot::writePng(const std::string& path) const {
    std::vector<std::uint32_t> bytes = pixels;
    cairo_surface_t* const surface = cairo_image_surface_create_for_data(reinterpret_cast<unsigned char*>(bytes.data()),
                                                                         CAIRO_FORMAT_RGB24, width, height, width * 4);
    const cairo_status_t status = cairo_surface_write_to_png(surface, path.c_str());
    cairo_surface_destroy(surface);
    if (status != CAIRO_STATUS_SUCCESS)
        throw std::runtime_error("cannot write " + path);
}

struct DisplayUser::Connection {
    ::Display* display = XOpenDisplay(nullptr);

    Connection() {
        if (!display)
            throw std::runtime_error("no display");
    }
    ~Connection() { XCloseDisplay(display); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    [[nodiscard]] ::Window root() const { return DefaultRootWindow(display); }
    void done() const { XSync(display, False); }
};

DisplayUser::DisplayUser() : connection_(std::make_unique<Connection>()) {
    XSetErrorHandler(ignoreError);
}

DisplayUser::~DisplayUser() = default;

void DisplayUser::movePointer(int x, int y) const {
    XTestFakeMotionEvent(connection_->display, -1, x, y, CurrentTime);
    connection_->done();
}

void DisplayUser::pressButton(unsigned int button) const {
    XTestFakeButtonEvent(connection_->display, button, True, CurrentTime);
    connection_->done();
}

void DisplayUser::releaseButton(unsigned int button) const {
    XTestFakeButtonEvent(connection_->display, button, False, CurrentTime);
    connection_->done();
}

void DisplayUser::click(int x, int y, unsigned int button) const {
    movePointer(x, y);
    pressButton(button);
    releaseButton(button);
}

void DisplayUser::sendKey(std::string_view key, bool isPress) const {
    std::vector<std::string> names;
    for (std::size_t begin = 0; begin <= key.size();) {
        const std::size_t end = std::min(key.find('+', begin), key.size());
        names.emplace_back(key.substr(begin, end - begin));
        begin = end + 1;
    }
    if (!isPress)
        std::reverse(names.begin(), names.end());
    for (std::string& name : names) {
        if (name == "shift")
            name = "Shift_L";
        if (name == "ctrl")
            name = "Control_L";
        if (name == "alt")
            name = "Alt_L";
        const ::KeyCode code = XKeysymToKeycode(connection_->display, XStringToKeysym(name.c_str()));
        if (code == 0)
            throw std::invalid_argument("no key " + name);
        XTestFakeKeyEvent(connection_->display, code, isPress ? True : False, CurrentTime);
    }
    connection_->done();
}

void DisplayUser::pressKey(std::string_view key) const {
    sendKey(key, true);
}

void DisplayUser::releaseKey(std::string_view key) const {
    sendKey(key, false);
}

void DisplayUser::typeKey(std::string_view key) const {
    pressKey(key);
    releaseKey(key);
}

std::optional<DisplayUser::Window> DisplayUser::windowNamed(std::string_view title) const {
    ::Display* const display = connection_->display;
    const Property windows(display, connection_->root(), "_NET_CLIENT_LIST", XA_WINDOW);
    for (unsigned long i = 0; i < windows.count; ++i) {
        const ::Window window = reinterpret_cast<const ::Window*>(windows.bytes)[i];
        const Property name(display, window, "_NET_WM_NAME", XInternAtom(display, "UTF8_STRING", False));
        if (name.bytes && title == std::string_view(reinterpret_cast<const char*>(name.bytes), name.count))
            return window;
    }
    return std::nullopt;
}

DisplayUser::Place DisplayUser::placeOf(Window window) const {
    XWindowAttributes attributes{};
    Place place;
    ::Window child = 0;
    if (XGetWindowAttributes(connection_->display, window, &attributes) == 0)
        return {};
    XTranslateCoordinates(connection_->display, window, connection_->root(), 0, 0, &place.x, &place.y, &child);
    place.width = attributes.width;
    place.height = attributes.height;
    return place;
}

void DisplayUser::moveWindow(Window window, Place place) const {
    XMoveResizeWindow(connection_->display, window, place.x, place.y, static_cast<unsigned int>(place.width),
                      static_cast<unsigned int>(place.height));
    connection_->done();
}

// A message to the window manager, as a pager or a task bar sends it.
void DisplayUser::ask(Window window, const char* message, long first, long second, long third) const {
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = window;
    event.xclient.message_type = XInternAtom(connection_->display, message, False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = first;
    event.xclient.data.l[1] = second;
    event.xclient.data.l[2] = third;
    XSendEvent(connection_->display, connection_->root(), False, SubstructureNotifyMask | SubstructureRedirectMask,
               &event);
    connection_->done();
}

namespace {

constexpr long pager = 2; // who asks, in the window managers' conventions

} // namespace

void DisplayUser::activate(Window window) const {
    ask(window, "_NET_ACTIVE_WINDOW", pager);
}

void DisplayUser::minimise(Window window) const {
    ask(window, "WM_CHANGE_STATE", IconicState);
}

void DisplayUser::moveToWorkspace(Window window, int workspace) const {
    ask(window, "_NET_WM_DESKTOP", workspace, pager);
}

void DisplayUser::showWorkspace(int workspace) const {
    ask(connection_->root(), "_NET_CURRENT_DESKTOP", workspace);
}

void DisplayUser::close(Window window) const {
    ask(window, "_NET_CLOSE_WINDOW", CurrentTime, pager);
}

std::string DisplayUser::pointerName() const {
    XFixesCursorImage* const cursor = XFixesGetCursorImage(connection_->display);
    if (!cursor)
        return {};
    std::string name = cursor->name ? cursor->name : "";
    XFree(cursor);
    return name;
}

Screenshot DisplayUser::screenshot(Place place) const {
    ::Display* const display = connection_->display;
    // What lies outside the screen has no picture.
    const int right = std::min(place.x + place.width, DisplayWidth(display, DefaultScreen(display)));
    const int bottom = std::min(place.y + place.height, DisplayHeight(display, DefaultScreen(display)));
    place.x = std::max(place.x, 0);
    place.y = std::max(place.y, 0);
    if (right <= place.x || bottom <= place.y)
        return {};
    XImage* const image =
        XGetImage(display, connection_->root(), place.x, place.y, static_cast<unsigned int>(right - place.x),
                  static_cast<unsigned int>(bottom - place.y), AllPlanes, ZPixmap);
    if (!image)
        return {};
    Screenshot shot{image->width, image->height, {}};
    shot.pixels.reserve(static_cast<std::size_t>(shot.width) * static_cast<std::size_t>(shot.height));
    for (int y = 0; y < shot.height; ++y)
        for (int x = 0; x < shot.width; ++x)
            shot.pixels.push_back(static_cast<std::uint32_t>(XGetPixel(image, x, y) & 0xFFFFFF));
    XDestroyImage(image);
    return shot;
}

} // namespace sentrel
