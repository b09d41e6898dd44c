// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/sentrel/FurtherFigures.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// Which resources and figures are asked for.
class Selection {
public:
    /// The figures of these resources that are always sampled, of all that have such without any; with `isAll` all
    /// figures, of all resources without any. Fields narrow that down: "cpu.usage_ratio", "disk.volumes.free_bytes",
    /// each of a resource that is then asked for too. Absent for a name that there is not, which `unknown` then is.
    [[nodiscard]] static std::optional<Selection> of(const std::vector<std::string>& resources,
                                                     const std::vector<std::string>& fields, bool isAll,
                                                     std::string& unknown);
    /// The same without further figures but those named.
    [[nodiscard]] static std::optional<Selection> of(const std::vector<std::string>& resources,
                                                     const std::vector<std::string>& fields, std::string& unknown) {
        return of(resources, fields, false, unknown);
    }

    /// The resources, in the order in which they are shown.
    [[nodiscard]] const std::vector<std::string_view>& resources() const noexcept { return resources_; }

    /// Has the machine sample what is selected of the further figures, from the next sample on.
    void want(sentrel::System& system) const;

    /// The selected figures of a resource as they stand now. Tables stay without their figures where none is selected
    /// but for a list's labels.
    [[nodiscard]] std::vector<Table> read(sentrel::System& system, std::string_view resource) const;

private:
    [[nodiscard]] bool isNamed(std::string_view resource, std::string_view list, std::string_view name) const;
    [[nodiscard]] bool has(const FurtherTable& table) const;

    std::vector<std::string_view> resources_;
    std::vector<std::string> fields_; // empty: all
    bool isAll_ = false;
};

/// How a figure is named among all: its table's resource and list, and its own name, with dots between.
[[nodiscard]] std::string fieldName(std::string_view resource, std::string_view list, std::string_view name);

} // namespace tool
