// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/base/io/OutputStream.h>

#include "tests/support/Loopback.h"
#include "tests/support/Stops.h"

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <variant>
#include <vector>

namespace sentrel {
namespace {

/// A stream whose written bytes can be read back.
class Printer {
public:
    Printer() : stream_(OutputStream_new(connection_.near.get())) {}
    ~Printer() { OutputStream_free(&stream_); }
    Printer(const Printer&) = delete;
    Printer& operator=(const Printer&) = delete;

    /// What the engine makes of a format. The surplus argument only keeps the compiler from taking a format alone for
    /// an oversight.
    template <typename... Arguments>
    std::string operator()(const char* format, Arguments... arguments) {
        const std::int32_t accepted = OutputStream_print(stream_, format, arguments..., 0);
        while (OutputStream_flush(stream_) > 0) {
        }
        EXPECT_EQ(OutputStream_buffered(stream_), 0);
        return connection_.far.receive(static_cast<std::size_t>(accepted));
    }

    [[nodiscard]] OutputStream* stream() const { return stream_; }

private:
    Connection connection_;
    OutputStream* stream_;
};

template <typename... Arguments>
std::string printed(const char* format, Arguments... arguments) {
    Printer print;
    return print(format, arguments...);
}

template <typename... Arguments>
std::string platform(const char* format, Arguments... arguments) {
    std::string text(static_cast<std::size_t>(std::snprintf(nullptr, 0, format, arguments..., 0)) + 1, '\0');
    std::snprintf(text.data(), text.size(), format, arguments..., 0);
    text.pop_back();
    return text;
}

TEST(OutputFormat, PutsPlainTextAndPercentSigns) {
    EXPECT_EQ(printed("plain"), "plain");
    EXPECT_EQ(printed(""), "");
    EXPECT_EQ(printed("100%% %%%%"), "100% %%");
}

TEST(OutputFormat, Characters) {
    EXPECT_EQ(printed("[%c]", 'a'), "[a]");
    EXPECT_EQ(printed("[%3c|%-3c]", 'a', 'b'), "[  a|b  ]");
    EXPECT_EQ(printed("%c", 0), std::string(1, '\0'));
    EXPECT_EQ(printed("%c", 0x1FF), "\xFF");
}

TEST(OutputFormat, SignedDecimals) {
    EXPECT_EQ(printed("%5d", 42), "   42");
    EXPECT_EQ(printed("%-5d|", 42), "42   |");
    EXPECT_EQ(printed("%05d", -42), "-0042");
    EXPECT_EQ(printed("%i %d", INT_MIN, INT_MAX), "-2147483648 2147483647");
    EXPECT_EQ(printed("%+d % d %+ d", 5, 5, 5), "+5  5 +5");
    EXPECT_EQ(printed("%.3d|%6.3d|%-6.3d|%06.3d", 5, 5, -5, 5), "005|   005|-005  |   005");
    EXPECT_EQ(printed("%0-5d|", 42), "42   |");
}

TEST(OutputFormat, LengthSelects64BitsForSignedDecimals) {
    EXPECT_EQ(printed("%ld %li", std::int64_t{INT64_MIN}, std::int64_t{INT64_MAX}),
              "-9223372036854775808 9223372036854775807");
}

TEST(OutputFormat, UnsignedNumbersAre64BitsWithAndWithoutLength) {
    const std::uint64_t value = UINT64_C(0xFEDCBA9876543210);
    EXPECT_EQ(printed("%u %lu", value, value), "18364758544493064720 18364758544493064720");
    EXPECT_EQ(printed("%x %lx", value, value), "fedcba9876543210 fedcba9876543210");
    EXPECT_EQ(printed("%o %lo", UINT64_MAX, UINT64_MAX), "1777777777777777777777 1777777777777777777777");
    EXPECT_EQ(printed("%u%x%o", UINT64_C(0), UINT64_C(0), UINT64_C(0)), "000");
}

TEST(OutputFormat, LengthChangesNothingForTheOthers) {
    EXPECT_EQ(printed("%lc%ls", 'a', "bc"), "abc");
    EXPECT_EQ(printed("%.1lf %.1le", 1.5, 1.5), "1.5 1.5e+00");
}

TEST(OutputFormat, Texts) {
    EXPECT_EQ(printed("[%s|%5s|%-5s]", "abc", "abc", "abc"), "[abc|  abc|abc  ]");
    EXPECT_EQ(printed("[%.2s|%5.2s|%.0s|%.9s]", "abc", "abc", "abc", "abc"), "[ab|   ab||abc]");
    EXPECT_EQ(printed("%.*s|%.*s", 1, "abc", -1, "abc"), "a|abc");
}

TEST(OutputFormat, ATextNeedsNoTerminatorWithinItsPrecision) {
    const char text[3] = {'a', 'b', 'c'};
    EXPECT_EQ(printed("%.3s", static_cast<const char*>(text)), "abc");
}

TEST(OutputFormat, FloatingPointNumbers) {
    EXPECT_EQ(printed("%f %e %.2f %.0f", 1.5, 1.5, -2.345, 7.6), "1.500000 1.500000e+00 -2.35 8");
    EXPECT_EQ(printed("%9.2f|%-9.2f|%+.1f", 1.5, 1.5, 1.5), "     1.50|1.50     |+1.5");
    EXPECT_EQ(printed("%.9g", 1.23456789), "1.23456789");
}

TEST(OutputFormat, GWithPrecision0Uses1) {
    EXPECT_EQ(printed("%.0g", 7.0), "7");
}

TEST(OutputFormat, WidthAndPrecisionAsArguments) {
    EXPECT_EQ(printed("%*d|%-*d|%*d|", 5, 42, 5, 42, -5, 42), "   42|42   |42   |");
    EXPECT_EQ(printed("%.*d|%.*d|%*.*d", 3, 5, -3, 5, 5, 3, 7), "005|5|  007");
    EXPECT_EQ(printed("%*s|%*c|", -4, "ab", -3, 'x'), "ab  |x  |");
}

TEST(OutputFormat, EveryConversionAdvancesTheSameArguments) {
    EXPECT_EQ(printed("%d %s %f %ld %c %x %p %.1e %u %d", 1, "two", 3.0, std::int64_t{4}, '5', UINT64_C(6),
                      reinterpret_cast<void*>(7), 8.0, UINT64_C(9), 10),
              "1 two 3.000000 4 5 6 7 8.0e+00 9 10");
}

// Where the engine and the platform's printf are meant to differ.

TEST(OutputFormatDiffers, ADotAloneIsNoPrecision) {
    EXPECT_EQ(printed("%.d|%.s|%.f", 0, "abc", 1.5), "0|abc|1.500000");
}

TEST(OutputFormatDiffers, TheDigitOfAZeroWithPrecision0IsPrintedBesideTheWidth) {
    EXPECT_EQ(printed("%.0d", 0), "0");
    EXPECT_EQ(printed("%5.0d|", 0), "     0|");
    EXPECT_EQ(printed("%-5.0d|", 0), "0     |");
    EXPECT_EQ(printed("%+5.0d|", 0), "    +0|");
    EXPECT_EQ(printed("%5.0f|", 0.0), "     0|");
}

TEST(OutputFormatDiffers, SignsCountForUnsignedNumbersToo) {
    EXPECT_EQ(printed("%+u % x %+o %+p", UINT64_C(5), UINT64_C(5), UINT64_C(5), reinterpret_cast<void*>(5)),
              "+5  5 +5 +5");
}

TEST(OutputFormatDiffers, PointersHaveNoPrefixAndNoPrecision) {
    EXPECT_EQ(printed("%p", reinterpret_cast<void*>(0x1234abcd)), "1234abcd");
    EXPECT_EQ(printed("%p", static_cast<void*>(nullptr)), "0");
    EXPECT_EQ(printed("%08p|%8.12p|%-8p|", reinterpret_cast<void*>(0xab), reinterpret_cast<void*>(0xab),
                      reinterpret_cast<void*>(0xab)),
              "000000ab|      ab|ab      |");
}

TEST(OutputFormatDiffers, ZeroPaddingIsOffForFloatingPointNumbers) {
    EXPECT_EQ(printed("%010.2f|%010f|%012e", 1.5, 1.5, 1.5), "      1.50|  1.500000|1.500000e+00");
}

TEST(OutputFormatDiffers, PrecisionIsTheLeastNumberOfCharactersOfGAndOfWords) {
    EXPECT_EQ(printed("%g %.3g %g", 1.0, -2.0, 0.5), "000001 -002 0000.5");
    EXPECT_EQ(printed("%f %e", HUGE_VAL, -HUGE_VAL), "000inf -000inf");
    EXPECT_EQ(printed("%.2f", HUGE_VAL), "inf");
}

TEST(OutputFormatDiffers, ZeroIsAsGoodAsABlankForTextsAndCharacters) {
    EXPECT_EQ(printed("%05s|%03c", "ab", 'c'), "   ab|  c");
}

TEST(OutputFormatDiffers, ASecondLengthIsThe64BitDecimalItself) {
    EXPECT_EQ(printed("%ll|%lld", std::int64_t{1}, std::int64_t{INT64_MIN}), "1|-9223372036854775808d");
}

TEST(OutputFormatDiffers, TheLongestNegativeNumberIsCutByOneByte) {
    std::string whole = platform("%.99f", -DBL_MAX);
    ASSERT_EQ(whole.size(), 410U);
    whole.pop_back();
    EXPECT_EQ(printed("%.99f", -DBL_MAX), whole);
    EXPECT_EQ(printed("%.99f", DBL_MAX), platform("%.99f", DBL_MAX));
    EXPECT_EQ(printed("%.98f", -DBL_MAX), platform("%.98f", -DBL_MAX));
}

TEST(OutputFormat, AFlagMayBeGivenMoreThanOnce) {
    EXPECT_EQ(printed("%--5d|%00005d|%-+-+5d|", 1, 1, 1), "1    |00001|+1   |");
    EXPECT_EQ(printed(("%" + std::string(254, '-') + "4d|").c_str(), 7), "7   |");
    EXPECT_EQ(printed(("%" + std::string(254, '-') + std::string(254, '+') + "4d|").c_str(), 7), "+7  |");
}

TEST(OutputFormat, TheLargestWidthAndPrecisionAreRead) {
    EXPECT_EQ(printed("%.2147483647s", "abc"), "abc");
    EXPECT_EQ(printed("%.0002147483647s", "abc"), "abc");
}

TEST(OutputFormatDeathTest, BadFormatsBreakAPrecondition) {
    const Printer printer;
    OutputStream* S = printer.stream();
    const auto print = [S](const std::string& format, auto... arguments) {
        OutputStream_print(S, format.c_str(), arguments..., 0);
    };
    EXPECT_BREAKS(print("%" + std::string(255, '-') + "d", 1), "flags[c] < 255", "convert");
    EXPECT_BREAKS(print("%" + std::string(256, '0') + "d", 1), "flags[c] < 255", "convert");
    EXPECT_BREAKS(print("%*d", INT_MIN, 1), "n != INT_MIN", "readNumber");
    EXPECT_BREAKS(print("%.*d", INT_MIN, 1), "n != INT_MIN", "readNumber");
    EXPECT_BREAKS(print("%2147483648d", 1), "n <= (INT_MAX - d)/10", "readNumber");
    EXPECT_BREAKS(print("%.99999999999d", 1), "n <= (INT_MAX - d)/10", "readNumber");
    EXPECT_BREAKS(print("%X", 1), "cvt[c]", "convert");
    EXPECT_BREAKS(print("%#x", 1), "cvt[c]", "convert");
    EXPECT_BREAKS(print("%5%", 1), "cvt[c]", "convert");
    EXPECT_BREAKS(print("%", 1), "cvt[c]", "convert");
    EXPECT_BREAKS(print("%-5.3", 1), "cvt[c]", "convert");
    EXPECT_BREAKS(print("%l", 1), "cvt[c]", "convert");
    EXPECT_BREAKS(print("%\xFF", 1), "cvt[c]", "convert");
    EXPECT_BREAKS(print("%s", static_cast<const char*>(nullptr)), "str", "cvt_s");
    EXPECT_BREAKS(print("%.100f", 1.0), "precision <= 99", "cvt_f");
    EXPECT_BREAKS(print("%.100g", 1.0), "precision <= 99", "cvt_f");
}

// Thousands of generated formats beside the C library, wherever the two are defined to agree.

using Value = std::variant<int, std::int64_t, std::uint64_t, double, const char*>;

struct Conversion {
    std::string engine;
    std::string library;
    Value value;
    std::vector<int> stars;
};

class Generator {
public:
    explicit Generator(unsigned seed) : random_(seed) {}

