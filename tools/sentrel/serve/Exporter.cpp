// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/serve/Exporter.h"

#include "tools/sentrel/serve/Counters.h"
#include "tools/sentrel/serve/LabelValue.h"
#include "tools/sentrel/serve/Metrics.h"

#include <SentrelKit/Version.h>
#include <SentrelKit/base/system/Time.h>

#include <prometheus/text_serializer.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <set>
#include <sstream>
#include <utility>

namespace tool {

namespace {

using prometheus::ClientMetric;
using prometheus::MetricFamily;
using prometheus::MetricType;

// The families of a resource while they are put together.
class Families {
public:
    explicit Families(RisingCounters& counters) : counters_(counters) {}

    void add(const std::vector<Table>& tables) {
        for (const Table& table : tables)
            for (const Item& item : table.items)
                add(item);
    }

    void add(const std::string& name, std::string_view help, std::vector<ClientMetric::Label> labels, double value) {
        MetricFamily& family = familyOf(name, Kind::gauge, help);
        ClientMetric& metric = family.metric.emplace_back();
        metric.label = std::move(labels);
        metric.gauge.value = value;
    }

    std::vector<MetricFamily> take() {
        counters_.endRound();
        return std::move(families_);
    }

private:
    void add(const Item& item) {
        std::vector<ClientMetric::Label> labels;
        std::string key;
        for (const auto& [name, value] : item.labels) {
            labels.push_back({std::string(name), labelValue(value)});
            key.append(1, '\0').append(labels.back().value);
        }
        for (const Figure& figure : item.figures)
            if (const Metric* const metric = metricOf(*figure.info))
                add(*metric, figure, labels, key);
    }

    void add(const Metric& metric, const Figure& figure, const std::vector<ClientMetric::Label>& labels,
             const std::string& key) {
        const double number = numberOf(figure.value);
        // An engine refuses the whole of an answer that has one series twice.
        if (!std::isfinite(number) || !series_.insert(metric.name + key).second)
            return;
        ClientMetric& series = familyOf(metric.name, metric.kind, metric.help).metric.emplace_back();
        series.label = labels;
        if (metric.kind == Kind::counter)
            series.counter.value = counters_.value(metric.name + key, number, habitsOf(*figure.info));
        else
            series.gauge.value = number;
    }

    static double numberOf(const Value& value) {
        if (const auto* const number = std::get_if<double>(&value))
            return *number;
        if (const auto* const flag = std::get_if<bool>(&value))
            return *flag ? 1.0 : 0.0;
        if (const auto* const whole = std::get_if<std::int64_t>(&value))
            return static_cast<double>(*whole);
        return std::nan("");
    }

    MetricFamily& familyOf(const std::string& name, Kind kind, std::string_view help) {
        const auto found = std::ranges::find(families_, name, &MetricFamily::name);
        if (found != families_.end())
            return *found;
        return families_.emplace_back(
            MetricFamily{name, std::string(help), kind == Kind::counter ? MetricType::Counter : MetricType::Gauge, {}});
    }

