// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/Layout.h"

#include "tools/terminal/TerminalText.h"
#include "tools/terminal/TextWidth.h"

#include <SentrelKit/system/Formatting.h>
#include <SentrelKit/system/Time.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string_view>

namespace tool {

namespace {

// Which rows go first where there is little room: the least number stays the longest.
enum Rank : std::uint8_t {
    essential,    // load, memory, traffic, the first volume
    applications, // the first few of them
    battery,
    history,
    graphics,
    cores,
    moreApplications,
    moreVolumes,
    swap,
    moreInterfaces,
    blank,
    allApplications,
};

struct Row {
    Line line;
    Rank rank;
};

using Rows = std::vector<Row>;

constexpr std::size_t firstApplications = 3;
constexpr std::size_t someApplications = 10;

// A part of the screen that is so wide, and how its lines are divided.
class Panel {
public:
    Panel(std::size_t width, bool isUnicode) : width_(width), isUnicode_(isUnicode) {
        label_ = width < 60 ? 8 : width < 100 ? 10 : 14;
        note_ = width < 60 ? 0 : std::min<std::size_t>(width / 2 - 8, 44);
        label_ = std::min(label_, width);
    }

    [[nodiscard]] std::size_t width() const { return width_; }

    // A text from elsewhere in so many columns.
    [[nodiscard]] std::string fit(std::string_view text, std::size_t columns) const {
        const std::string safe = terminal::plainText(text);
        return terminal::fitted(isUnicode_ ? safe : terminal::asciiText(safe), columns, isUnicode_);
    }

    // "CPU    [=====     ]  42 %  user 30 %": how much of something is in use. The tone tells how little is left.
    [[nodiscard]] Line gauge(std::string_view label, double percent, Tone tone, std::string_view note) const {
        Line line = begin(label);
        const std::size_t room = rest();
        if (room > 9) {
            line.push_back({"[", Tone::faint});
            append(line, bar(percent, room - 9), tone);
            line.push_back({"]", Tone::faint});
        }
        return end(std::move(line), number("%4.0f %% ", percent), note);
    }

    // "/mnt   does not answer": what is said where there is no figure.
    [[nodiscard]] Line remark(std::string_view label, std::string_view note) const {
        Line line = begin(label);
        line.push_back({fit(note, width_ - label_), Tone::faint});
        return line;
    }

    // "Net in ..:|||..  115.9 KB/s": how something went, the newest at the right, so many lines high. What it is about
    // stands in the first line.
    [[nodiscard]] std::vector<Line> chart(std::string_view label, const std::vector<double>& values, double top,
                                          std::string_view value, std::string_view note, std::size_t height) const {
        std::vector<Line> lines;
        const std::size_t room = rest();
        const std::size_t figure = value.empty() ? 0 : std::min<std::size_t>(room, 12);
        for (std::size_t i = 0; i < height; ++i) {
            const bool isFirst = i == 0;
            Line line = begin(isFirst ? label : "");
            line.push_back({spark(values, room - figure, top, height - 1 - i, height), Tone::accent});
            lines.push_back(end(std::move(line), isFirst ? rightAligned(value, figure) : "", isFirst ? note : ""));
        }
        return lines;
    }

    // A column each, as high as its value is: several lines if need be.
    [[nodiscard]] std::vector<Line> columns(std::string_view label, const std::vector<double>& percents) const {
        std::vector<Line> lines;
        const std::size_t room = width_ - label_;
        for (std::size_t i = 0; i < percents.size() && room > 0; i += room) {
            Line line = begin(lines.empty() ? label : "");
            for (std::size_t k = i; k < std::min(i + room, percents.size()); ++k)
                append(line, {{column(percents[k] / 100.0), load(percents[k])}});
            lines.push_back(std::move(line));
        }
        return lines;
    }

    // The colour of a share that is in use.
    [[nodiscard]] static Tone load(double percent) {
        return percent < 60 ? Tone::good : percent < 85 ? Tone::warn : Tone::bad;
    }