    Conversion conversion() {
        Conversion made;
        std::string flags;
        const char kind = "ddiilloouuxxccssefg"[below(19)];
        const bool number = kind != 'c' && kind != 's';
        const bool isSigned = kind == 'd' || kind == 'i' || kind == 'l' || kind == 'e' || kind == 'f' || kind == 'g';
        const bool isFloat = kind == 'e' || kind == 'f' || kind == 'g';
        for (unsigned i = below(4); i > 0; --i) {
            const char flag = "-+ 0"[below(4)];
            // What the C library leaves undefined, and zero padding of floating-point numbers, are left out.
            if (flag == '-' || (flag == '0' && number && !isFloat) || ((flag == '+' || flag == ' ') && isSigned))
                flags += flag;
        }
        made.engine = made.library = "%" + flags;
        add(made, widthText(made));
        value(made, kind);
        const std::string precision = precisionText(made, kind);
        add(made, precision);
        switch (kind) {
        case 'l':
            add(made, coin() ? "ld" : "li");
            break;
        case 'u':
        case 'o':
        case 'x':
            made.engine += coin() ? "l" : "";
            made.engine += kind;
            made.library += std::string("l") + kind;
            break;
        default:
            add(made, std::string(1, kind));
        }
        return made;
    }

    std::string text() {
        static const char* const texts[] = {"", "a", " ", "%%", "text ", "\xC3\xA9", "12"};
        return texts[below(7)];
    }

private:
    static void add(Conversion& made, const std::string& text) {
        made.engine += text;
        made.library += text;
    }

