// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/base/util/detail/EnumName.h>
#include <SentrelKit/system/Applications.h>
#include <SentrelKit/system/CPU.h>
#include <SentrelKit/system/Disk/Disk.h>
#include <SentrelKit/system/Formatting.h>
#include <SentrelKit/system/GPU.h>
#include <SentrelKit/system/Memory.h>
#include <SentrelKit/system/Network.h>
#include <SentrelKit/system/System.h>
#include <SentrelKit/system/SystemResource.h>
#include <SentrelKit/system/Threshold.h>
#include <SentrelKit/system/Time.h>
#include <SentrelKit/system/Timer.h>

#include <ostream>

namespace sentrel {

std::ostream& operator<<(std::ostream& stream, SystemResourceType value) {
    return writeName(stream, value, {"cpu", "gpu", "mem", "disk", "net", "sensors", "battery", "app"});
}

std::ostream& operator<<(std::ostream& stream, System::Group value) {
    return writeName(stream, value, {"all", "system", "network"});
}

std::ostream& operator<<(std::ostream& stream, Timer::Status value) {
    return writeName(stream, value, {"initial", "started", "suspended", "canceled"});
}

std::ostream& operator<<(std::ostream& stream, Network::ConnectionType value) {
    return writeName(stream, value, {"none", "local", "internet"});
}

std::ostream& operator<<(std::ostream& stream, ByteNotation value) {
    return writeName(stream, value, {"B", "KB", "MB", "GB", "TB", "PB", "EB", "ZB"});
}

std::ostream& operator<<(std::ostream& stream, const System::TaskInfo& value) {
    return stream << '{' << value.resource << ", " << value.interval << " s, " << value.group << ", "
                  << (value.delayed ? "delayed, " : "") << value.status << '}';
}

std::ostream& operator<<(std::ostream& stream, const Time::Split& value) {
    return stream << '{' << value.days << ", " << value.hrs << ", " << value.mins << ", " << value.secs << '}';
}

std::ostream& operator<<(std::ostream& stream, const Memory::Percents& value) {
    return stream << '{' << value.wired << ", " << value.active << ", " << value.compressed << ", " << value.free
                  << '}';
}

std::ostream& operator<<(std::ostream& stream, const Threshold::Crossing& value) {
    return stream << (value.isCrossed ? "crossed at " : "back at ") << value.figure;
}

std::ostream& operator<<(std::ostream& stream, CPU::Measure value) {
    return writeName(stream, value, {"pressure", "cores", "frequencies", "activity", "counters"});
}

std::ostream& operator<<(std::ostream& stream, Memory::Measure value) {
    return writeName(stream, value, {"pressure", "details", "swapRates", "compression", "nodes"});
}

std::ostream& operator<<(std::ostream& stream, Network::Measure value) {
    return writeName(stream, value, {"traffic", "links", "wireless"});
}

std::ostream& operator<<(std::ostream& stream, Applications::Measure value) {
    return writeName(stream, value, {"all", "threads", "storage", "files"});
}

std::ostream& operator<<(std::ostream& stream, Disk::Measure value) {
    return writeName(stream, value, {"activity", "devices", "inodes", "pressure"});
}

std::ostream& operator<<(std::ostream& stream, GPU::Measure value) {
    return writeName(stream, value, {"use", "engines"});
}

} // namespace sentrel
