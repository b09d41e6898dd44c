// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Applications.h>
#include <SentrelKit/system/CPU.h>
#include <SentrelKit/system/Disk/Disk.h>
#include <SentrelKit/system/Formatting.h>
#include <SentrelKit/system/GPU.h>
#include <SentrelKit/system/Memory.h>
#include <SentrelKit/system/Network.h>
#include <SentrelKit/system/System.h>
#include <SentrelKit/system/Threshold.h>
#include <SentrelKit/system/Time.h>

#include <gtest/gtest.h>

#include <sstream>

namespace sentrel {
namespace {

TEST(PrintingTest, EnumerationsOfModelsAreWrittenByTheirNames) {
    std::ostringstream text;
    text << SystemResourceType::app << ' ' << System::Group::network << ' ' << Timer::Status::suspended << ' '
         << Network::ConnectionType::internet << ' ' << ByteNotation::KB << ' ' << CPU::Measure::pressure << ' '
         << Memory::Measure::pressure << ' ' << Network::Measure::wireless << ' ' << Applications::Measure::files << ' '
         << Disk::Measure::pressure << ' ' << GPU::Measure::use << ' ' << GPU::Measure::engines;
    EXPECT_EQ(text.str(), "app network suspended internet KB pressure pressure wireless files pressure use engines");
}

TEST(PrintingTest, EveryGroupOfProcessorAndMemoryIsWrittenByItsName) {
    std::ostringstream text;
    for (const CPU::Measure measure : {CPU::Measure::pressure, CPU::Measure::cores, CPU::Measure::frequencies,
                                       CPU::Measure::activity, CPU::Measure::counters})
        text << measure << ' ';
    for (const Memory::Measure measure :
         {Memory::Measure::pressure, Memory::Measure::details, Memory::Measure::swapRates, Memory::Measure::compression,
          Memory::Measure::nodes})
        text << measure << ' ';
    EXPECT_EQ(text.str(), "pressure cores frequencies activity counters pressure details swapRates compression nodes ");
}

TEST(PrintingTest, AValueThatHasNoNameIsWrittenAsItsNumber) {
    std::ostringstream text;
    text << static_cast<Timer::Status>(77);
    EXPECT_EQ(text.str(), "77");
}

TEST(PrintingTest, RecordsAreWrittenWithTheirFigures) {
    std::ostringstream text;
    text << System::TaskInfo{SystemResourceType::disk, 1.1, System::Group::system, true, Timer::Status::started} << ' '
         << System::TaskInfo{SystemResourceType::mem, 2.0, System::Group::system, false, Timer::Status::initial} << ' '
         << Time::Split{3, 4, 12, 0} << ' ' << Memory::Percents{10, 20, 30, 40};
    EXPECT_EQ(text.str(), "{disk, 1.1 s, system, delayed, started} {mem, 2 s, system, initial} {3, 4, 12, 0} "
                          "{10, 20, 30, 40}");
}

TEST(PrintingTest, ACrossingSaysWhichWay) {
    std::ostringstream text;
    text << Threshold::Crossing{true, 91.5} << ", " << Threshold::Crossing{false, 69};
    EXPECT_EQ(text.str(), "crossed at 91.5, back at 69");
}

} // namespace
} // namespace sentrel