    unsigned below(unsigned limit) { return static_cast<unsigned>(random_() % limit); }
    bool coin() { return below(2) != 0; }

    std::string widthText(Conversion& made) {
        const int width = static_cast<int>(below(40));
        switch (below(4)) {
        case 0:
            made.stars.push_back(coin() ? width : -width);
            return "*";
        case 1:
            return "";
        default:
            return width == 0 ? "" : std::to_string(width);
        }
    }

    void value(Conversion& made, char kind) {
        static const char* const texts[] = {"", "x", "hello", "a longer text with blanks", "\xE2\x82\xAC"};
        static const double doubles[] = {1.0, -1.5, 123456.789, -0.001, 9.999e20, 1e-10, -7.25e100, 2.5};
        const std::uint64_t bits = random_() >> below(64);
        switch (kind) {
        case 'd':
        case 'i':
            made.value = static_cast<int>(bits);
            break;
        case 'c':
            made.value = static_cast<int>(1 + below(255));
            break;
        case 'l':
            made.value = static_cast<std::int64_t>(bits);
            break;
        case 's':
            made.value = texts[below(5)];
            break;
        case 'e':
        case 'f':
        case 'g':
            made.value =
                coin() ? doubles[below(8)] : std::ldexp(static_cast<double>(bits), -static_cast<int>(below(60)));
            break;
        default:
            made.value = bits;
        }
    }

