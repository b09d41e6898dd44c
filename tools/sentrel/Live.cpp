// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/Live.h"

#include "tools/sentrel/Screen.h"
#include "tools/sentrel/Show.h"

#include <SentrelKit/platform/DispatchQueue.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace tool {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds interval(1);

// Signals as bytes in a pipe, so that they are dealt with between two draws and never amidst one.
class Signals {
public:
    Signals() {
        if (pipe2(pipe_, O_CLOEXEC | O_NONBLOCK) != 0)
            throw std::system_error(errno, std::generic_category(), "pipe");
        writeEnd = pipe_[1];
        for (const int signal : handled)
            handle(signal);
    }
    ~Signals() {
        for (const int signal : handled)
            std::signal(signal, SIG_DFL);
        ::close(pipe_[0]);
        ::close(pipe_[1]);
    }
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;

    // Readable while a signal came.
    [[nodiscard]] int descriptor() const { return pipe_[0]; }

    // The next signal; 0 if there is none.
    [[nodiscard]] int next() const {
        unsigned char signal = 0;
        return ::read(pipe_[0], &signal, 1) == 1 ? signal : 0;
    }

    // Stops the process, as Ctrl-Z does without a handler, until it is continued.
    static void stop() {
        std::signal(SIGTSTP, SIG_DFL);
        raise(SIGTSTP);
        handle(SIGTSTP);
    }

private:
    static constexpr int handled[] = {SIGINT, SIGTERM, SIGHUP, SIGWINCH, SIGTSTP, SIGCONT};
    static inline int writeEnd = -1;

    static void handle(int signal) {
        struct sigaction action = {};
        action.sa_handler = note;
        action.sa_flags = SA_RESTART;
        sigaction(signal, &action, nullptr);
    }

    static void note(int signal) {
        const int error = errno;
        const auto byte = static_cast<unsigned char>(signal);
        const ssize_t written = ::write(writeEnd, &byte, 1); // a full pipe holds enough of them
        static_cast<void>(written);
        errno = error;
    }

    int pipe_[2] = {-1, -1};
};

// What the user and the system ask of the view.
class Loop {
public:
    Loop(Screen& screen, const Signals& signals) : screen_(screen), signals_(signals) {}

    // The signal that ended it; 0 for a key.
    int run(sentrel::System& system) {
        Onlooker onlooker(system);
        Clock::time_point next = Clock::now();
        while (!isOver_) {
            if (const Clock::time_point now = Clock::now(); now >= next) {
                onlooker.sample();
                // After a time without samples, as while the process was stopped, it goes on from now.
                next = std::max(next + interval, now);
            }
            draw(onlooker.glance());
            wait(next);
        }
        return signal_;
    }

private:
    void draw(const Glance& glance) {
        view_.columns = screen_.columns();
        view_.rows = screen_.rows();
        view_.isUnicode = screen_.isUnicode();
        screen_.show(layOut(glance, view_));
    }

    // Until something is to be drawn anew.
    void wait(Clock::time_point until) {
        bool isNews = false;
        while (!isNews && !isOver_) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now()).count();
            if (left <= 0)
                return;
            pollfd sources[] = {{STDIN_FILENO, POLLIN, 0},
                                {signals_.descriptor(), POLLIN, 0},
                                {sentrel::dispatch::mainDescriptor(), POLLIN, 0}};
            if (poll(sources, std::size(sources), static_cast<int>(left)) < 0 && errno != EINTR)
                throw std::system_error(errno, std::generic_category(), "poll");
            if ((sources[2].revents & POLLIN) != 0)
                sentrel::dispatch::serveMain();
            while (const int signal = signals_.next()) {
                take(signal);
                isNews = true;
            }
            while (const std::optional<int> key = pressed(sources[0].revents)) {
                press(*key);
                isNews = true;
            }
        }
    }

    // A key that was pressed, and the end if no key can come any more.
    std::optional<int> pressed(short events) {
        if (isOver_)
            return std::nullopt;
        const int key = screen_.key();
        if (key >= 0)
            return key;
        if ((events & (POLLHUP | POLLERR | POLLNVAL)) != 0)
            isOver_ = true;
        return std::nullopt;
    }

    void press(int key) {
        switch (key) {
        case 'q':
        case 'Q':
            isOver_ = true;
            break;
        case 'c':
            view_.order = Order::processor;
            break;
        case 'm':
            view_.order = Order::memory;
            break;
        case 'n':
            view_.order = Order::name;
            break;
        case 'h':
        case '?':
            view_.isHelp = !view_.isHelp;
            break;
        default:
            view_.isHelp = false;
            break;
        }
    }

    void take(int signal) {
        switch (signal) {
        case SIGWINCH:
            screen_.resize();
            break;
        case SIGTSTP:
            screen_.leave();
            Signals::stop();
            break;
        case SIGCONT:
            screen_.enter();
            break;
        default: // what it is ended by; Ctrl-C is the key for that
            isOver_ = true;
            signal_ = signal == SIGINT ? 0 : signal;
            break;
        }
    }

    Screen& screen_;
    const Signals& signals_;
    View view_;
    bool isOver_ = false;
    int signal_ = 0;
};

int showOnce(const std::string& reason) {
    std::fprintf(stderr, "sentrel: %s: the figures once, as of \"sentrel show\"\n", reason.c_str());
    std::string unknown;
    return show({*Selection::of({}, {}, unknown)});
}

} // namespace

int live() {
    std::setlocale(LC_CTYPE, "");
    sentrel::System& system = sentrel::System::shared(); // may take a while: before the terminal is another
    int signal = 0;
    try {
        std::string reason;
        const std::unique_ptr<Screen> screen = Screen::take(reason);
        if (!screen)
            return showOnce(reason);
        const Signals signals; // after the screen, whose library has handlers of its own
        signal = Loop(*screen, signals).run(system);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "sentrel: %s\n", error.what());
        return 1;
    }
    if (signal != 0)
        raise(signal);
    return 0;
}

} // namespace tool
