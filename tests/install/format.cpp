// SPDX-License-Identifier: Apache-2.0
// A host that formats. It is compiled by format.sh, which also makes the list of every type that can be written to a
// stream, with a library that GoogleTest was not built with: hence a program that checks by itself.
#include <SentrelKit/SentrelKit.h>
#include <SentrelKit/platform/NetworkService.h>
#include <SentrelKit/platform/SensorService.h>
#include <SentrelKit/platform/VolumeNotification.h>

#include <cstdio>
#include <locale>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

static_assert(SENTREL_HAS_FORMAT);

/// A host may still format one of our types in its own way.
template <>
struct std::formatter<sentrel::ByteNotation> : std::formatter<int> {
    template <class Context>
    auto format(sentrel::ByteNotation value, Context& context) const {
        return std::formatter<int>::format(static_cast<int>(value), context);
    }
};

template <class T>
constexpr bool isFormattable = std::is_default_constructible_v<std::formatter<T>>;

namespace everyType {
using namespace sentrel;
using namespace sentrel::platform;
#include "every_type.inc"
} // namespace everyType

using namespace sentrel;

// What is printable only as something else, or not at all.
static_assert(!isFormattable<View> && !isFormattable<Icon> && !isFormattable<CPU>);

namespace host {

// Types of a host, related to types of this library in every way there is: each is its author's to format.
struct Derived : Point {};
struct DerivedAndPrinted : Point {};
template <class>
struct Of {};
struct Widget : View {
    enum class State { idle };
};
enum class Fruit { apple };
struct Convertible {
    operator Availability() const;
};
std::ostream& operator<<(std::ostream& stream, const DerivedAndPrinted& value);
std::ostream& operator<<(std::ostream& stream, const Of<Point>& value);
std::ostream& operator<<(std::ostream& stream, Widget::State value);
std::ostream& operator<<(std::ostream& stream, Fruit value);

static_assert(!isFormattable<Derived> && !isFormattable<DerivedAndPrinted> && !isFormattable<Of<Point>>);
static_assert(!isFormattable<Widget::State> && !isFormattable<Fruit> && !isFormattable<Convertible>);
static_assert(!isFormattable<std::error_code>);

// A decimal comma, as many countries write it.
struct Comma : std::numpunct<char> {
    [[nodiscard]] char do_decimal_point() const override { return ','; }
};

} // namespace host

namespace {

int faults = 0;

void expect(std::string_view text, std::string_view expected) {
    if (text == expected)
        return;
    std::printf("formatted \"%.*s\" instead of \"%.*s\"\n", static_cast<int>(text.size()), text.data(),
                static_cast<int>(expected.size()), expected.data());
    ++faults;
}

} // namespace

int main() {
    expect(std::format("{} {} {}", Availability::denied, Timer::Status::started, Key::pageDown),
           "denied started pageDown");
    expect(std::format("{} {}", Rect{1, 2.5, 3, 4}, Threshold::Crossing{true, 91.5}), "{1, 2.5, 3, 4} crossed at 91.5");
    expect(std::format("{}", static_cast<Timer::Status>(77)), "77");

    expect(std::format("{:>12}|{:*^9}|{:8}|{:<8}|", Availability::denied, Timer::Status::started,
                       platform::SensorKind::fan, platform::SensorKind::fan),
           "      denied|*started*|fan     |fan     |");
    expect(std::format("{:.4} {:>{}}", Availability::unsupported, Point{1, 2}, 8), "unsu   {1, 2}");
    expect(std::format("{:3}", Availability::denied), "denied");

    bool isRefused = false;
    try {
        const Availability value = Availability::denied;
        static_cast<void>(std::vformat("{:d}", std::make_format_args(value)));
    } catch (const std::format_error&) {
        isRefused = true;
    }
    expect(isRefused ? "refused" : "taken", "refused");

    std::locale::global(std::locale(std::locale::classic(), new host::Comma));
    expect(std::format("{}", Point{1, 2.5}), "{1, 2.5}");

    expect(std::format("{}", ByteNotation::MB), "2");

#if __cplusplus > 202002L
    expect(std::format("{}", std::vector{Availability::denied, Availability::failed}), "[denied, failed]");
    expect(std::format("{::8}", std::vector{Availability::denied}), "[denied  ]");
#endif
    return faults == 0 ? 0 : 1;
}
