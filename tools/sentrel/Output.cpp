// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/Output.h"

#include "tools/terminal/TerminalText.h"

#include <SentrelKit/system/Formatting.h>
#include <SentrelKit/system/Time.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>

namespace tool {

namespace {

using Json = nlohmann::ordered_json;

void put(Json& object, const Figure& figure) {
    const auto* const number = std::get_if<double>(&figure.value);
    if (number && !std::isfinite(*number))
        return;
    std::visit([&](const auto& value) { object[std::string(figure.info->name)] = value; }, figure.value);
}

Json objectOf(const Item& item) {
    Json object = Json::object();
    for (const auto& [name, value] : item.labels)
        object[std::string(name)] = value;
    for (const Figure& figure : item.figures)
        put(object, figure);
    return object;
}

Json typed(const char* type, std::string_view description) {
    return {{"type", type}, {"description", description}};
}

// The object that an item becomes. Any figure may be absent; labels never are.
Json schemaOf(const TableInfo& table) {
    Json object = {{"type", "object"}, {"additionalProperties", false}, {"properties", Json::object()}};
    for (const std::string_view label : table.labels) {
        object["properties"][std::string(label)] = typed("string", "Tells the entries of the list apart.");
        object["required"].push_back(label);
    }
    for (const FigureInfo* info : table.figures)
        object["properties"][std::string(info->name)] =
            typed(info->kind == Kind::text ? "string" : "number", info->help);
    return object;
}

double numberOf(const Value& value) {
    if (const auto* const whole = std::get_if<std::int64_t>(&value))
        return static_cast<double>(*whole);
    const auto* const number = std::get_if<double>(&value);
    return number ? *number : 0.0;
}

std::string withUnit(double number, const char* unit, int decimals) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f%s", decimals, number, unit);
    return text;
}

// A moment since the epoch, as the clock on the wall shows it.
std::string timeText(double seconds) {
    const auto time = static_cast<std::time_t>(seconds);
    std::tm parts{};
    char text[64];
    if (localtime_r(&time, &parts) == nullptr || std::strftime(text, sizeof text, "%F %T", &parts) == 0)
        return withUnit(seconds, " s", 0);
    return text;
}

// A unit at the end of a name, and how a figure of it reads.
struct UnitText {
    std::string_view suffix;
    std::string (*text)(double number);
};

// Longer suffixes before those that they end in.
constexpr UnitText unitTexts[] = {
    {"_bits_per_second", [](double number) { return withUnit(number / 1e6, " Mbit/s", 0); }},
    {"_bytes_per_second", [](double number) { return sentrel::bpsStr(number); }},
    {"_per_second", [](double number) { return withUnit(number, " /s", 1); }},
    {"_bytes_total", [](double number) { return sentrel::byteStr(number); }},
    {"_bytes", [](double number) { return sentrel::byteStr(number); }},
    {"_ratio", [](double number) { return withUnit(number * 100.0, " %", 1); }},
    {"uptime_seconds", [](double number) { return sentrel::Time::uptime(static_cast<std::int64_t>(number)); }},
    {"_time_seconds", timeText},
    {"_latency_seconds", [](double number) { return withUnit(number * 1000.0, " ms", 2); }},
    {"_seconds_total", [](double number) { return withUnit(number, " s", 0); }},
    {"_seconds", [](double number) { return withUnit(number, " s", 0); }},
    {"_joules_total", [](double number) { return withUnit(number, " J", 0); }},
    {"_rpm", [](double number) { return withUnit(number, " rpm", 0); }},
    {"_dbm", [](double number) { return withUnit(number, " dBm", 0); }},
    {"_celsius", [](double number) { return sentrel::degrees(number); }},
    {"_hertz", [](double number) { return withUnit(number / 1e9, " GHz", 2); }},
    {"_volts", [](double number) { return withUnit(number, " V", 2); }},
    {"_amperes", [](double number) { return withUnit(number, " A", 2); }},
    {"_watts", [](double number) { return withUnit(number, " W", 1); }},
};

const UnitText* unitOf(std::string_view name) {
    const auto found =
        std::ranges::find_if(unitTexts, [&](const UnitText& unit) { return name.ends_with(unit.suffix); });
    return found == std::end(unitTexts) ? nullptr : found;
}

// The name of a figure without the unit, which its value shows.
std::string readableName(std::string_view name) {
    for (const std::string_view ending : {"_total", "_bytes", "_ratio", "_seconds", "_celsius", "_hertz", "_volts",
                                          "_amperes", "_watts", "_joules", "_rpm", "_dbm", "_bits_per_second"})
        if (name.ends_with(ending))
            name.remove_suffix(ending.size());
    std::string text(name);
    std::ranges::replace(text, '_', ' ');
    return text;
}

void write(std::string& text, const Item& item, int indent) {
    for (const Figure& figure : item.figures) {
        char name[64];
        std::snprintf(name, sizeof name, "%*s%-24s ", indent, "", readableName(figure.info->name).c_str());
        text += name + readableValue(figure) + '\n';
    }
}

} // namespace

