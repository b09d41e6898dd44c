// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/linux/common/KernelText.h>
#include <SentrelKit/platform/support/SampleScope.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

namespace sentrel::platform {

/// The text of a table that several questions of one sample are answered from: the first of them has it read, outside
/// of a sample each has. Its owner guards it.
class SampledTable {
public:
    /// With room for so many bytes, which a table that fills it has doubled up to the most there may be.
    explicit SampledTable(std::size_t room, std::size_t most = 0)
        : room_(room), most_(most), buffer_(std::make_unique_for_overwrite<char[]>(room)) {}

    /// The lines that came whole, until the next call; absent, with errno set, if `read`, which is given the room and
    /// returns the part of it that it filled, returns nothing.
    template <class Read>
    [[nodiscard]] std::optional<std::string_view> text(Read read) {
        if (mark_.isOfThisSample())
            return text_;
        mark_.clear();
        std::optional<std::string_view> content = read(std::span(buffer_.get(), room_));
        while (content && content->size() == room_ && room_ < most_) {
            room_ *= 2;
            buffer_ = std::make_unique_for_overwrite<char[]>(room_);
            content = read(std::span(buffer_.get(), room_));
        }
        if (!content)
            return std::nullopt;
        text_ = wholeLines(*content, room_);
        mark_.set();
        return text_;
    }

private:
    std::size_t room_;
    const std::size_t most_;
    std::unique_ptr<char[]> buffer_;
    std::string_view text_; // of the buffer
    SampleMark mark_;
};

} // namespace sentrel::platform
