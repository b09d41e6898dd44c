// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What every scripted service keeps of its calls, and what a test scripts of them: failures, completions that are held
/// back, and what happens meanwhile. Any thread.
///
/// A call is told as a text: the operation as the seam names it, then its arguments with a space before each, such as
/// "space /data" or "enableAutosave disk1 0". A call on a handle has the name of what the handle stands for as its
/// first argument. A handle that comes back is a call too: "release session".

#include <SentrelKit/Export.h>
#include <SentrelKit/platform/Availability.h>

#include <cerrno>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sentrel::platform {

/// Which calls of an operation fail, and how.
struct ScriptedFailure {
    std::optional<std::string> arguments{}; ///< only calls with exactly these; absent: with any
    int call = 0;                           ///< only the n-th of them from now on, 1 for the next; 0: every one
    int error = EIO;                        ///< what errno says then
};

/// The calls of one service of a scripted machine.
class SENTREL_API ScriptedCalls {
public:
    /// Hears of a call, by its text.
    using Hook = std::function<void(const std::string& call)>;

    ScriptedCalls();
    ~ScriptedCalls();
    ScriptedCalls(const ScriptedCalls&) = delete;
    ScriptedCalls& operator=(const ScriptedCalls&) = delete;

    /// The calls since the last `clear` or `take`, oldest first. They are kept until then.
    [[nodiscard]] std::vector<std::string> list() const;
    /// As `list`, and forgets them.
    [[nodiscard]] std::vector<std::string> take();
    /// Forgets the calls, and the handles that came back. Failures, hooks and what is held back stay.
    void clear();
    /// How many of the calls are of an operation.
    [[nodiscard]] std::size_t count(std::string_view operation) const;

    /// The handles that were given since the last `clear`, and those that were out then, oldest first, each by what it
    /// stands for, such as "session" or "disk disk1".
    [[nodiscard]] std::vector<std::string> handles() const;
    /// Those of the `handles` that did not come back yet.
    [[nodiscard]] std::vector<std::string> openHandles() const;

    /// Makes calls of an operation fail. Failures of one operation add up; where several fit, the first one gives
    /// errno.
    void fail(std::string operation, ScriptedFailure failure = {});
    /// Lets an operation succeed again.
    void succeed(std::string_view operation);
    /// Lets every operation succeed again.
    void succeed();

    /// What happens at each call before it is answered, on the thread that asks, under no lock: it may change the
    /// machine, move the clock on, wait, or script the answer. None for an empty function. It does not run when a
    /// handle comes back.
    void onCall(Hook hook);
    /// What happens before each entry of a list is handed out, the entry being told as the argument:
    /// "listInterfaces en0". As `onCall` otherwise. The list that is being read stays as it was when it was asked for.
    void onEntry(Hook hook);

    /// Holds the completions of an operation back until `resume`.
    void hold(std::string operation);
    /// Delivers the completions that were held back, in their order, and holds no more of that operation back.
    void resume(std::string_view operation);
    /// How many completions of an operation are held back.
    [[nodiscard]] std::size_t held(std::string_view operation) const;

    // What a service calls, for a question that changes nothing too.

    /// Records a call and runs the hook; true, with errno set, if it is to fail. The operation is a literal. Allocates
    /// nothing while the arguments are short (15 bytes) and at most 4096 calls are kept.
    [[nodiscard]] bool fails(std::string_view operation, std::string arguments = {}) const;
    /// Records a call and answers with a copy of the value, which may be absent: the machine does not have it then. The
    /// result stays as it was unless it is available; a failure is `denied` or `unsupported` where errno says so.
    template <class T>
    [[nodiscard]] Availability answer(std::string_view operation, const std::optional<T>& value, T& result) const {
        if (fails(operation))
            return availabilityOf(errno);
        if (!value)
            return Availability::unsupported;
        result = *value;
        return Availability::available;
    }
    /// Records a call that cannot fail.
    void record(std::string_view operation, std::string arguments = {}) const;
    /// Runs the hook of entries.
    void entry(std::string_view operation, const std::string& entry);
    /// Runs a completion of an operation, or holds it back.
    void complete(std::string_view operation, std::function<void()> completion);

private:
    friend class ScriptedHandle;
    struct State;
    std::shared_ptr<State> state_;
};

/// A member of what a service gives out: from its making on the handle is out, with its end it came back.
class SENTREL_API ScriptedHandle {
public:
    /// Notes that a handle is given; `what` it stands for is how the record tells of it.
    ScriptedHandle(ScriptedCalls& calls, std::string what);
    ~ScriptedHandle();
    ScriptedHandle(const ScriptedHandle&) = delete;
    ScriptedHandle& operator=(const ScriptedHandle&) = delete;

    /// Records a call on the handle that cannot fail, with what it stands for as the argument; also where its service
    /// is gone.
    void record(std::string_view operation) const;

private:
    std::shared_ptr<ScriptedCalls::State> state_;
    std::string what_;
};

} // namespace sentrel::platform
