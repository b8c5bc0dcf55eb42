// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "gpio/GpioLine.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <ctime>
#include <fstream>
#include <string>

#include "gpio/GpioFile.h"

namespace {

using std::chrono::nanoseconds;

constexpr int openAttempts = 11;
constexpr useconds_t openWaitMicroseconds = 20'000;

/// Resumes after a signal (EINTR). Any other failure ends the sleep early.
void sleepFor(nanoseconds duration)
{
    constexpr std::chrono::seconds second(1);
    timespec remaining{};
    remaining.tv_sec = duration / second;
    // Less than a second fits any integer.
    remaining.tv_nsec = static_cast<long>((duration % second).count());
    while (nanosleep(&remaining, &remaining) != 0 && errno == EINTR) {
    }
}

/// The system clock in nanoseconds, which std::chrono's does not count in every C++ library.
std::chrono::sys_time<nanoseconds> systemTime()
{
    timespec time{};
    static_cast<void>(clock_gettime(CLOCK_REALTIME, &time));  // always there
    return std::chrono::sys_time<nanoseconds>(std::chrono::seconds(time.tv_sec) +
                                              nanoseconds(time.tv_nsec));
}

std::int32_t complementOfLowestBit(std::int32_t level)
{
    return ~level & 1;
}

/// Exports the line unless its directory exists.
bool exportIfAbsent(std::int32_t lineNumber)
{
    DIR* const directory = opendir((gpioRoot + gpioLineDirectory(lineNumber)).c_str());
    if (directory == nullptr) {
        return writeGpioFile("export", std::to_string(lineNumber));
    }
    closedir(directory);
    return true;
}

std::string directionOf(std::int32_t lineNumber)
{
    std::ifstream file(gpioRoot + gpioLineDirectory(lineNumber) + "/direction");
    std::string word;
    file >> word;
    return word;
}

}  // namespace

GpioLine::~GpioLine()
{
    if (fd != 0) {
        ::close(fd);
    }
}

bool GpioLine::init(std::int32_t lineNumber, std::int32_t directionRequest)
{
    if (number == lineNumber && fd >= 0) {
        return true;
    }
    close();
    if (!exportIfAbsent(lineNumber)) {
        return false;
    }
    const std::string valueFile = gpioRoot + gpioLineDirectory(lineNumber) + "/value";
    for (int attempt = 0; attempt < openAttempts; ++attempt) {
        // After an export the kernel, and what sets the permissions, may need some time.
        usleep(openWaitMicroseconds);
        const int opened = ::open(valueFile.c_str(), O_RDWR);
        if (opened < 0) {
            continue;
        }
        fd = opened;
        number = lineNumber;
        if (!setDirection(lineNumber, directionRequest)) {
            close();
            return false;
        }
        mode = directionRequest <= requestInput ? -1 : 1;
        return true;
    }
    return false;
}

std::int32_t GpioLine::readValue()
{
    const std::int32_t level = readLevel();
    if (level >= 0) {
        value = level;
    }
    return level;
}

bool GpioLine::writeLevel(std::int32_t level)
{
    value = level != 0 ? 1 : 0;
    return ::write(fd, value != 0 ? "1" : "0", 1) == 1;
}

bool GpioLine::writeLevelAndToggle(std::int32_t& level)
{
    if (!writeLevel(level)) {
        return false;
    }
    level = complementOfLowestBit(level);
    return true;
}

bool GpioLine::pulse(std::int32_t level)
{
    return pulseFor(level, nanoseconds::zero());
}

bool GpioLine::pulseFor(std::int32_t level, nanoseconds duration)
{
    if (!writeLevel(level)) {
        return false;
    }
    if (duration > nanoseconds::zero()) {
        sleepFor(duration);
    }
    return writeLevel(complementOfLowestBit(level));
}

bool GpioLine::playSequence(std::int32_t level, std::span<const nanoseconds> durations)
{
    auto deadline = systemTime();
    for (const nanoseconds duration : durations) {
        if (!writeLevel(level)) {
            return false;
        }
        deadline += duration;
        for (auto now = systemTime(); now < deadline; now = systemTime()) {
            sleepFor(deadline - now);
        }
        level = level == 0 ? 1 : 0;
    }
    return true;
}

bool GpioLine::setDirection(std::int32_t lineNumber, std::int32_t directionRequest)
{
    if (directionRequest <= requestInput) {
        if (!writeGpioAttribute(lineNumber, "direction", "in")) {
            return false;
        }
        value = readLevel();
        return true;
    }
    if (directionRequest >= requestKeep && directionOf(lineNumber) == "out") {
        value = readLevel();
        return true;
    }
    // "low" and "high" set direction and level in one step, without a glitch; "out" always starts
    // low (the kernel's Documentation/admin-guide/gpio/sysfs.rst).
    const bool high = directionRequest != requestLow;
    if (!writeGpioAttribute(lineNumber, "direction", high ? "high" : "low")) {
        return false;
    }
    value = high ? 1 : 0;
    return true;
}

bool GpioLine::setEdge(std::int32_t edgeRequest)
{
    const char* edge = "both";
    if (edgeRequest < 0) {
        edge = "falling";
    } else if (edgeRequest > 0) {
        edge = "rising";
    }
    return writeGpioAttribute(number, "edge", edge);
}

bool GpioLine::disableEdge()
{
    return writeGpioAttribute(number, "edge", "none");
}

void GpioLine::release()
{
    if (number >= 0) {
        // The line is closed even if this fails.
        static_cast<void>(writeGpioFile("unexport", std::to_string(number)));
    }
    close();
}

void GpioLine::close()
{
    // Only 0 is exempt; close(2) of -1 fails harmlessly.
    if (fd == 0) {
        return;
    }
    ::close(fd);
    mode = 0;
    fd = -1;
    number = -1;
}

std::int32_t GpioLine::readLevel()
{
    std::array<char, 2> bytes{};
    lseek(fd, 0, SEEK_SET);
    if (read(fd, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
        return -1;
    }
    return bytes[0] == '1' ? 1 : 0;
}
