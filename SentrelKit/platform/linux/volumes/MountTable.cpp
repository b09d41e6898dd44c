// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/volumes/MountTable.h>

#include <SentrelKit/platform/linux/common/KernelText.h>

#include <map>
#include <unordered_map>
#include <utility>

namespace sentrel::platform {

namespace {

// Splits at single blanks: two blanks in a row are an empty field.
class Fields {
public:
    explicit Fields(std::string_view line) : rest_(line) {}

    std::optional<std::string_view> next() {
        if (done_)
            return std::nullopt;
        const std::size_t end = rest_.find(' ');
        const std::string_view field = rest_.substr(0, end);
        if (end == std::string_view::npos)
            done_ = true;
        else
            rest_.remove_prefix(end + 1);
        return field;
    }

private:
    std::string_view rest_;
    bool done_ = false;
};

template <class Number>
bool parseNumber(std::string_view text, Number& number) {
    const std::optional<Number> value = toNumber<Number>(text);
    number = value.value_or(number);
    return value.has_value();
}

bool parseDevice(std::string_view text, MountEntry& entry) {
    const std::size_t colon = text.find(':');
    return colon != std::string_view::npos && parseNumber(text.substr(0, colon), entry.deviceMajor) &&
           parseNumber(text.substr(colon + 1), entry.deviceMinor);
}

bool isOctal(char c) {
    return c >= '0' && c <= '7';
}

} // namespace

std::string unescaped(std::string_view text) {
    std::string plain;
    plain.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 3 < text.size() && text[i + 1] <= '3' && isOctal(text[i + 1]) &&
            isOctal(text[i + 2]) && isOctal(text[i + 3])) {
            plain += static_cast<char>((text[i + 1] - '0') * 64 + (text[i + 2] - '0') * 8 + (text[i + 3] - '0'));
            i += 3;
        } else {
            plain += text[i];
        }
    }
    return plain;
}

namespace {

/// Follows the mounts as a path look-up would.
class Reachability {
public:
    explicit Reachability(const std::vector<MountEntry>& entries) : entries_(entries), reach_(entries.size()) {
        for (std::size_t i = 0; i < entries.size(); ++i) {
            byId_[entries[i].id] = i;
            if (entries[i].parent != entries[i].id)
                mountedAt_[{entries[i].parent, entries[i].on}] = i;
        }
    }

    bool visible(std::size_t entry) { return reachable(entry) && !coveredBySomethingElseThan(entry, entry); }

private:
    enum class Reach : std::uint8_t { unknown, asking, yes, no };

    bool reachable(std::size_t entry) {
        // Upwards to an entry whose answer is known (or to a ring, which no kernel makes), then down again.
        std::vector<std::size_t> chain;
        std::size_t current = entry;
        while (reach_[current] == Reach::unknown) {
            reach_[current] = Reach::asking;
            chain.push_back(current);
            const auto parent = byId_.find(entries_[current].parent);
            if (parent == byId_.end())
                break;
            current = parent->second;
        }
        bool above = reach_[current] != Reach::no;
        for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
            above = above && reachableFromParent(*it);
            reach_[*it] = above ? Reach::yes : Reach::no;
        }
        return reach_[entry] == Reach::yes;
    }

    bool reachableFromParent(std::size_t entry) const {
        const MountEntry& mount = entries_[entry];
        const auto found = byId_.find(mount.parent);
        if (found == byId_.end() || found->second == entry)
            return true;
        const MountEntry& parent = entries_[found->second];
        if (coveredBySomethingElseThan(found->second, entry))
            return false;
        for (std::size_t end = mount.on.find('/', 1); end != std::string::npos; end = mount.on.find('/', end + 1)) {
            const std::string_view above = std::string_view(mount.on).substr(0, end);
            if (above.size() > parent.on.size() && mountedAt_.contains({parent.id, above}))
                return false;
        }
        return true;
    }

