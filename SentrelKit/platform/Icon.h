// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/Export.h>

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace sentrel {

/// The picture of an application or a volume, in the form in which its system has it; the library does not look into
/// it. A value whose copies share what they hold. Any thread.
class Icon {
public:
    /// The forms.
    enum class Kind : std::uint8_t {
        name, ///< a name to look up in the desktop's icon theme (Linux)
        path, ///< the absolute path of an image file (Linux)
        tiff, ///< bytes in the format TIFF, with an image for each size that there is (macOS)
    };

    /// The contents of an image file.
    using Bytes = std::vector<std::uint8_t>;

    /// The icon of that name in the desktop's theme.
    [[nodiscard]] static Icon named(std::string name) { return {Kind::name, std::move(name), nullptr}; }

    /// The image file of that absolute path.
    [[nodiscard]] static Icon atPath(std::string path) { return {Kind::path, std::move(path), nullptr}; }

    /// A picture in the format TIFF. `read` gives its bytes, or none; it is called by `bytes`, on the same thread.
    [[nodiscard]] static Icon tiff(std::function<Bytes()> read) {
        return {Kind::tiff, {}, std::make_shared<const std::function<Bytes()>>(std::move(read))};
    }

    /// The form that it has.
    [[nodiscard]] Kind kind() const noexcept { return kind_; }

    /// The name or the path; empty for a picture in bytes.
    [[nodiscard]] const std::string& text() const noexcept { return text_; }

    /// The bytes of a picture in bytes. Each call asks the system anew, which takes it milliseconds: most programs show
    /// few of the icons that there are. Empty for another form, and if the system has no picture (any more).
    [[nodiscard]] Bytes bytes() const { return read_ ? (*read_)() : Bytes(); }

    /// Whether they are the same name or path, or copies of the same picture.
    friend bool operator==(const Icon&, const Icon&) = default;

private:
    Icon(Kind kind, std::string text, std::shared_ptr<const std::function<Bytes()>> read)
        : kind_(kind), text_(std::move(text)), read_(std::move(read)) {}

    Kind kind_;
    std::string text_;
    std::shared_ptr<const std::function<Bytes()>> read_;
};

/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, Icon::Kind value);

} // namespace sentrel
