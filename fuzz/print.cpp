// SPDX-License-Identifier: Apache-2.0
// The formatting engine: formats put together from any bytes, so that no precondition is broken, with the arguments
// that they take; a conversion that agrees with the platform's printf gives the same bytes.

#include <SentrelKit/base/io/OutputStream.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fuzzer/FuzzedDataProvider.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

using namespace sentrel;

namespace {

/// A stream over a socket pair whose other end is read after each print.
class Printer {
public:
    Printer() {
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends_) != 0)
            std::abort();
        stream_ = OutputStream_new(ends_[0]);
        OutputStream_setTimeout(stream_, 0);
    }

    template <typename... Arguments>
    std::string operator()(const std::string& format, Arguments... arguments) {
        const std::int32_t accepted = OutputStream_print(stream_, format.c_str(), arguments..., 0);
        while (OutputStream_flush(stream_) > 0) {
        }
        std::string text(65536, '\0');
        std::size_t filled = 0;
        for (ssize_t count; (count = read(ends_[1], text.data() + filled, text.size() - filled)) > 0;)
            filled += static_cast<std::size_t>(count);
        text.resize(filled);
        if (accepted != static_cast<std::int32_t>(filled) || OutputStream_buffered(stream_) != 0)
            std::abort();
        return text;
    }

private:
    int ends_[2];
    OutputStream* stream_;
};

template <typename... Arguments>
std::string platform(const std::string& format, Arguments... arguments) {
    std::string text(65536, '\0');
    text.resize(static_cast<std::size_t>(std::snprintf(text.data(), text.size(), format.c_str(), arguments..., 0)));
    return text;
}

void check(bool agreed, const std::string& engine, const std::string& library) {
    if (agreed && engine != library) {
        std::fprintf(stderr, "\"%s\" is not \"%s\"\n", engine.c_str(), library.c_str());
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Printer print;
    FuzzedDataProvider input(data, size);
    const auto kind = input.PickValueInArray({'c', 'd', 'i', 'l', 'u', 'o', 'x', 'p', 's', 'e', 'f', 'g'});
    std::string start = "%";
    for (int i = input.ConsumeIntegralInRange(0, 6); i > 0; --i)
        start += input.PickValueInArray({'-', '+', ' ', '0'});
    const std::string flags = start;
    if (input.ConsumeBool())
        start += std::to_string(input.ConsumeIntegralInRange(1, 2000));
    const bool dot = input.ConsumeBool();
    const int precision = input.ConsumeIntegralInRange(0, 99);
    const bool digits = input.ConsumeBool();
    if (dot)
        start += digits ? "." + std::to_string(precision) : ".";
    const auto hasFlag = [&](char flag) { return flags.find(flag) != std::string::npos; };
    const bool numberAgrees = !dot || (digits && precision > 0);
    const bool unsignedAgrees = numberAgrees && !hasFlag('+') && !hasFlag(' ');
    const bool textAgrees = !hasFlag('0') && !hasFlag('+') && !hasFlag(' ');
    switch (kind) {
    case 'c': {
        const int c = input.ConsumeIntegralInRange(1, 255);
        check(textAgrees && !dot, print(start + "c", c), platform(start + "c", c));
        break;
    }
    case 'd':
    case 'i': {
        const int value = input.ConsumeIntegral<int>();
        check(numberAgrees, print(start + kind, value), platform(start + kind, value));
        break;
    }
    case 'l': {
        const auto value = input.ConsumeIntegral<std::int64_t>();
        check(numberAgrees, print(start + "ld", value), platform(start + "ld", value));
        break;
    }
    case 'u':
    case 'o':
    case 'x': {
        const auto value = input.ConsumeIntegral<std::uint64_t>();
        check(unsignedAgrees, print(start + kind, value), platform(start + "l" + kind, value));
        break;
    }
    case 'p':
        print(start + "p", reinterpret_cast<void*>(input.ConsumeIntegral<std::uintptr_t>()));
        break;
    case 's': {
        const std::string text = input.ConsumeRandomLengthString(3000);
        check(textAgrees && (!dot || digits), print(start + "s", text.c_str()), platform(start + "s", text.c_str()));
        break;
    }
    default: {
        const auto value = input.ConsumeFloatingPoint<double>();
        const std::string whole = platform("%.99f", value);
        const bool agreed = (kind == 'e' || (kind == 'f' && value != 0 && (!dot || precision > 0))) && numberAgrees &&
                            !hasFlag('0') && value - value == 0 && whole.size() < 410;
        check(agreed, print(start + kind, value), platform(start + kind, value));
    }
    }
    const std::string rest = input.ConsumeRemainingBytesAsString();
    std::string plain;
    for (const char c : rest)
        if (c != '\0')
            plain += c == '%' ? "%%" : std::string(1, c);
    print(plain);
    return 0;
}
