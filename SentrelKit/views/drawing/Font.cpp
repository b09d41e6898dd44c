// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/drawing/Font.h>

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/views/drawing/detail/FontFaces.h>

#include <map>
#include <utility>

namespace sentrel {

namespace {

// The faces asked for so far, the missing ones as null: a look-up may walk every font of the machine.
class Faces {
public:
    std::shared_ptr<const FontFace> find(const std::string& name) {
        const LockScope scope(lock_);
        const auto known = faces_.find(name);
        if (known != faces_.end())
            return known->second;
        return faces_[name] = findFace(name);
    }

    bool add(const std::string& path) {
        const LockScope scope(lock_);
        if (!addFontFile(path))
            return false;
        faces_.clear();
        return true;
    }

private:
    Lock lock_;
    std::map<std::string, std::shared_ptr<const FontFace>> faces_ SENTREL_GUARDED_BY(lock_);
};

Faces& faces() {
    static Faces shared;
    return shared;
}

} // namespace

Font::Font(std::shared_ptr<const FontFace> face, double size) noexcept : face_(std::move(face)), size_(size) {}

std::optional<Font> Font::withName(const std::string& faceName, double size) {
    std::shared_ptr<const FontFace> face = faces().find(faceName);
    if (!face)
        return std::nullopt;
    return Font(std::move(face), size);
}

Font Font::systemFont(double size) {
    static const std::shared_ptr<const FontFace> face = makeSystemFace();
    return {face, size};
}

bool Font::registerFile(const std::string& path) {
    return faces().add(path);
}

} // namespace sentrel