    RisingCounters& counters_;
    std::vector<MetricFamily> families_;
    std::set<std::string> series_;
};

std::string version() {
    return std::to_string(SENTREL_VERSION_MAJOR) + '.' + std::to_string(SENTREL_VERSION_MINOR) + '.' +
           std::to_string(SENTREL_VERSION_PATCH);
}

constexpr std::string_view applicationsResource = "apps";
constexpr std::string_view batteryResource = "battery";
constexpr std::string_view memoryResource = "mem";

// Of memory, which is sampled every 2 seconds: the battery is asked every 10.
constexpr int samplesBetweenBatteries = 5;

} // namespace

Exporter::Exporter(sentrel::System& system, const std::optional<ApplicationLimits>& applications,
                   std::optional<std::chrono::seconds> pace, std::size_t deviceLimit)
    : system_(system), pace_(pace) {
    if (applications)
        applications_.emplace(*applications);
    wantFurtherFacts();
    for (const Metric& metric : metrics())
        if (!metric.resource.empty() && (resources_.empty() || resources_.back() != metric.resource) &&
            (applications_ || metric.resource != applicationsResource))
            resources_.push_back(metric.resource);
    for (const std::string_view resource : resources_)
        bounds_.emplace(resource, Bound{DeviceLimit(deviceLimit)});
    for (const std::string_view resource : resources_)
        start(resource);
}

Exporter::~Exporter() {
    system_.stop(system_.sensors());
    for (const std::string_view resource : resources_)
        if (sentrel::SystemResource* const model = modelOf(system_, resource))
            system_.stop(*model);
}

void Exporter::wantFurtherFacts() {
    using sentrel::Applications;
    using sentrel::CPU;
    using sentrel::Disk;
    using sentrel::Memory;
    using sentrel::Network;
    system_.cpu().setMeasures({CPU::Measure::counters, CPU::Measure::pressure});
    system_.mem().setMeasures({Memory::Measure::swapRates, Memory::Measure::pressure});
    system_.disk().setMeasures({Disk::Measure::activity, Disk::Measure::pressure});
    system_.net().setMeasures({Network::Measure::traffic});
    if (applications_)
        system_.apps().setMeasures({Applications::Measure::all});
    for (const FurtherTable* const table : toldFurtherTables())
        table->want(system_);
}

// The first sample of the processor is of the time since boot; what is told begins with the one after it.
void Exporter::start(std::string_view resource) {
    const auto sampled = [this, resource] {
        keep(resource);
        if (resource == memoryResource)
            sampleBatteryAtTimes();
    };
    if (resource == sensorsResource) {
        system_.sensors().update();
        keep(resource);
        sampleRegularly(system_.sensors(), sampled);
        return;
    }
    sentrel::SystemResource& model = *modelOf(system_, resource);
    model.update();
    if (&model != &system_.cpu())
        keep(resource);
    // The battery has no task.
    if (resource != batteryResource)
        sampleRegularly(model, sampled);
}

template <class Model>
void Exporter::sampleRegularly(Model& model, std::function<void()> sampled) {
    if (pace_) {
        paced_.push_back(std::make_unique<PacedSampling>(*pace_, [&model, sampled = std::move(sampled)] {
            model.update();
            sampled();
        }));
        return;
    }
    observations_.push_back(system_.observeSamples(model, std::move(sampled)));
    system_.start(model);
}

void Exporter::sampleBatteryAtTimes() {
    if (--samplesToBattery_ > 0)
        return;
    samplesToBattery_ = pace_ ? 1 : samplesBetweenBatteries;
    system_.battery().update();
    keep(batteryResource);
}

std::vector<Table> Exporter::read(std::string_view resource) {
    std::vector<Table> tables = tool::read(system_, resource, Texts::leftOut);
    if (resource == applicationsResource) {
        std::erase_if(tables, [](const Table& table) { return table.list == ApplicationTable::info().list; });
        tables.push_back(applications_->read(system_.apps()));
    }
    for (const FurtherTable* const table : toldFurtherTables())
        if (table->info.resource == resource)
            tables.push_back(table->read(system_));
    std::ranges::move(readCounters(system_, resource), std::back_inserter(tables));
    bound(resource, tables);
    return tables;
}

void Exporter::bound(std::string_view resource, std::vector<Table>& tables) {
    auto& [limit, isReported] = bounds_.at(resource);
    limit.apply(resource, tables);
    if (limit.leftOut() > 0 && !std::exchange(isReported, true))
        std::fprintf(stderr, "sentrel: more devices of '%s' than [devices] 'limit' allows: %zu are left out\n",
                     std::string(resource).c_str(), limit.leftOut());
}

void Exporter::keep(std::string_view resource) {
    auto sample =
        std::make_shared<const Sample>(Sample{read(resource), static_cast<double>(sentrel::Time_milli()) / 1000.0});
    newest_.withValue([&](Newest& newest) {
        newest.samples[resource].swap(sample);
        ++newest.version;
    });
}

void Exporter::tell(const Newest& newest, Told& told) {
    std::vector<MetricFamily> all;
    for (const auto& [resource, sample] : newest.samples) {
        Families families(told.counters[resource]);
        families.add(sample->tables);
        families.add(lastSampleName(resource), lastSampleHelp, {}, sample->time);
        std::ranges::move(families.take(), std::back_inserter(all));
    }
    RisingCounters none;
    Families own(none);
    own.add(std::string(buildInfoName), buildInfoHelp, {{"version", version()}}, 1.0);
    std::ranges::move(own.take(), std::back_inserter(all));
    std::ostringstream stream;
    prometheus::TextSerializer().Serialize(stream, all);
    told.text = std::make_shared<const std::string>(stream.str());
    told.version = newest.version;
}

std::shared_ptr<const std::string> Exporter::text() const {
    const Newest newest = newest_.value();
    return told_.withValue([&newest](Told& told) {
        // Somebody else may have been told of later samples meanwhile.
        if (told.version < newest.version)
            tell(newest, told);
        return told.text;
    });
}

} // namespace tool
