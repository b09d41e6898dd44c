// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/FUIColor.h>

namespace sentrel {

Color FUIColor::wetAsphalt(double alpha) noexcept {
    return Color::initWithR(52, 73, 94, alpha);
}
Color FUIColor::turquoise(double alpha) noexcept {
    return Color::initWithR(26, 188, 156, alpha);
}
Color FUIColor::emerald(double alpha) noexcept {
    return Color::initWithR(46, 204, 113, alpha);
}
Color FUIColor::sunflower(double alpha) noexcept {
    return Color::initWithR(241, 196, 15, alpha);
}
Color FUIColor::alizarin(double alpha) noexcept {
    return Color::initWithR(231, 76, 60, alpha);
}
Color FUIColor::peterRiver(double alpha) noexcept {
    return Color::initWithR(52, 152, 219, alpha);
}
Color FUIColor::white(double alpha) noexcept {
    return Color::initWithR(255, 255, 255, alpha);
}
Color FUIColor::black(double alpha) noexcept {
    return Color::initWithR(0, 0, 0, alpha);
}
Color FUIColor::greenSea(double alpha) noexcept {
    return Color::initWithR(22, 160, 133, alpha);
}
Color FUIColor::nephritis(double alpha) noexcept {
    return Color::initWithR(39, 174, 96, alpha);
}
Color FUIColor::belizeHole(double alpha) noexcept {
    return Color::initWithR(41, 128, 185, alpha);
}
Color FUIColor::amethyst(double alpha) noexcept {
    return Color::initWithR(155, 89, 182, alpha);
}
Color FUIColor::wisteria(double alpha) noexcept {
    return Color::initWithR(142, 68, 173, alpha);
}
Color FUIColor::midnightBlue(double alpha) noexcept {
    return Color::initWithR(44, 62, 80, alpha);
}
Color FUIColor::orange(double alpha) noexcept {
    return Color::initWithR(243, 156, 18, alpha);
}
Color FUIColor::carrot(double alpha) noexcept {
    return Color::initWithR(230, 126, 34, alpha);
}
Color FUIColor::pumpkin(double alpha) noexcept {
    return Color::initWithR(211, 84, 0, alpha);
}
Color FUIColor::pomegranate(double alpha) noexcept {
    return Color::initWithR(192, 57, 43, alpha);
}
Color FUIColor::clouds(double alpha) noexcept {
    return Color::initWithR(236, 240, 241, alpha);
}
Color FUIColor::silver(double alpha) noexcept {
    return Color::initWithR(189, 195, 199, alpha);
}
Color FUIColor::concrete(double alpha) noexcept {
    return Color::initWithR(149, 165, 166, alpha);
}
Color FUIColor::asbestos(double alpha) noexcept {
    return Color::initWithR(127, 140, 141, alpha);
}

Color FUIColor::brandPrimary() noexcept {
    return Color::initWithR(52, 73, 94, 1.0);
}
Color FUIColor::brandSecondary() noexcept {
    return Color::initWithR(26, 188, 156, 1.0);
}
Color FUIColor::brandSuccess() noexcept {
    return Color::initWithR(46, 204, 113, 1.0);
}
Color FUIColor::brandWarning() noexcept {
    return Color::initWithR(241, 196, 15, 1.0);
}
Color FUIColor::brandDanger() noexcept {
    return Color::initWithR(231, 76, 60, 1.0);
}
Color FUIColor::brandInfo() noexcept {
    return Color::initWithR(52, 152, 219, 1.0);
}
Color FUIColor::transparent() noexcept {
    return {1.0, 1.0, 1.0, 0.0};
}

} // namespace sentrel
