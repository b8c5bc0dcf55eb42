// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <vector>

/// Records what the code under test does to its surroundings, whichever functions it does that
/// with. Functions.cpp defines functions of the C library in the test program, where they take
/// precedence over the shared library's (ld.so(8)). Each effect is a line:
///
///    look for PATH         opened or asked about, and not changed by that
///    read PATH "bytes"     one line for bytes that follow each other in the file
///    create PATH           opened, and it was missing
///    empty PATH            opened, and its contents are gone
///    write PATH "bytes"    as for reading; but a line for each write(2) under /sys, where a driver
///                          gets each of them
///    sync PATH             likewise its data alone, its file system, everything
///    rename PATH PATH
///    remove PATH
///    wait SECONDS
///
/// The name of the error follows a failure: "look for PATH: ENOENT". To seek, to close or to read
/// at the end of a file has no effect, nor has it to look again for what was just looked for. But
/// to close a descriptor that is not open is one, "close PATH: EBADF": another file could have its
/// number. What leaves a trace in a directory, such as a link or a mode, is no line: a test looks
/// at the directory for that.
///
/// The files are the real ones. The time is not: a wait takes none, and moves the clocks.
class Effects {
public:
    Effects() { current = this; }
    ~Effects() { current = nullptr; }
    Effects(const Effects&) = delete;
    Effects& operator=(const Effects&) = delete;

    /// Returns the effects of the action. Only in the meantime do the functions differ from the C
    /// library's.
    std::string record(const std::function<void()>& action);

    /// Called before each effect, with its verb and paths, or verb and seconds. Returns the error
    /// that it is to fail with, or 0.
    std::function<int(const std::string& effect)> before = [](const std::string& /*effect*/) {
        return 0;
    };

    /// As an error: the write succeeds, and writes nothing.
    static constexpr int writesNothing = -1;

    /// How a wait ends: with an error or 0, and with some of its time left.
    struct WaitEnd {
        int error = 0;
        std::chrono::nanoseconds left{};
    };

    /// Called for each wait. It has to move the clocks.
    std::function<WaitEnd(std::chrono::nanoseconds duration)> wait = [this](auto duration) {
        advance(duration);
        return WaitEnd{};
    };

    /// Moves both clocks.
    void advance(std::chrono::nanoseconds duration);

    /// The system clock, 7 ns after 2020-01-16 09:05:03.042 UTC at first, and the one that nobody
    /// sets.
    std::chrono::nanoseconds systemTime{1'579'165'503'042'000'007};
    std::chrono::nanoseconds steadyTime{1'000'000'007};

    /// What was opened by its path, whatever came of it.
    struct Opening {
        std::string path;
        int flags;  ///< as for open(2)
        int descriptor;
        std::string mode;  ///< as for fopen(3), if the file was opened by that
    };
    std::vector<Opening> openings;

    /// The paths that the descriptors were opened by.
    std::map<int, std::string> paths;

    /// What close(2) was called for.
    std::vector<int> closings;

    /// Called before a line is added: may add what happened meanwhile.
    std::function<void()> catchUp = [] {};

    /// Adds a line. The bytes, if there are any, may continue those of the line before, if that has
    /// the same effect.
    void add(const std::string& effect, const std::string& bytes = "", bool mayContinue = false);

    /// Whether the code under test is running, and not the recorder or a function of the test.
    static inline bool active = false;

    /// While one exists nothing is recorded, and the functions are the C library's.
    class Pause {
    public:
        Pause() : wasActive(active) { active = false; }
        ~Pause() { active = wasActive; }
        Pause(const Pause&) = delete;
        Pause& operator=(const Pause&) = delete;

        const bool wasActive;
    };

    /// The object that exists, or null.
    static inline Effects* current = nullptr;

private:
    struct Line {
        std::string effect;
        std::string bytes;
    };
    std::vector<Line> lines;
};

/// The bytes between quotes, with line ends and other control bytes escaped; the size only if there
/// are many.
std::string inQuotes(const std::string& bytes);
