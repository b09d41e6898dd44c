// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What the headers of SentrelKit/platform promise of every backend, written once: each machine that passes as a
/// platform has to pass these tests too. A program instantiates them with its machines:
///
///     INSTANTIATE_TEST_SUITE_P(Scripted, PlatformContract, testing::Values(&makeContractMachine<ScriptedContract>));
///
/// They ask through the seam alone, on any system, and leave no trace on a real machine.

#include <SentrelKit/platform/Clock.h>
#include <SentrelKit/platform/Dispatch.h>
#include <SentrelKit/platform/Icon.h>
#include <SentrelKit/platform/Platform.h>
#include <SentrelKit/platform/support/PropertyListRules.h>

#include <cstdint>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>

namespace sentrel {

/// What happens on a machine that observers hear of.
enum class ContractChange : std::uint8_t { volumes, power, configuration, applications };

/// A machine that is held to the contract. On one that is made up there is one of everything: a root volume on a disk
/// that counts and is capable of SMART, another disk "spare", a battery with all properties, a wireless interface, a
/// wired one whose name has 15 bytes, a process with the id of this one, and an application. Sensors it may have or
/// not.
class ContractMachine {
public:
    virtual ~ContractMachine() = default;

    virtual platform::Platform& platform() = 0;

    /// A real machine has what it has, and nothing of it is changed.
    [[nodiscard]] virtual bool isReal() const { return false; }

    /// Whether what asks is a closure of the main queue, or something else on the thread that serves it.
    [[nodiscard]] virtual bool isOnMainThread() const { return std::this_thread::get_id() == thread_; }

    /// Lets something happen that observers hear of, at once or soon.
    virtual void change(ContractChange /*what*/) {}

    /// Lets each call of an operation, by its name in the seam, fail from now on.
    virtual void fail(const std::string& /*operation*/) {}

private:
    const std::thread::id thread_ = std::this_thread::get_id(); // the one that serves the main queue
};

/// A new machine.
using ContractMachineMaker = std::unique_ptr<ContractMachine> (*)();

/// A new machine of that kind.
template <class Machine>
std::unique_ptr<ContractMachine> makeContractMachine() {
    return std::make_unique<Machine>();
}

/// A test on a new machine of each kind.
class PlatformContract : public testing::TestWithParam<ContractMachineMaker> {
protected:
    [[nodiscard]] platform::Platform& platform() const { return machine->platform(); }
    [[nodiscard]] std::int64_t now() const { return platform().clock().monotonicNanoseconds(); }

    /// Serves the main queue, and lets time pass, until the condition holds; false if that takes longer than a test may
    /// take.
    template <class Condition>
    [[nodiscard]] bool await(const Condition& condition) const {
        constexpr std::int64_t patience = 30'000'000'000;
        const std::int64_t end = now() + patience;
        while (!condition() && now() < end)
            platform().dispatch().runMain(0.002);
        return condition();
    }

    /// Lets so many nanoseconds pass.
    void pass(std::int64_t nanoseconds) const {
        const std::int64_t end = now() + nanoseconds;
        EXPECT_TRUE(await([&] { return now() >= end; }));
    }

    /// Lets an operation fail from now on, by its name; not on a real machine.
    void fail(const std::string& operation) const { machine->fail(operation); }

    const std::unique_ptr<ContractMachine> machine = GetParam()();
};

/// A name or path is a text; a picture in bytes gives them or none.
inline void expectIcon(const Icon& icon) {
    EXPECT_TRUE(platform::isUtf8(icon.text()));
    EXPECT_EQ(icon.text().empty(), icon.kind() == Icon::Kind::tiff);
    EXPECT_TRUE(icon.bytes().empty() || icon.kind() == Icon::Kind::tiff);
    EXPECT_TRUE(icon.kind() != Icon::Kind::path || icon.text().starts_with("/"));
    EXPECT_EQ(icon, Icon(icon));
}

MATCHER(IsUtf8, "is UTF-8") {
    return platform::isUtf8(arg);
}

/// Of a value that may be absent.
MATCHER(IsAbsentOrUtf8, "is absent or UTF-8") {
    return !arg || platform::isUtf8(*arg);
}

} // namespace sentrel
