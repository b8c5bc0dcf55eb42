// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cerrno>
#include <chrono>
#include <cstring>
#include <ctime>
#include <functional>
#include <map>
#include <string>
#include <vector>

/// Records the calls to the C library that the code under test makes, and those that the C++
/// library makes for it. The other files of this directory define the functions in the test
/// program, where they take precedence over the shared library's (ld.so(8)).
///
/// The files are the real ones. The time is not, while an object exists: it stands still, and a
/// sleep moves the clocks and does not wait.
class Calls {
public:
    Calls();
    virtual ~Calls();

    Calls(const Calls&) = delete;
    Calls& operator=(const Calls&) = delete;

    /// Returns the calls that the action makes, one line for each: its name, the path, the other
    /// arguments and, after a failure, the name of the error.
    std::string record(const std::function<void()>& action);

    /// Is called before each call that is recorded, with its line. It may throw.
    std::function<void(const std::string& line)> before = [](const std::string& /*line*/) {};

    /// What each nanosleep(2) asked for, recorded or not.
    std::vector<timespec> sleeps;

    /// Sleeps for nanosleep(2), or does something else and returns the result.
    std::function<int(const timespec* request, timespec* remaining)> sleep = sleepAsAsked;

    /// Moves the clocks by the time that was asked for.
    static int sleepAsAsked(const timespec* request, timespec* remaining);

    /// The system clock, 7 ns after 2020-01-16 09:05:03.042 UTC at first.
    std::chrono::nanoseconds systemTime{1'579'165'503'042'000'007};

    /// The clock that nobody sets.
    std::chrono::nanoseconds steadyTime{1'000'000'007};

    void advance(std::chrono::nanoseconds time);

    /// The error that usleep(3) fails with after half of its time; 0 for none.
    int usleepError = 0;

    /// Whether sleeps and clocks are the kernel's all the same.
    bool realTime = false;

    // What follows is for the functions that take the place of the C library's.

    /// While one exists, the test program is inside such a function: the calls that it makes there
    /// are not those of the code under test.
    class Inside {
    public:
        Inside() { ++depth; }
        ~Inside() { --depth; }
        Inside(const Inside&) = delete;
        Inside& operator=(const Inside&) = delete;

        static inline int depth = 0;
    };

    void add(const std::string& line);
    void addToLine(const std::string& text);

    /// Is called before open(2) by the code under test, recorded or not. Returns the error that the
    /// call is to fail with, or 0.
    virtual int opening(const char* /*path*/, int /*flags*/) { return 0; }

    /// Is called after open(2), with its result.
    virtual void opened(const char* /*path*/, int /*descriptor*/) {}

    /// Are called before read(2), write(2) and fsync(2), recorded or not; as opening.
    virtual int reading(int /*descriptor*/) { return 0; }
    virtual int writing(int /*descriptor*/) { return 0; }
    virtual int syncing(int /*descriptor*/) { return 0; }

    /// In place of the error that write(2) is to fail with: it succeeds and writes nothing.
    static constexpr int writesNothing = -1;

    void isOpen(const char* path, int descriptor) { paths[descriptor] = path; }
    void isClosed(int descriptor) { paths.erase(descriptor); }
    [[nodiscard]] std::string pathOf(int descriptor) const;

private:
    std::map<int, std::string> paths;  ///< by descriptor
    std::string transcript;
    bool recording = false;
};

/// The object that exists, or null.
extern Calls* currentCalls;

/// Records the call, if there is an object that does.
void note(const std::string& line);

/// Passes the result of a call on, after it was noted if it is a failure.
template <typename Result>
Result noted(Result result, bool failed)
{
    if (currentCalls != nullptr && failed) {
        const int error = errno;
        const char* const name = strerrorname_np(error);
        currentCalls->addToLine(std::string("= ") + (name != nullptr ? name : "failure"));
        errno = error;
    }
    return result;
}

/// Whether the code under test makes the call, not the recorder or a test's hook.
bool isOfTheTested();

std::chrono::nanoseconds durationOf(const timespec& time);

/// The bytes between quotes, with line ends and other control bytes escaped; the size only if there
/// are many.
std::string quoted(const char* bytes, std::size_t size);
