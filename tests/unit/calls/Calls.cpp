// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/unit/calls/Calls.h"

#include <cerrno>
#include <string_view>

Calls* currentCalls = nullptr;

Calls::Calls()
{
    currentCalls = this;
}

Calls::~Calls()
{
    currentCalls = nullptr;
}

std::string Calls::record(const std::function<void()>& action)
{
    transcript.clear();
    recording = true;
    try {
        action();
    } catch (...) {
        recording = false;
        throw;
    }
    recording = false;
    return transcript;
}

int Calls::sleepAsAsked(const timespec* request, timespec* /*remaining*/)
{
    currentCalls->advance(durationOf(*request));
    return 0;
}

void Calls::advance(std::chrono::nanoseconds time)
{
    systemTime += time;
    steadyTime += time;
}

std::chrono::nanoseconds durationOf(const timespec& time)
{
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

void Calls::add(const std::string& line)
{
    if (recording && Inside::depth == 1) {
        const int error = errno;
        before(line);
        transcript += line + '\n';
        errno = error;
    }
}

void Calls::addToLine(const std::string& text)
{
    if (recording && Inside::depth == 1) {
        transcript.back() = ' ';
        transcript += text + '\n';
    }
}

std::string Calls::pathOf(int descriptor) const
{
    const auto found = paths.find(descriptor);
    return found != paths.end() ? found->second : "descriptor " + std::to_string(descriptor);
}

std::string quoted(const char* bytes, std::size_t size)
{
    constexpr std::size_t limit = 300;
    if (size > limit) {
        return std::to_string(size) + " bytes";
    }
    std::string text = "\"";
    for (const char byte : std::string_view(bytes, size)) {
        if (byte == '\n') {
            text += "\\n";
        } else if (static_cast<unsigned char>(byte) < 32) {
            text += "\\" + std::to_string(byte);
        } else {
            text += byte;
        }
    }
    return text + '"';
}

void note(const std::string& line)
{
    if (currentCalls != nullptr) {
        currentCalls->add(line);
    }
}

bool isOfTheTested()
{
    return currentCalls != nullptr && Calls::Inside::depth == 1;
}
