// SPDX-License-Identifier: Apache-2.0
#include "tests/embed/support/ScreenSettings.h"

#include <bit>
#include <cstdint>
#include <stdexcept>
#include <string_view>

#include <X11/Xlib.h>

namespace sentrel {

namespace {

// The property's form: numbers in the machine's byte order, texts filled up to four bytes.
class Bytes {
public:
    void add8(unsigned int value) { bytes_ += static_cast<char>(value); }
    void add16(std::uint16_t value) { add(&value, sizeof value); }
    void add32(std::uint32_t value) { add(&value, sizeof value); }
    void addText(std::string_view text) {
        bytes_ += text;
        bytes_.append((4 - text.size() % 4) % 4, '\0');
    }
    [[nodiscard]] const std::string& bytes() const { return bytes_; }

private:
    void add(const void* value, std::size_t size) { bytes_.append(static_cast<const char*>(value), size); }
    std::string bytes_;
};

} // namespace

struct ScreenSettings::Owner {
    ::Display* display = XOpenDisplay(nullptr);
    ::Window window = 0;
    std::uint32_t serial = 0;
};

ScreenSettings::ScreenSettings() : owner_(std::make_unique<Owner>()) {
    ::Display* const display = owner_->display;
    if (!display)
        throw std::runtime_error("no display");
    owner_->window = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 1, 1, 0, 0, 0);
    XSetSelectionOwner(display, XInternAtom(display, "_XSETTINGS_S0", False), owner_->window, CurrentTime);
    set({});
}

ScreenSettings::~ScreenSettings() {
    XCloseDisplay(owner_->display);
}

void ScreenSettings::set(const Values& values) {
    Bytes property;
    property.add8(std::endian::native == std::endian::little ? LSBFirst : MSBFirst);
    for (int i = 0; i < 3; ++i)
        property.add8(0);
    property.add32(++owner_->serial);
    property.add32(static_cast<std::uint32_t>(values.size()));
    for (const auto& [name, value] : values) {
        property.add8(0); // an integer
        property.add8(0);
        property.add16(static_cast<std::uint16_t>(name.size()));
        property.addText(name);
        property.add32(owner_->serial);
        property.add32(static_cast<std::uint32_t>(value));
    }
    ::Display* const display = owner_->display;
    const ::Atom name = XInternAtom(display, "_XSETTINGS_SETTINGS", False);
    XChangeProperty(display, owner_->window, name, name, 8, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(property.bytes().data()),
                    static_cast<int>(property.bytes().size()));
    XSync(display, False);
}

} // namespace sentrel
