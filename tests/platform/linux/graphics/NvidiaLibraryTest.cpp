// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/graphics/NvidiaLibrary.h>

#include "tests/support/linux/NvidiaStandIn.h"

#include <gtest/gtest.h>
#include <optional>
#include <string>

namespace sentrel::platform {
namespace {

const std::string address = "0000:01:00.0";

// What the library tells of the processor at that address.
struct Reading {
    Availability answer;
    GraphicsProcessor processor{.identifier = address, .name = "Unknown"};

    explicit Reading(const std::string& file, const std::string& at = address) {
        NvidiaLibrary library(file);
        answer = library.read(library.find(at), processor);
    }
};

TEST(NvidiaLibrary, TellsWhatAProcessorDoes) {
    const NvidiaStandIn installed;
    const Reading reading(installed.file());
    EXPECT_EQ(reading.answer, Availability::available);
    EXPECT_EQ(reading.processor, NvidiaStandIn::processorAt(address));
    EXPECT_EQ(installed->fanRecord, 12U | 1U << 24) << "the first version of a record of three numbers";
    EXPECT_EQ(installed->started, 1);
    EXPECT_EQ(installed->stopped, 1);
}

TEST(NvidiaLibrary, LeavesOutWhatAnOlderOneLacks) {
    const NvidiaStandIn installed("nvidia_old");
    const Reading reading(installed.file());
    EXPECT_EQ(reading.answer, Availability::available);
    GraphicsProcessor expected = NvidiaStandIn::processorAt(address);
    expected.clock = expected.power = expected.fanShare = std::nullopt;
    expected.fan.reset();
    EXPECT_EQ(reading.processor, expected);
}

TEST(NvidiaLibrary, LeavesOutTheFanOfAProcessorWithoutOne) {
    const NvidiaStandIn installed;
    installed->fan = 3;
    const Reading reading(installed.file());
    EXPECT_EQ(reading.answer, Availability::available);
    EXPECT_FALSE(reading.processor.fan);
    EXPECT_FALSE(reading.processor.fanShare);
    EXPECT_EQ(reading.processor.power, 85.25);
}

TEST(NvidiaLibrary, IsUnsupportedWhereItIsNotInstalled) {
    EXPECT_EQ(Reading("/nowhere/libnvidia-ml.so.1").answer, Availability::unsupported);
    EXPECT_EQ(Reading("libsentrel-has-no-such-library.so.1").answer, Availability::unsupported);
}

TEST(NvidiaLibrary, TellsWhyItHasNoFigures) {
    const NvidiaStandIn installed;
    const auto expect = [&](int NvidiaScript::*step, int result, Availability answer) {
        (*installed.operator->()).*step = result;
        const Reading reading(installed.file());
        EXPECT_EQ(reading.answer, answer) << result;
        EXPECT_EQ(reading.processor, (GraphicsProcessor{.identifier = address, .name = "Unknown"})) << result;
        (*installed.operator->()).*step = 0;
    };
    for (const auto step : {&NvidiaScript::start, &NvidiaScript::device, &NvidiaScript::figures}) {
        expect(step, 4, Availability::denied);
        for (const int result : {1, 9, 15, 18, 999, -1}) // no driver, a lost processor, another version, no reason
            expect(step, result, Availability::failed);
    }
    expect(&NvidiaScript::figures, 3, Availability::unsupported);
    EXPECT_EQ(Reading(installed.file(), "0000:02:00.0").answer, Availability::failed) << "not one of its processors";
}

TEST(NvidiaLibrary, ThatCannotStartIsAskedNothing) {
    const NvidiaStandIn foreign("nvidia_foreign");
    EXPECT_EQ(Reading(foreign.file()).answer, Availability::failed);
    EXPECT_EQ(foreign->looked, 0);
    EXPECT_EQ(foreign->questions, 0);
    const NvidiaStandIn installed;
    installed->start = 999;
    EXPECT_EQ(Reading(installed.file()).answer, Availability::failed);
    EXPECT_EQ(installed->looked, 0);
    EXPECT_EQ(installed->stopped, 0);
}

TEST(NvidiaLibrary, StaysInRange) {
    const NvidiaStandIn installed;
    installed->use = 4294967295U;
    installed->name =
        "a name that is longer than any name of a processor of graphics was, is or ever will be, one hopes";
    const Reading reading(installed.file());
    EXPECT_EQ(reading.processor.use, 100);
    EXPECT_EQ(reading.processor.name.size(), 95U);
}

} // namespace
} // namespace sentrel::platform