    // Whether another mount sits on the root of this one.
    bool coveredBySomethingElseThan(std::size_t entry, std::size_t other) const {
        const auto cover = mountedAt_.find({entries_[entry].id, entries_[entry].on});
        return cover != mountedAt_.end() && cover->second != other;
    }

    const std::vector<MountEntry>& entries_;
    std::vector<Reach> reach_;
    std::unordered_map<std::int64_t, std::size_t> byId_;
    std::map<std::pair<std::int64_t, std::string_view>, std::size_t> mountedAt_;
};

} // namespace

std::optional<MountEntry> parseMountLine(std::string_view line) {
    Fields fields(line);
    MountEntry entry;
    const auto id = fields.next();
    const auto parent = fields.next();
    const auto device = fields.next();
    const auto root = fields.next();
    const auto on = fields.next();
    const auto mountOptions = fields.next();
    if (!mountOptions || !parseNumber(*id, entry.id) || !parseNumber(*parent, entry.parent) ||
        !parseDevice(*device, entry) || !on->starts_with('/'))
        return std::nullopt;
    std::optional<std::string_view> field;
    do
        field = fields.next(); // optional fields, up to the separator
    while (field && *field != "-");
    const auto type = fields.next();
    const auto from = fields.next();
    const auto superOptions = fields.next();
    if (!field || !type || type->empty() || !from)
        return std::nullopt;
    entry.root = unescaped(*root);
    entry.on = unescaped(*on);
    entry.type = unescaped(*type);
    entry.from = unescaped(*from);
    entry.superOptions = unescaped(superOptions.value_or(std::string_view()));
    return entry;
}

std::vector<MountEntry> parseMountTable(std::string_view table) {
    std::vector<MountEntry> entries;
    while (!table.empty()) {
        const std::size_t end = table.find('\n');
        if (std::optional<MountEntry> entry = parseMountLine(table.substr(0, end)))
            entries.push_back(std::move(*entry));
        table.remove_prefix(end == std::string_view::npos ? table.size() : end + 1);
    }
    Reachability reachability(entries);
    for (std::size_t i = 0; i < entries.size(); ++i)
        entries[i].isVisible = reachability.visible(i);
    return entries;
}

std::vector<bool> mountsBelow(const std::vector<MountEntry>& entries, const std::vector<bool>& those) {
    std::unordered_map<std::int64_t, std::size_t> byId;
    for (std::size_t i = 0; i < entries.size(); ++i)
        byId[entries[i].id] = i;
    std::vector<bool> isBelow(entries.size());
    std::vector<bool> isKnown(entries.size());
    std::vector<std::size_t> chain;
    for (std::size_t entry = 0; entry < entries.size(); ++entry) {
        // Upwards to an entry whose answer is known, or that has no other one above it, then down again.
        for (std::size_t current = entry; !isKnown[current];) {
            isKnown[current] = true;
            chain.push_back(current);
            const auto parent = byId.find(entries[current].parent);
            if (parent != byId.end())
                current = parent->second;
        }
        for (; !chain.empty(); chain.pop_back()) {
            const MountEntry& mount = entries[chain.back()];
            const auto parent = byId.find(mount.parent);
            if (parent == byId.end() || parent->second == chain.back())
                continue;
            const bool asksParent = entries[parent->second].on != mount.on && those[parent->second];
            isBelow[chain.back()] = asksParent || isBelow[parent->second];
        }
    }
    return isBelow;
}

bool isSameMount(const MountEntry& one, const MountEntry& other) {
    return one.id == other.id && one.parent == other.parent && one.deviceMajor == other.deviceMajor &&
           one.deviceMinor == other.deviceMinor && one.on == other.on && one.type == other.type &&
           one.from == other.from;
}

const MountEntry* mountOfPath(const std::vector<MountEntry>& entries, std::string_view path) {
    const MountEntry* best = nullptr;
    for (const MountEntry& entry : entries) {
        if (entry.isVisible && liesWithin(path, entry.on == "/" ? std::string_view() : entry.on) &&
            (!best || entry.on.size() >= best->on.size()))
            best = &entry;
    }
    return best;
}

} // namespace sentrel::platform