    // A precision that leaves the two in agreement for the value.
    std::string precisionText(Conversion& made, char kind) {
        if (kind == 'c')
            return "";
        int precision = static_cast<int>(below(kind == 's' ? 8 : 30));
        bool given = coin();
        if (const double* number = std::get_if<double>(&made.value)) {
            if (kind == 'f' && precision == 0 && std::fabs(*number) < 1)
                precision = 1; // the digit of a zero
            if (kind == 'g') {
                // As many places as the number has digits anyway, so that no zeros are put in front.
                given = true;
                for (precision = 17; precision > 1; --precision)
                    if (platform("%.*g", precision, std::fabs(*number)).size() >= static_cast<std::size_t>(precision))
                        break;
                return "." + std::to_string(precision);
            }
        } else if (precision == 0 && kind != 's' && isZero(made.value)) {
            precision = 1;
        }
        if (!given)
            return "";
        if (coin())
            return "." + std::to_string(precision);
        if (below(4) == 0 && kind != 'g')
            precision = -1 - precision; // as if there were none
        made.stars.push_back(precision);
        return ".*";
    }

    static bool isZero(const Value& value) {
        if (const int* number = std::get_if<int>(&value))
            return *number == 0;
        if (const auto* number = std::get_if<std::int64_t>(&value))
            return *number == 0;
        const auto* number = std::get_if<std::uint64_t>(&value);
        return number && *number == 0;
    }

    std::mt19937_64 random_;
};

// Widths and precisions given as arguments become part of the call by this one step, a value by the next.
template <typename Call, typename... Before>
std::string calledWithValue(Call& call, const Conversion& next, Before... before) {
    return std::visit([&](auto value) -> std::string { return call(before..., value); }, next.value);
}

template <typename Call, typename... Before>
std::string called(Call& call, const Conversion& next, Before... before) {
    switch (next.stars.size()) {
    case 0:
        return calledWithValue(call, next, before...);
    case 1:
        return calledWithValue(call, next, before..., next.stars[0]);
    default:
        return calledWithValue(call, next, before..., next.stars[0], next.stars[1]);
    }
}

TEST(OutputFormat, AgreesWithThePlatformOnThousandsOfFormats) {
    Generator generate(20170715);
    Printer print;
    for (int round = 0; round < 20000; ++round) {
        const std::string before = generate.text();
        const std::string after = generate.text();
        const Conversion conversion = generate.conversion();
        // A second value behind shows that the first took no more and no less than its own.
        const std::string engine = before + conversion.engine + after + "|%ld";
        const std::string library = before + conversion.library + after + "|%ld";
        const std::int64_t last = INT64_MIN + round;
        auto byEngine = [&](auto... arguments) { return print(engine.c_str(), arguments..., last); };
        auto byLibrary = [&](auto... arguments) { return platform(library.c_str(), arguments..., last); };
        ASSERT_EQ(called(byEngine, conversion), called(byLibrary, conversion))
            << "round " << round << ", format \"" << engine << '"';
    }
}

} // namespace
} // namespace sentrel