    [[nodiscard]] static std::string number(const char* format, double value) {
        char text[64];
        std::snprintf(text, sizeof text, format, value);
        return text;
    }

    [[nodiscard]] std::string rightAligned(std::string_view text, std::size_t columns) const {
        const std::size_t wide = terminal::columnsOf(text);
        return wide >= columns ? terminal::fitted(text, columns, isUnicode_)
                               : std::string(columns - wide, ' ').append(text);
    }

private:
    [[nodiscard]] Line begin(std::string_view label) const {
        return {{fit(label, label_ > 0 ? label_ - 1 : 0) + (label_ > 0 ? " " : ""), Tone::strong}};
    }

    // What bars and charts have with their figure.
    [[nodiscard]] std::size_t rest() const { return width_ - label_ - std::min(note_, width_ - label_); }

    [[nodiscard]] Line end(Line line, std::string_view figure, std::string_view note) const {
        line.push_back({std::string(figure), Tone::plain});
        if (note_ > 2)
            line.push_back({"  " + fit(note, note_ - 2), Tone::faint});
        return cut(std::move(line));
    }

    // Where there is no room for it, a line ends at the edge.
    [[nodiscard]] Line cut(Line line) const {
        std::size_t room = width_;
        for (Span& span : line) {
            const std::size_t wide = std::min(room, terminal::columnsOf(span.text));
            span.text = terminal::fitted(span.text, wide, isUnicode_);
            room -= wide;
        }
        return line;
    }

    static void append(Line& line, const Line& spans) {
        for (const Span& span : spans)
            if (!line.empty() && line.back().tone == span.tone)
                line.back().text += span.text;
            else
                line.push_back(span);
    }

    static void append(Line& line, std::string text, Tone tone) { append(line, {{std::move(text), tone}}); }

    [[nodiscard]] std::string bar(double percent, std::size_t columns) const {
        const double share = std::isfinite(percent) ? std::clamp(percent, 0.0, 100.0) / 100.0 : 0.0;
        static constexpr const char* parts[] = {"", "▏", "▎", "▍", "▌", "▋", "▊", "▉"};
        const auto eighths = static_cast<std::size_t>(std::lround(share * 8.0 * static_cast<double>(columns)));
        std::string text;
        std::size_t used = isUnicode_ ? eighths / 8 : (eighths + 4) / 8;
        for (std::size_t i = 0; i < used; ++i)
            text += isUnicode_ ? "█" : "#";
        if (isUnicode_ && eighths % 8 != 0) {
            text += parts[eighths % 8];
            ++used;
        }
        return text.append(columns - used, ' ');
    }

