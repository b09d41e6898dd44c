// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/base/util/detail/EnumName.h>
#include <SentrelKit/platform/Availability.h>
#include <SentrelKit/platform/Icon.h>
#include <SentrelKit/platform/InterfaceFacts.h>
#include <SentrelKit/platform/NetworkService.h>
#include <SentrelKit/platform/Pressure.h>
#include <SentrelKit/platform/ProcessorFacts.h>
#include <SentrelKit/platform/SensorService.h>
#include <SentrelKit/platform/ThermalState.h>
#include <SentrelKit/platform/VolumeNotification.h>

#include <ostream>

namespace sentrel {

std::ostream& operator<<(std::ostream& stream, Availability value) {
    return writeName(stream, value, {"available", "unsupported", "denied", "failed"});
}

std::ostream& operator<<(std::ostream& stream, ThermalState value) {
    return writeName(stream, value, {"nominal", "fair", "serious", "critical"});
}

std::ostream& operator<<(std::ostream& stream, Icon::Kind value) {
    return writeName(stream, value, {"name", "path", "tiff"});
}

std::ostream& operator<<(std::ostream& stream, PressureResource value) {
    return writeName(stream, value, {"cpu", "memory", "io"});
}

std::ostream& operator<<(std::ostream& stream, PressureThreshold::Kind value) {
    return writeName(stream, value, {"some", "full"});
}

std::ostream& operator<<(std::ostream& stream, InterfaceKind value) {
    return writeName(stream, value, {"physical", "virtual_", "vpn", "bridge", "loopback", "wifi"});
}

std::ostream& operator<<(std::ostream& stream, OperationalState value) {
    return writeName(stream, value, {"unknown", "notPresent", "down", "lowerLayerDown", "testing", "dormant", "up"});
}

std::ostream& operator<<(std::ostream& stream, Duplex value) {
    return writeName(stream, value, {"half", "full"});
}

std::ostream& operator<<(std::ostream& stream, AddressScope value) {
    return writeName(stream, value, {"global", "site", "link", "host"});
}

std::ostream& operator<<(std::ostream& stream, CoreKind value) {
    return writeName(stream, value, {"performance", "efficiency"});
}

} // namespace sentrel

namespace sentrel::platform {

std::ostream& operator<<(std::ostream& stream, VolumeNotification::Kind value) {
    return writeName(stream, value, {"didMount", "didUnmount", "didRename"});
}

std::ostream& operator<<(std::ostream& stream, Connectivity value) {
    return writeName(stream, value, {"unknown", "no", "yes"});
}

std::ostream& operator<<(std::ostream& stream, SensorKind value) {
    return writeName(stream, value, {"temperature", "fan", "voltage", "current", "power", "energy"});
}

} // namespace sentrel::platform
