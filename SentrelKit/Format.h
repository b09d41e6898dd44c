// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Makes formattable what is printable: where the compiler's library has std::format, each type of this library that
/// has an operator<< of its own also has a std::formatter, which writes the same text and takes what a text takes:
/// fill, alignment, width and precision.
///
///     std::format("{:>12}|{:*^9}|", Availability::denied, Timer::Status::started) // "      denied|*started*|"
///
/// Figures in the text have the form of the C locale, whatever the program's own is. Types of others, those derived
/// from ours among them, are left to their authors. It is for any thread; it allocates, so a log may use it and a
/// figure that is drawn each second should not.
///
/// Elsewhere this header declares nothing. The library has std::format: libstdc++ from 13 on; libc++ from 17 on, and 16
/// with -fexperimental-library; on macOS calling it also takes a deployment target of 13.3 or later.

#include <SentrelKit/Export.h>

#include <version>

// libc++ had std::format some releases before the macro of the standard said so.
#if defined(__cpp_lib_format) ||                                                                                       \
    (defined(_LIBCPP_VERSION) && _LIBCPP_VERSION >= 160000 && !defined(_LIBCPP_HAS_NO_INCOMPLETE_FORMAT))
#define SENTREL_HAS_FORMAT 1
#else
/// 1 where this header makes types formattable, 0 where it declares nothing.
#define SENTREL_HAS_FORMAT 0
#endif

#if SENTREL_HAS_FORMAT

#include <concepts>
#include <format>
#include <locale>
#include <ostream>
#include <sstream>
#include <string_view>
#include <type_traits>

namespace sentrel::platform {

/// Brings the operators of this namespace into sight of what derives from it.
struct PrintingScope {};

} // namespace sentrel::platform

namespace sentrel {

/// Stands for a stream where an operator<< is looked for: the compiler finds those of this library's namespaces alone.
struct PrintingStream : platform::PrintingScope {
    operator std::ostream&() const;
};

/// Stands for a value of one type where an operator<< is looked for: it is neither a base of that type nor anything
/// that the type converts to. A value tells it of the type, as a type would bring its own namespace into sight.
template <auto type>
struct PrintedValue {
    template <std::same_as<typename decltype(type)::type> Same>
    operator Same() const;
};

/// A type that this library writes to a stream by an operator<< made for just that type.
template <class T>
concept Printable = requires(const PrintingStream& stream, const PrintedValue<std::type_identity<T>{}>& value) {
    operator<<(stream, value);
};

} // namespace sentrel

/// Formats as a text what the value's operator<< writes.
template <sentrel::Printable T>
struct std::formatter<T, char> : std::formatter<std::string_view, char> {
    /// In a list it stands as it is, without the quotation marks of a text.
    void set_debug_format() = delete;

    /// Writes the value with the fill, alignment, width and precision that were asked for.
    template <class Context>
    auto format(const T& value, Context& context) const {
        std::ostringstream text;
        text.imbue(std::locale::classic());
        text << value;
        return std::formatter<std::string_view, char>::format(text.str(), context);
    }
};

#endif
