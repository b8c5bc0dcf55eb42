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

#include "gpio/GpioFile.h"

namespace {

using std::chrono::nanoseconds;
using std::chrono::system_clock;

constexpr int openAttempts = 11;
constexpr useconds_t openWaitMicroseconds = 20'000;

/// Sleeps on when a signal interrupts; any other failure ends the sleep early.
void sleepFor(nanoseconds duration)
{
    constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;
    timespec remaining{};
    remaining.tv_sec = duration.count() / nanosecondsPerSecond;
    remaining.tv_nsec = duration.count() % nanosecondsPerSecond;
    while (nanosleep(&remaining, &remaining) != 0 && errno == EINTR) {
    }
}

std::int32_t complementOfLowestBit(std::int32_t level)
{
    return ~level & 1;
}

/// Exports the line unless its folder is there.
bool exportIfAbsent(std::int32_t lineNumber)
{
    DIR* const folder = opendir((gpioRoot + gpioLineFolder(lineNumber)).c_str());
    if (folder == nullptr) {
        return writeGpioFile("export", std::to_string(lineNumber));
    }
    closedir(folder);
    return true;
}

std::string directionOf(std::int32_t lineNumber)
{
    std::ifstream file(gpioRoot + gpioLineFolder(lineNumber) + "/direction");
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
    const std::string valueFile = gpioRoot + gpioLineFolder(lineNumber) + "/value";
    for (int attempt = 0; attempt < openAttempts; ++attempt) {
        // The kernel, and whoever sets the permissions, may need a while after an export.
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
        mode = directionRequest >= 0 ? 1 : -1;
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
    return write(level);
}

bool GpioLine::writeLevelAndToggle(std::int32_t& level)
{
    if (!write(level)) {
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
    if (!write(level)) {
        return false;
    }
    if (duration > nanoseconds::zero()) {
        sleepFor(duration);
    }
    return write(complementOfLowestBit(level));
}

bool GpioLine::playSequence(std::int32_t level, std::span<const nanoseconds> durations)
{
    auto deadline = std::chrono::time_point_cast<nanoseconds>(system_clock::now());
    for (const nanoseconds duration : durations) {
        if (!write(level)) {
            return false;
        }
        deadline += duration;
        for (auto now = system_clock::now(); now < deadline; now = system_clock::now()) {
            sleepFor(deadline - now);
        }
        level = level == 0 ? 1 : 0;
    }
    return true;
}

bool GpioLine::setDirection(std::int32_t lineNumber, std::int32_t directionRequest)
{
    if (directionRequest < 0) {
        if (!writeGpioAttribute(lineNumber, "direction", "in")) {
            return false;
        }
        value = readLevel();
        return true;
    }
    if (directionRequest > 1 && directionOf(lineNumber) == "out") {
        value = readLevel();
        return true;
    }
    // "low" and "high" make the line an output and set its level in one step, without a glitch;
    // "out" would not.
    const bool high = directionRequest != 0;
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
        // The line is given up in any case.
        static_cast<void>(writeGpioFile("unexport", std::to_string(number)));
    }
    close();
}

void GpioLine::close()
{
    // Only 0 is left alone; close(2) refuses -1 without harm.
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

bool GpioLine::write(std::int32_t level)
{
    value = level != 0 ? 1 : 0;
    return ::write(fd, value != 0 ? "1" : "0", 1) == 1;
}
