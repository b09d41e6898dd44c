// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/Screen.h"

#include "tools/terminal/TextWidth.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

// Without the macros of short names, such as "move" and "erase".
#define NCURSES_NOMACROS
#include <curses.h>
// Of <term.h>, which has macros by the names of capabilities, such as "columns" and "tone".
extern "C" {
struct term;
extern term* cur_term;
int setupterm(const char* kind, int descriptor, int* error);
int del_curterm(term* terminal);
}

namespace tool {

namespace {

constexpr int faults[] = {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGQUIT, SIGSEGV};

// What a handler of a fault restores the terminal with: calls that are allowed there, on what was prepared before.
struct Rescue {
    termios modes{};
    std::array<char, 256> text{}; // ends the other screen, shows the cursor
    std::size_t size = 0;
};
Rescue rescue;

// What the terminal does something with, by terminfo's name; null if it does not know that.
const char* capability(const char* name) {
    const char* const text = tigetstr(name);
    return reinterpret_cast<std::intptr_t>(text) == -1 ? nullptr : text;
}

void appendToRescue(const char* text) {
    const std::size_t size = std::strlen(text);
    if (rescue.size + size > rescue.text.size())
        return;
    std::memcpy(rescue.text.data() + rescue.size, text, size);
    rescue.size += size;
}

// The handler was reset when it was called, so that the signal then does what it does.
void rescueTerminal(int signal) {
    const ssize_t written = write(STDOUT_FILENO, rescue.text.data(), rescue.size);
    static_cast<void>(written); // there is nothing left to try
    tcsetattr(STDIN_FILENO, TCSANOW, &rescue.modes);
    raise(signal);
}

void handleFaults(bool isTaken) {
    struct sigaction action = {};
    action.sa_handler = isTaken ? rescueTerminal : SIG_DFL;
    action.sa_flags = isTaken ? static_cast<int>(SA_RESETHAND) : 0;
    for (const int fault : faults)
        sigaction(fault, &action, nullptr);
}

bool isSet(const char* variable) {
    const char* const value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

// Pairs of colours by tone, on the terminal's own background.
short colorOf(Tone tone) {
    switch (tone) {
    case Tone::accent:
        return COLOR_CYAN;
    case Tone::good:
        return COLOR_GREEN;
    case Tone::warn:
        return COLOR_YELLOW;
    case Tone::bad:
        return COLOR_RED;
    case Tone::plain:
    case Tone::strong:
    case Tone::faint:
        break;
    }
    return -1;
}

constexpr Tone coloredTones[] = {Tone::accent, Tone::good, Tone::warn, Tone::bad};

int pairOf(Tone tone) {
    return static_cast<int>(tone) + 1;
}

} // namespace

std::unique_ptr<Screen> Screen::take(std::string& reason) {
    if (isatty(STDIN_FILENO) == 0 || isatty(STDOUT_FILENO) == 0) {
        reason = "not on a terminal";
        return nullptr;
    }
    tcgetattr(STDIN_FILENO, &rescue.modes);
    const char* const kind = std::getenv("TERM");
    int error = 0;
    // A kind that cannot place the cursor is as good as none. Asked first, since newterm keeps memory if it fails.
    const bool isKnown = setupterm(kind, STDOUT_FILENO, &error) == OK;
    const bool isFit = isKnown && capability("cup") != nullptr;
    if (isKnown)
        del_curterm(cur_term);
    use_tioctl(TRUE); // COLUMNS and LINES may be another terminal's: they count where this one has no size
    if (!isFit || newterm(kind, stdout, stdin) == nullptr) {
        reason = std::string("terminals of the kind '") + (kind != nullptr ? kind : "") + "' cannot show the live view";
        return nullptr;
    }
    rescue.size = 0;
    for (const char* const name : {"sgr0", "rmcup", "cnorm"})
        if (const char* const text = capability(name))
            appendToRescue(text);
    return std::unique_ptr<Screen>(new Screen);
}

Screen::Screen() : isUnicode_(terminal::isUnicodeLocale()) {
    handleFaults(true);
    cbreak();
    noecho();
    nodelay(stdscr, TRUE);
    keypad(stdscr, TRUE);
    set_escdelay(25);
    curs_set(0);
    hasColors_ = !isSet("NO_COLOR") && has_colors() && start_color() == OK && use_default_colors() == OK;
    if (hasColors_)
        for (const Tone tone : coloredTones)
            init_pair(static_cast<short>(pairOf(tone)), colorOf(tone), -1);
}

Screen::~Screen() {
    endwin();
    handleFaults(false);
}

std::size_t Screen::columns() const {
    return static_cast<std::size_t>(std::max(getmaxx(stdscr), 0));
}

std::size_t Screen::rows() const {
    return static_cast<std::size_t>(std::max(getmaxy(stdscr), 0));
}

void Screen::show(const std::vector<Line>& lines) {
    werase(stdscr);
    int row = 0;
    for (const Line& line : lines) {
        wmove(stdscr, row++, 0);
        for (const Span& span : line) {
            attr_t attributes = span.tone == Tone::strong ? A_BOLD : span.tone == Tone::faint ? A_DIM : A_NORMAL;
            if (hasColors_ && colorOf(span.tone) >= 0)
                attributes |= static_cast<attr_t>(COLOR_PAIR(pairOf(span.tone)));
            wattrset(stdscr, static_cast<int>(attributes));
            waddstr(stdscr, span.text.c_str());
        }
    }
    wattrset(stdscr, A_NORMAL);
    wrefresh(stdscr);
}

int Screen::key() {
    int key = wgetch(stdscr);
    while (key == KEY_RESIZE) // what resizeterm leaves behind; nobody pressed it
        key = wgetch(stdscr);
    return key == ERR ? -1 : key;
}

void Screen::resize() {
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row > 0 && size.ws_col > 0)
        resizeterm(size.ws_row, size.ws_col);
    clearok(stdscr, TRUE);
}

void Screen::leave() {
    endwin();
}

void Screen::enter() {
    if (!isendwin()) // stopped without a word before: the next call sets the modes anew
        endwin();
    wrefresh(stdscr);
    resize();
}

} // namespace tool
