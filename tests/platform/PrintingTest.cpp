// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/Availability.h>
#include <SentrelKit/platform/Icon.h>
#include <SentrelKit/platform/InterfaceFacts.h>
#include <SentrelKit/platform/NetworkService.h>
#include <SentrelKit/platform/Pressure.h>
#include <SentrelKit/platform/ProcessorFacts.h>
#include <SentrelKit/platform/SensorService.h>
#include <SentrelKit/platform/ThermalState.h>
#include <SentrelKit/platform/VolumeNotification.h>

#include <gtest/gtest.h>

#include <sstream>

namespace sentrel::platform {
namespace {

TEST(PrintingTest, EnumerationsOfTheMachineAreWrittenByTheirNames) {
    std::ostringstream text;
    text << Availability::denied << ' ' << ThermalState::critical << ' ' << Icon::Kind::path << ' '
         << VolumeNotification::Kind::didRename << ' ' << Connectivity::unknown << ' ' << PressureResource::io << ' '
         << PressureThreshold::Kind::full << ' ' << SensorKind::energy << ' ' << InterfaceKind::wifi << ' '
         << OperationalState::up << ' ' << Duplex::full << ' ' << AddressScope::host << ' ' << CoreKind::efficiency;
    EXPECT_EQ(text.str(), "denied critical path didRename unknown io full energy wifi up full host efficiency");
}

} // namespace
} // namespace sentrel::platform