std::string jsonLine(sentrel::System& system, const Selection& selection, double time) {
    Json line = Json::object();
    line["time"] = time;
    for (const std::string_view resource : selection.resources()) {
        Json object = Json::object();
        for (const Table& table : selection.read(system, resource)) {
            if (table.list.empty()) {
                object.update(objectOf(table.items.front()));
                continue;
            }
            Json list = Json::array();
            for (const Item& item : table.items)
                list.push_back(objectOf(item));
            object[std::string(table.list)] = std::move(list);
        }
        line[std::string(resource)] = std::move(object);
    }
    return line.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string schema() {
    Json document = {{"$schema", "https://json-schema.org/draft/2020-12/schema"},
                     {"title", "A line of sentrel show --json"},
                     {"type", "object"},
                     {"additionalProperties", false},
                     {"required", {"time"}},
                     {"properties", {{"time", typed("number", "When the figures were read, in seconds since 1970.")}}}};
    Json& properties = document["properties"];
    for (const TableInfo& table : allTableInfos()) {
        Json& resource = properties[std::string(table.resource)];
        if (resource.is_null())
            resource = {{"type", "object"}, {"additionalProperties", false}, {"properties", Json::object()}};
        const Json object = schemaOf(table);
        Json& known = resource["properties"];
        if (table.list.empty())
            known.update(object["properties"]);
        else if (Json& list = known[std::string(table.list)]; list.is_null())
            list = {{"type", "array"}, {"items", object}};
        else
            list["items"]["properties"].update(object["properties"]);
    }
    return document.dump(2) + '\n';
}

std::string fieldList() {
    std::string text;
    for (const TableInfo& table : allTableInfos())
        for (const FigureInfo* info : table.figures) {
            std::string name = fieldName(table.resource, table.list, info->name);
            name.resize(std::max<std::size_t>(name.size(), 44), ' ');
            text.append(name).append("  ").append(info->help).append("\n");
        }
    return text;
}

std::string readableValue(const Figure& figure) {
    if (const auto* const text = std::get_if<std::string>(&figure.value))
        return terminal::plainText(*text);
    if (const auto* const flag = std::get_if<bool>(&figure.value))
        return *flag ? "yes" : "no";
    const double number = numberOf(figure.value);
    if (const UnitText* const unit = unitOf(figure.info->name))
        return unit->text(number);
    return std::holds_alternative<double>(figure.value) ? sentrel::toStr(number)
                                                        : std::to_string(std::get<std::int64_t>(figure.value));
}

std::string readableText(sentrel::System& system, const Selection& selection) {
    std::string text;
    for (const std::string_view resource : selection.resources())
        for (const Table& table : selection.read(system, resource)) {
            if (table.list.empty()) {
                text.append(resource).append("\n");
                write(text, table.items.front(), 2);
                if (table.items.front().figures.empty())
                    text += "  none\n";
                continue;
            }
            text.append(resource).append(" ").append(table.list).append("\n");
            if (table.items.empty())
                text += "  none\n";
            for (const Item& item : table.items) {
                std::string heading;
                for (const auto& [name, value] : item.labels)
                    heading += (heading.empty() ? "" : ", ") + terminal::plainText(value);
                text += "  " + heading + '\n';
                write(text, item, 4);
            }
        }
    return text;
}

} // namespace tool
