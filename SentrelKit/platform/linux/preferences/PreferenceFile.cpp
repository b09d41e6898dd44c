// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/preferences/PreferenceFile.h>

#include <SentrelKit/base/system/System.h>
#include <SentrelKit/platform/detail/KeyedArchive.h>
#include <SentrelKit/platform/linux/common/File.h>
#include <SentrelKit/platform/linux/common/GLibOwners.h>
#include <SentrelKit/platform/linux/common/KernelText.h>
#include <SentrelKit/platform/linux/preferences/PropertyListFormat.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <glib.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace sentrel::platform {

namespace {

/// Larger files are not preferences.
constexpr std::int64_t sizeLimit = std::int64_t{16} << 20;

/// A writer holds the lock for milliseconds; one that was stopped must not stop the others for ever.
constexpr std::chrono::seconds lockPatience{20};

const PreferenceFile::Content& emptyContent() {
    static const auto empty = std::make_shared<const PropertyList::Dictionary>();
    return empty;
}

bool isSameVersion(const struct stat& a, const struct stat& b) noexcept {
    const auto sameTime = [](const timespec& x, const timespec& y) {
        return x.tv_sec == y.tv_sec && x.tv_nsec == y.tv_nsec;
    };
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size && sameTime(a.st_mtim, b.st_mtim) &&
           sameTime(a.st_ctim, b.st_ctim);
}

std::string hiddenSibling(const std::string& path, const char* suffix) {
    return parentFolder(path) + "/." + std::string(lastPathComponent(path)) + suffix;
}

/// The file to replace: the path itself, or what a symbolic link there leads to. Absent, with errno set, for a link
/// that leads nowhere.
std::optional<std::string> replaceTarget(const std::string& path) {
    if (const Owner<char, ::free> resolved{::realpath(path.c_str(), nullptr)})
        return resolved.get();
    const int error = errno;
    struct stat link {};
    if (error == ENOENT && ::lstat(path.c_str(), &link) != 0)
        return path;
    errno = error;
    return std::nullopt;
}

/// The lock between processes, held for a scope. The system gives it back when its holder dies. It is two locks: who
/// has the turn waits for the writer before it, so that a writer that comes back at once cannot overtake those that
/// wait.
class ProcessLock {
public:
    explicit ProcessLock(const std::string& path) noexcept
        : fd_(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR)) {
        if (!fd_ || !wait(turn))
            return;
        held_ = wait(writing);
        const int error = errno;
        set(turn, F_UNLCK);
        errno = error;
    }
    ~ProcessLock() {
        // Explicitly, because a process forked meanwhile holds the descriptor too.
        if (held_)
            set(writing, F_UNLCK);
    }
    ProcessLock(const ProcessLock&) = delete;
    ProcessLock& operator=(const ProcessLock&) = delete;

    /// False, with errno set by the constructor, without the lock.
    [[nodiscard]] bool held() const noexcept { return held_; }

private:
    // The bytes of the lock file that stand for the two.
    static constexpr off_t turn = 0;
    static constexpr off_t writing = 1;

    bool set(off_t byte, short type) noexcept {
        struct flock request {};
        request.l_type = type;
        request.l_whence = SEEK_SET;
        request.l_start = byte;
        request.l_len = 1;
        return ::fcntl(fd_.get(), F_OFD_SETLK, &request) == 0;
    }

    bool wait(off_t byte) noexcept {
        const auto deadline = std::chrono::steady_clock::now() + lockPatience;
        auto pause = std::chrono::microseconds(100);
        while (!set(byte, F_WRLCK)) {
            if (errno != EAGAIN && errno != EACCES && errno != EINTR)
                return false;
            if (std::chrono::steady_clock::now() >= deadline) {
                errno = ETIMEDOUT;
                return false;
            }
            std::this_thread::sleep_for(pause);
            pause = std::min(pause * 2, std::chrono::microseconds(1600));
        }
        return true;
    }

    UniqueFd fd_;
    bool held_ = false;
};

bool writeAll(int fd, const PropertyList::Bytes& bytes) noexcept {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t put = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (put < 0 && errno != EINTR)
            return false;
        done += put > 0 ? static_cast<std::size_t>(put) : 0;
    }
    return true;
}

/// The values by key in an open file; null, with errno set, for one that holds none.
PreferenceFile::Content load(int fd, const struct stat& status) {
    if (!S_ISREG(status.st_mode)) {
        errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
        return nullptr;
    }
    if (status.st_size > sizeLimit) {
        errno = EFBIG;
        return nullptr;
    }
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(status.st_size));
    const auto size = readToEnd(fd, {reinterpret_cast<char*>(bytes.data()), bytes.size()});
    if (!size)
        return nullptr;
    bytes.resize(*size); // it may have become shorter meanwhile
    if (bytes.empty())
        return emptyContent();
    auto value = decodePropertyList(bytes);
    auto* content = value ? value->as<PropertyList::Dictionary>() : nullptr;
    if (!content) {
        errno = EINVAL;
        return nullptr;
    }
    return std::make_shared<const PropertyList::Dictionary>(std::move(*content));
}

} // namespace

