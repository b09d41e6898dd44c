// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/volumes/VolumeSpace.h>

#include <algorithm>
#include <cerrno>
#include <sys/statfs.h>
#include <utility>

namespace sentrel::platform {

namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds answerBound{250};

} // namespace

std::optional<FileSystemSpace> askSpace(const char* path) noexcept {
    struct statfs status {};
    int result;
    do
        result = ::statfs(path, &status);
    while (result != 0 && errno == EINTR);
    if (result != 0)
        return std::nullopt;
    // Blocks are counted in fragments where a file system tells their size (statvfs(3)).
    const auto unit = static_cast<std::uint64_t>(status.f_frsize > 0 ? status.f_frsize : status.f_bsize);
    return FileSystemSpace{unit, status.f_blocks, status.f_bfree, status.f_files, status.f_ffree};
}

void SpaceQuestion::put(BlockingCalls& calls) {
    const LockScope scope(lock_);
    if (outstanding_ || !calls.start(shared_from_this()))
        return;
    outstanding_ = true;
    waitEnd_ = SteadyClock::now() + answerBound;
}

void SpaceQuestion::run() noexcept {
    const std::optional<FileSystemSpace> space = askSpace(mount_.on.c_str());
    const int error = space ? 0 : errno;
    const LockScope scope(lock_);
    outstanding_ = false;
    answered_ = true;
    space_ = space;
    error_ = error;
    changed_.notify_all();
}

std::optional<FileSystemSpace> SpaceQuestion::lastAnswer() {
    const LockScope scope(lock_);
    if (!answered_)
        await();
    return answer();
}

std::optional<FileSystemSpace> SpaceQuestion::newAnswer() {
    const LockScope scope(lock_);
    await();
    return answer();
}

void SpaceQuestion::await() {
    while (outstanding_ && SteadyClock::now() < waitEnd_)
        changed_.wait_until(lock_, waitEnd_);
}

std::optional<FileSystemSpace> SpaceQuestion::answer() {
    errno = answered_ ? error_ : ETIMEDOUT;
    if (space_)
        space_->answers = !outstanding_ || SteadyClock::now() < waitEnd_;
    return space_;
}

void VolumeSpace::setMounts(const std::vector<MountEntry>& mounts) {
    const LockScope scope(lock_);
    std::erase_if(questions_, [&mounts](const std::shared_ptr<SpaceQuestion>& question) {
        return std::none_of(mounts.begin(), mounts.end(),
                            [&](const MountEntry& mount) { return isSameMount(mount, question->mount()); });
    });
    volumes_.clear();
    for (const MountEntry& mount : mounts) {
        if (!mount.isVolume)
            continue;
        const std::shared_ptr<SpaceQuestion> question = mount.mayNotAnswer ? questionTo(mount) : nullptr;
        if (question)
            question->put(calls_);
        volumes_.insert_or_assign(mount.on, question);
    }
}

std::optional<FileSystemSpace> VolumeSpace::ofVolume(std::string_view path, const char* terminated, bool& known) {
    std::shared_ptr<SpaceQuestion> question;
    {
        const LockScope scope(lock_);
        const auto volume = volumes_.find(path);
        known = volume != volumes_.end();
        if (!known)
            return std::nullopt;
        question = volume->second;
    }
    if (!question)
        return askSpace(terminated);
    question->put(calls_);
    return question->lastAnswer();
}

std::optional<FileSystemSpace> VolumeSpace::ofMount(const MountEntry& mount) {
    std::shared_ptr<SpaceQuestion> question;
    {
        const LockScope scope(lock_);
        question = questionTo(mount);
    }
    question->put(calls_);
    return question->newAnswer();
}

std::shared_ptr<SpaceQuestion> VolumeSpace::questionTo(const MountEntry& mount) {
    const auto known =
        std::find_if(questions_.begin(), questions_.end(), [&mount](const std::shared_ptr<SpaceQuestion>& question) {
            return isSameMount(mount, question->mount());
        });
    if (known != questions_.end())
        return *known;
    return questions_.emplace_back(std::make_shared<SpaceQuestion>(mount));
}

} // namespace sentrel::platform
