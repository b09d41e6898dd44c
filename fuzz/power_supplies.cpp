// SPDX-License-Identifier: Apache-2.0
// Attribute files of any content: lines "name=value", an empty line ends a device.

#include <SentrelKit/base/system/Assert.h>
#include <SentrelKit/platform/linux/power/PowerFigures.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

using namespace sentrel;

namespace {

using Attributes = std::map<std::string, std::string, std::less<>>;

void add(platform::PowerSupplies& supplies, const Attributes& attributes) {
    platform::addPowerSupply(supplies, "device", [&](const char* name) -> std::optional<std::string> {
        const auto entry = attributes.find(std::string_view(name));
        return entry == attributes.end() ? std::nullopt : std::optional(entry->second);
    });
}

void expectMinutes(const PropertyList::Dictionary& description, const char* key) {
    const auto* minutes = description.at(key).as<std::int64_t>();
    SENTREL_ASSERT(minutes && *minutes >= -1 && *minutes <= 65535);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view text(reinterpret_cast<const char*>(data), size);
    platform::PowerSupplies supplies;
    Attributes attributes;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(line.size() < text.size() ? line.size() + 1 : line.size());
        if (line.empty()) {
            add(supplies, attributes);
            attributes.clear();
        } else if (const std::size_t equals = line.find('='); equals != std::string_view::npos) {
            attributes.insert_or_assign(std::string(line.substr(0, equals)), std::string(line.substr(equals + 1)));
        }
    }
    add(supplies, attributes);

    const platform::PowerFigures figures = platform::powerFigures(supplies);
    SENTREL_ASSERT(figures.sources.size() == supplies.batteries.size());
    SENTREL_ASSERT(figures.battery.has_value() == !supplies.batteries.empty());
    for (const PropertyList::Dictionary& description : figures.sources) {
        expectMinutes(description, "Time to Empty");
        expectMinutes(description, "Time to Full Charge");
        if (const auto most = description.find("Max Capacity"); most != description.end()) {
            SENTREL_ASSERT(*most->second.as<double>() > 0);
            SENTREL_ASSERT(*description.at("Current Capacity").as<double>() >= 0);
            SENTREL_ASSERT(*description.at("Current Capacity").as<double>() <= *most->second.as<double>());
        }
    }
    return 0;
}