const PreferenceFile::Version& PreferenceFile::newestVersion() {
    struct stat now {};
    const bool known = ::stat(path_.c_str(), &now) == 0;
    if (known && version_ && isSameVersion(version_->status, now))
        return *version_;
    Version& newest = version_.emplace();
    if (!known && errno == ENOENT) {
        newest.content = emptyContent();
        return newest;
    }
    newest.fd = openAt(AT_FDCWD, path_.c_str()); // a pipe in the file's place is refused once it is open
    if (newest.fd && ::fstat(newest.fd.get(), &newest.status) == 0)
        newest.content = load(newest.fd.get(), newest.status);
    newest.error = errno;
    return newest;
}

PreferenceFile::Content PreferenceFile::read() {
    const LockScope lock(lock_);
    const Version& newest = newestVersion();
    return newest.content ? newest.content : emptyContent();
}

bool PreferenceFile::change(const std::function<bool(PropertyList::Dictionary&)>& edit) {
    const LockScope changing(changing_);
    const auto refuse = [this](const char* reason) {
        System_error("Error: cannot change preferences %s -- %s\n", path_.c_str(), reason);
        return false;
    };
    const auto target = replaceTarget(path_);
    if (!target)
        return refuse(System_getLastError());
    if (g_mkdir_with_parents(parentFolder(*target).c_str(), S_IRWXU) != 0)
        return refuse(System_getLastError());
    const ProcessLock processLock(hiddenSibling(*target, ".lock"));
    if (!processLock.held())
        return refuse(System_getLastError());

    PropertyList::Dictionary content;
    {
        const LockScope lock(lock_);
        const Version& newest = newestVersion();
        if (!newest.content)
            return refuse(System_getError(newest.error));
        content = *newest.content;
    }
    if (!edit(content))
        return true;
    return replace(content, *target) || refuse(System_getLastError());
}

bool PreferenceFile::replace(const PropertyList::Dictionary& content, const std::string& target) {
    const auto bytes = encodePropertyList(PropertyList(content));
    if (!bytes) {
        errno = EILSEQ;
        return false;
    }
    if (static_cast<std::int64_t>(bytes->size()) > sizeLimit) {
        errno = EFBIG;
        return false;
    }
    // One name for all writers: they hold the lock, and what a killed one left behind is overwritten.
    const std::string fresh = hiddenSibling(target, ".new");
    UniqueFd fd(::open(fresh.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR));
    if (!fd)
        return false;
    const bool written = ::fchmod(fd.get(), S_IRUSR | S_IWUSR) == 0 && writeAll(fd.get(), *bytes) &&
                         ::fsync(fd.get()) == 0 && std::rename(fresh.c_str(), target.c_str()) == 0;
    if (!written) {
        const int error = errno;
        ::unlink(fresh.c_str());
        errno = error;
        return false;
    }
    // The new file is in place whether or not the folder can be synchronised too.
    if (const UniqueFd folder = openAt(AT_FDCWD, parentFolder(target).c_str(), O_DIRECTORY))
        static_cast<void>(::fsync(folder.get()));

    // Kept open for reading only: a file open for writing would stop the disk from being made read-only.
    const LockScope lock(lock_);
    Version& newest = version_.emplace();
    newest.fd = openAt(AT_FDCWD, target.c_str());
    if (newest.fd && ::fstat(newest.fd.get(), &newest.status) == 0)
        newest.content = std::make_shared<const PropertyList::Dictionary>(content);
    return true;
}

PropertyList keptFromAddress(const PropertyList::Address& address) {
    if (const TextPointer path{g_filename_from_uri(address.text.c_str(), nullptr, nullptr)})
        return std::string_view(path.get());
    auto archive = keyedArchive(PropertyList(address));
    return archive ? PropertyList(std::move(*archive)) : PropertyList();
}

std::optional<PropertyList::Address> addressFromKept(const PropertyList& kept) {
    if (const auto* archive = kept.as<PropertyList::Bytes>()) {
        const auto value = keyedUnarchive(*archive);
        const auto* address = value ? value->as<PropertyList::Address>() : nullptr;
        return address ? std::optional(*address) : std::nullopt;
    }
    const auto* text = kept.as<std::string>();
    if (!text)
        return std::nullopt;
    const bool underHome = text->starts_with("~/");
    const std::string path = underHome ? g_get_home_dir() + text->substr(1) : *text;
    const TextPointer uri(g_filename_to_uri(path.c_str(), nullptr, nullptr));
    return uri ? std::optional(PropertyList::Address{uri.get()}) : std::nullopt;
}

} // namespace sentrel::platform
