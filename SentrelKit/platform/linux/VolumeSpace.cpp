#include <SentrelKit/platform/linux/VolumeSpace.h>

#include <SentrelKit/platform/linux/OwnThread.h>

#include <cerrno>
#include <chrono>
#include <sys/statfs.h>
#include <utility>

namespace sentrel::platform {

namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds firstAnswerBound{250};
constexpr std::chrono::seconds idleBound{30}; // after which a mount's thread goes away until the next question

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
    return FileSystemSpace{unit, status.f_blocks, status.f_bfree};
}

struct SpaceQuestion::State {
    explicit State(std::string mountPoint) : path(std::move(mountPoint)) {}

    const std::string path;
    Lock lock;
    Condition changed SENTREL_GUARDED_BY(lock);
    RunningFlag outstanding SENTREL_GUARDED_BY(lock);
    RunningFlag hasThread SENTREL_GUARDED_BY(lock);
    bool released SENTREL_GUARDED_BY(lock) = false;
    bool answered SENTREL_GUARDED_BY(lock) = false;
    std::optional<FileSystemSpace> space SENTREL_GUARDED_BY(lock);
    int error SENTREL_GUARDED_BY(lock) = 0;
    std::optional<SteadyClock::time_point> firstPut SENTREL_GUARDED_BY(lock);

    void put() SENTREL_REQUIRES(lock);
    static void serve(const std::shared_ptr<State>& state);
};

SpaceQuestion::SpaceQuestion(std::string path) : state_(std::make_shared<State>(std::move(path))) {}

SpaceQuestion::~SpaceQuestion() {
    const LockScope scope(state_->lock);
    state_->released = true;
    state_->changed.notify_all();
}

void SpaceQuestion::put() {
    const LockScope scope(state_->lock);
    if (!state_->hasThread)
        state_->hasThread = runOnOwnThread([state = state_] { State::serve(state); });
    state_->put();
}

void SpaceQuestion::State::put() {
    if (outstanding || !hasThread)
        return;
    outstanding = true;
    if (!firstPut)
        firstPut = SteadyClock::now();
    changed.notify_all();
}

void SpaceQuestion::State::serve(const std::shared_ptr<State>& state) {
    state->lock.lock();
    for (;;) {
        const SteadyClock::time_point idleEnd = SteadyClock::now() + idleBound;
        while (!state->outstanding && !state->released && SteadyClock::now() < idleEnd)
            state->changed.wait_until(state->lock, idleEnd);
        if (!state->outstanding || state->released)
            break;
        state->lock.unlock();
        const std::optional<FileSystemSpace> space = askSpace(state->path.c_str());
        const int error = space ? 0 : errno;
        state->lock.lock();
        state->outstanding = false;
        state->answered = true;
        state->space = space;
        state->error = error;
        state->changed.notify_all();
    }
    state->hasThread = false;
    state->lock.unlock();
}

std::optional<FileSystemSpace> SpaceQuestion::answer() {
    put();
    State& state = *state_;
    const LockScope scope(state.lock);
    if (state.firstPut) {
        const SteadyClock::time_point end = *state.firstPut + firstAnswerBound;
        while (!state.answered && SteadyClock::now() < end)
            state.changed.wait_until(state.lock, end);
    }
    errno = !state.answered ? ETIMEDOUT : state.error;
    return state.space;
}

void VolumeSpace::setMounts(const std::vector<Mount>& mounts) {
    TextMap<std::shared_ptr<SpaceQuestion>> next;
    const LockScope scope(lock_);
    for (const Mount& mount : mounts) {
        std::shared_ptr<SpaceQuestion> question;
        if (mount.mayNotAnswer) {
            const auto known = mounts_.find(mount.path);
            if (known != mounts_.end())
                question = known->second;
            if (!question)
                question = std::make_shared<SpaceQuestion>(std::string(mount.path));
        }
        next.insert_or_assign(std::string(mount.path), std::move(question));
    }
    mounts_ = std::move(next);
}

void VolumeSpace::askAhead() {
    const LockScope scope(lock_);
    for (const auto& [path, question] : mounts_) {
        if (question)
            question->put();
    }
}

std::optional<FileSystemSpace> VolumeSpace::ofMount(std::string_view path, const char* terminated, bool& known) {
    std::shared_ptr<SpaceQuestion> question;
    {
        const LockScope scope(lock_);
        const auto mount = mounts_.find(path);
        known = mount != mounts_.end();
        if (!known)
            return std::nullopt;
        question = mount->second;
    }
    return question ? question->answer() : askSpace(terminated);
}

} // namespace sentrel::platform