    // A share, 0 to 1, as the height of one character.
    [[nodiscard]] std::string column(double share) const {
        static constexpr const char* blocks[] = {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
        static constexpr const char* letters[] = {".", ":", "-", "=", "+", "*", "%", "#"};
        const double height = std::isfinite(share) ? std::clamp(share, 0.0, 1.0) : 0.0;
        const auto step = static_cast<std::size_t>(std::lround(height * 7.0));
        return isUnicode_ ? blocks[step] : letters[step];
    }

    // A line of a chart, counted from the bottom.
    [[nodiscard]] std::string spark(const std::vector<double>& values, std::size_t columns, double top,
                                    std::size_t line, std::size_t lines) const {
        const std::size_t count = std::min(columns, values.size());
        std::string text(columns - count, ' ');
        for (std::size_t i = values.size() - count; i < values.size(); ++i) {
            const double height = top > 0.0 ? values[i] / top * static_cast<double>(lines) : 0.0;
            const double share = height - static_cast<double>(line);
            text += line > 0 && !(share > 0.0) ? " " : column(share);
        }
        return text;
    }

    std::size_t width_;
    std::size_t label_; // columns of what a line is about, with a blank behind it
    std::size_t note_;  // columns of what is said besides
    bool isUnicode_;
};

double highest(const std::vector<double>& values) {
    return values.empty() ? 0.0 : *std::ranges::max_element(values);
}

std::string spaceText(const Glance::Volume& volume) {
    if (!volume.answers)
        return "does not answer";
    std::string text = sentrel::byteStr(volume.free) + " free";
    if (volume.readPerSecond >= 1.0 || volume.writtenPerSecond >= 1.0)
        text += ", " + sentrel::bpsStr(volume.readPerSecond) + " r, " + sentrel::bpsStr(volume.writtenPerSecond) + " w";
    return text;
}

void add(Rows& rows, std::vector<Line> lines, Rank rank) {
    for (Line& line : lines)
        rows.push_back({std::move(line), rank});
}

void addProcessor(Rows& rows, const Panel& panel, const Glance& glance, std::size_t chartHeight) {
    std::string note = Panel::number("user %.0f %%", glance.user) + Panel::number(", system %.0f %%", glance.kernel);
    if (glance.heat)
        note = "heat: " + *glance.heat + ", " + note;
    rows.push_back({panel.gauge("CPU", glance.usage, Panel::load(glance.usage), note), essential});
    const std::string averages = Panel::number("load %.2f", glance.load[0]) + Panel::number(" %.2f", glance.load[1]) +
                                 Panel::number(" %.2f, ", glance.load[2]) + std::to_string(glance.processes) +
                                 " processes";
    add(rows, panel.chart("", glance.usageHistory, 100.0, "", averages, chartHeight), history);
    if (glance.cores.size() > 1)
        add(rows, panel.columns("Cores", glance.cores), cores);
}

void addMemory(Rows& rows, const Panel& panel, const Glance& glance) {
    const std::string note =
        glance.memory > 0 ? sentrel::byteStr(glance.memoryFree) + " of " + sentrel::byteStr(glance.memory) + " free"
                          : "";
    rows.push_back({panel.gauge("Memory", glance.memoryUsage, Panel::load(glance.memoryUsage), note), essential});
    if (glance.swap == 0)
        return;
    const double used = 100.0 * static_cast<double>(glance.swapUsed) / static_cast<double>(glance.swap);
    rows.push_back({panel.gauge("Swap", used, Panel::load(used),
                                sentrel::byteStr(glance.swapUsed) + " of " + sentrel::byteStr(glance.swap)),
                    swap});
}

void addNetwork(Rows& rows, const Panel& panel, const Glance& glance, std::size_t chartHeight) {
    const auto addChart = [&](const char* label, const std::vector<double>& values, double now) {
        const double top = highest(values);
        add(rows, panel.chart(label, values, top, sentrel::bpsStr(now), "peak " + sentrel::bpsStr(top), chartHeight),
            essential);
    };
    addChart("Net in", glance.receivedHistory, glance.receivedPerSecond);
    addChart("Net out", glance.sentHistory, glance.sentPerSecond);
    if (glance.interfaces.size() < 2)
        return;
    for (const Glance::Interface& one : glance.interfaces)
        rows.push_back(
            {{{panel.fit("  " + one.name + "  " + one.address + "  in " + sentrel::bpsStr(one.receivedPerSecond) +
                             ", out " + sentrel::bpsStr(one.sentPerSecond),
                         panel.width()),
               Tone::plain}},
             moreInterfaces});
}

Line volumeLine(const Panel& panel, const Glance::Volume& volume) {
    if (volume.total <= 0)
        return panel.remark(volume.path, spaceText(volume));
    const double used = 100.0 * static_cast<double>(volume.used) / static_cast<double>(volume.total);
    const Tone tone = used < 80 ? Tone::good : used < 95 ? Tone::warn : Tone::bad;
    return panel.gauge(volume.path, used, tone, spaceText(volume));
}

void addVolumes(Rows& rows, const Panel& panel, const Glance& glance) {
    bool isFirst = true;
    for (const Glance::Volume& volume : glance.volumes) {
        rows.push_back({volumeLine(panel, volume), isFirst ? essential : moreVolumes});
        isFirst = false;
    }
}

void addBattery(Rows& rows, const Panel& panel, const Glance& glance) {
    if (!glance.battery)
        return;
    const Glance::Battery& source = *glance.battery;
    const Tone tone = source.charge > 30 ? Tone::good : source.charge > 10 ? Tone::warn : Tone::bad;
    std::string note = source.isCharging ? "charging" : source.watts != 0 ? Panel::number("%.0f W", source.watts) : "";
    if (!source.remaining.empty())
        note += (note.empty() ? "" : ", ") + source.remaining;
    rows.push_back({panel.gauge("Battery", source.charge, tone, note), battery});
}

void addGraphics(Rows& rows, const Panel& panel, const Glance& glance) {
    for (const Glance::Graphics& one : glance.graphics) {
        if (!one.use)
            continue; // its name alone is no news
        std::string note = one.name;
        if (one.temperature)
            note += ", " + sentrel::degrees(*one.temperature);
        if (one.power)
            note += Panel::number(", %.0f W", *one.power);
        rows.push_back({panel.gauge("GPU", *one.use, Panel::load(*one.use), note), graphics});
    }
}

std::vector<Glance::Application> ordered(std::vector<Glance::Application> applications, Order order) {
    using Application = Glance::Application;
    // Equal ones stay where they are from one sample to the next.
    std::ranges::sort(applications, std::ranges::less(), &Application::pid);
    switch (order) {
    case Order::processor:
        std::ranges::stable_sort(applications, std::ranges::greater(), &Application::cpu);
        break;
    case Order::memory:
        std::ranges::stable_sort(applications, std::ranges::greater(), &Application::memory);
        break;
    case Order::name:
        std::ranges::stable_sort(applications, std::ranges::less(), &Application::name);
        break;
    }
    return applications;
}

Rows applicationRows(const Panel& panel, const Glance& glance, Order order) {
    constexpr std::size_t figure = 10;
    const std::size_t figures = std::min(panel.width(), panel.width() < 50 ? 2 * figure : 3 * figure);
    const std::size_t name = panel.width() - figures;
    const auto field = [&](std::size_t from, std::string_view text) {
        return figures >= from + figure ? panel.rightAligned(text, figure) : std::string();
    };
    const auto tone = [order](Order one) { return order == one ? Tone::strong : Tone::faint; };
    Rows rows;
    rows.push_back({{{panel.fit("Applications", name), tone(Order::name)},
                     {field(0, "cpu"), tone(Order::processor)},
                     {field(figure, "memory"), tone(Order::memory)},
                     {field(2 * figure, "pid"), Tone::faint}},
                    applications});
    std::size_t number = 0;
    for (const Glance::Application& one : ordered(glance.applications, order)) {
        const Rank rank = number < firstApplications  ? applications
                          : number < someApplications ? moreApplications
                                                      : allApplications;
        rows.push_back({{{panel.fit(one.name, name), Tone::plain},
                         {field(0, Panel::number("%.1f %%", one.cpu)), Panel::load(one.cpu)},
                         {field(figure, sentrel::byteStr(one.memory)), Tone::plain},
                         {field(2 * figure, std::to_string(one.pid)), Tone::faint}},
                        rank});
        ++number;
    }
    return rows;
}

Rows machineRows(const Panel& panel, const Glance& glance, std::size_t chartHeight) {
    Rows rows;
    const auto separate = [&rows] { rows.push_back({{}, blank}); };
    addProcessor(rows, panel, glance, chartHeight);
    separate();
    addMemory(rows, panel, glance);
    separate();
    addNetwork(rows, panel, glance, chartHeight);
    separate();
    addVolumes(rows, panel, glance);
    if (glance.battery) {
        separate();
        addBattery(rows, panel, glance);
    }
    addGraphics(rows, panel, glance);
    return rows;
}

// With charts as high as there is room for.
Rows tallMachineRows(const Panel& panel, const Glance& glance, std::size_t count) {
    constexpr std::size_t highest = 12;
    Rows rows = machineRows(panel, glance, 1);
    for (std::size_t height = 2; height <= highest; ++height) {
        Rows taller = machineRows(panel, glance, height);
        if (taller.size() > count)
            break;
        rows = std::move(taller);
    }
    return rows;
}

// The rows that there is room for, in their order.
std::vector<Line> chosen(const Rows& rows, std::size_t count) {
    std::vector<const Row*> order;
    for (const Row& row : rows)
        order.push_back(&row);
    std::ranges::stable_sort(order, std::ranges::less(), [](const Row* row) { return row->rank; });
    order.resize(std::min(count, order.size()));
    std::ranges::sort(order);
    std::vector<Line> lines;
    for (const Row* row : order)
        lines.push_back(row->line);
    return lines;
}

// Two panels beside each other.
std::vector<Line> joined(std::vector<Line> left, std::size_t width, const std::vector<Line>& right) {
    left.resize(std::max(left.size(), right.size()));
    for (std::size_t i = 0; i < right.size(); ++i) {
        std::size_t used = 0;
        for (const Span& span : left[i])
            used += terminal::columnsOf(span.text);
        left[i].push_back({std::string(width - used, ' '), Tone::plain});
        left[i].insert(left[i].end(), right[i].begin(), right[i].end());
    }
    return left;
}

Line title(const Panel& panel, const Glance& glance) {
    const std::string host = glance.host.empty() ? "sentrel" : glance.host;
    const std::size_t name = std::min(terminal::columnsOf(terminal::plainText(host)), panel.width());
    std::string rest = glance.system.empty() ? "" : "  " + glance.system;
    if (glance.uptime)
        rest += "  up " + sentrel::Time::uptime(*glance.uptime);
    return {{panel.fit(host, name), Tone::strong}, {panel.fit(rest, panel.width() - name), Tone::faint}};
}

std::vector<Line> helpLines(const Panel& panel) {
    std::vector<Line> lines;
    for (const char* text : {"Keys", "  c  applications by processor", "  m  applications by memory",
                             "  n  applications by name", "  h  these keys, and back", "  q  quit"})
        lines.push_back({{panel.fit(text, panel.width()), lines.empty() ? Tone::strong : Tone::plain}});
    return lines;
}

} // namespace

std::vector<Line> layOut(const Glance& glance, const View& view) {
    constexpr std::size_t wide = 110;
    constexpr std::size_t gap = 3;
    const Panel screen(view.columns, view.isUnicode);
    std::vector<Line> lines;
    if (view.rows == 0 || view.columns == 0)
        return lines;
    const std::size_t body = view.rows - std::min<std::size_t>(view.rows, 2);
    if (view.isHelp) {
        lines = helpLines(screen);
        lines.resize(std::min(lines.size(), body));
    } else if (view.columns < wide) {
        Rows rows = machineRows(screen, glance, 1);
        rows.push_back({{}, blank});
        const Rows below = applicationRows(screen, glance, view.order);
        rows.insert(rows.end(), below.begin(), below.end());
        lines = chosen(rows, body);
    } else {
        const Panel left(view.columns * 11 / 20, view.isUnicode);
        const Panel right(view.columns - left.width() - gap, view.isUnicode);
        lines = joined(chosen(tallMachineRows(left, glance, body), body), left.width() + gap,
                       chosen(applicationRows(right, glance, view.order), body));
    }
    if (view.rows >= 2) {
        lines.insert(lines.begin(), title(screen, glance));
        lines.resize(view.rows - 1);
    }
    lines.push_back({{screen.fit("q quit  c processor  m memory  n name  h help", screen.width()), Tone::faint}});
    return lines;
}

} // namespace tool
