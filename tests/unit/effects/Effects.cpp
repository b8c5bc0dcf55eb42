// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/unit/effects/Effects.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tests/unit/effects/Call.h"

Effects* currentEffects = nullptr;

Effects::Effects()
{
    currentEffects = this;
}

Effects::~Effects()
{
    currentEffects = nullptr;
}

std::string Effects::record(const std::function<void()>& action)
{
    struct Activation {
        Activation() { active = true; }
        ~Activation() { active = false; }
    };
    lines.clear();
    {
        const Activation activation;
        action();
    }
    catchUp();
    std::string text;
    for (const std::string& line : lines) {
        text += line + "\n";
    }
    return text;
}

void Effects::advance(std::chrono::nanoseconds duration)
{
    systemTime += duration;
    steadyTime += duration;
}

void Effects::add(const std::string& line)
{
    const Pause pause;
    if (!catchingUp) {
        catchingUp = true;
        catchUp();
        catchingUp = false;
    }
    const bool isRepeated = line.starts_with("look for ") && !lines.empty() && lines.back() == line;
    if (!isRepeated) {
        lines.push_back(line);
        lastEffect.clear();
    }
}

void Effects::addBytes(const std::string& effect, const std::string& bytes, bool mayContinue)
{
    const std::size_t count = lines.size();
    const std::string previous = mayContinue && lastEffect == effect ? lastBytes : "";
    add(effect + " " + inQuotes(bytes));
    const bool continues = !previous.empty() && lines.size() == count + 1;
    if (continues) {
        lines.pop_back();
        lines.back() = effect + " " + inQuotes(previous + bytes);
    }
    lastEffect = effect;
    lastBytes = continues ? previous + bytes : bytes;
}

namespace {

std::string nameOf(int error)
{
    const char* const name = strerrorname_np(error);
    return name != nullptr ? name : std::to_string(error);
}

/// Does something, unless it is to fail.
long attempt(const std::string& effect, const Call::Action& action)
{
    const int error = currentEffects->before(effect);
    if (error == 0) {
        return action();
    }
    errno = error;
    return error == Effects::writesNothing ? 0 : -1;
}

}  // namespace

long Call::perform(const std::string& effect, const Action& action) const
{
    if (!wasActive) {
        return action();
    }
    const long result = attempt(effect, action);
    const int error = errno;
    currentEffects->add(result < 0 ? effect + ": " + nameOf(error) : effect);
    errno = error;
    return result;
}

ssize_t Call::transfer(const char* verb, int descriptor, off_t offset, const char* bytes,
                       const Action& action) const
{
    if (!wasActive || !currentEffects->paths.contains(descriptor)) {
        return action();
    }
    const std::string effect = std::string(verb) + " " + pathOf(descriptor);
    const ssize_t count = attempt(effect, action);
    const int error = errno;
    if (count < 0) {
        currentEffects->add(effect + ": " + nameOf(error));
    } else if (count > 0) {
        const bool continues = offset < 0 || offset == currentEffects->lastEnd;
        currentEffects->addBytes(effect, {bytes, static_cast<std::size_t>(count)},
                                 continues && !effect.starts_with("write /sys/"));
        currentEffects->lastEnd = offset + count;
    }
    errno = error;
    return count;
}

int Call::open(const std::string& effect, const Effects::Opening& opening,
               const Action& action) const
{
    const auto descriptor = static_cast<int>(perform(effect, action));
    if (wasActive) {
        currentEffects->openings.push_back(opening);
        currentEffects->openings.back().descriptor = descriptor;
        if (descriptor >= 0) {
            currentEffects->paths[descriptor] = opening.path;
        }
    }
    return descriptor;
}

int Call::close(int descriptor, const Action& action) const
{
    const auto result = static_cast<int>(action());
    const int error = errno;
    if (wasActive) {
        currentEffects->closings.push_back(descriptor);
    }
    if (wasActive && descriptor >= 0 && result != 0) {
        currentEffects->add("close " + pathOf(descriptor) + ": " + nameOf(error));
    }
    errno = error;
    return result;
}

int Call::wait(std::chrono::nanoseconds duration, std::chrono::nanoseconds& left) const
{
    constexpr long long nanosecondsPerSecond = 1'000'000'000;
    std::array<char, 40> effect{};
    std::snprintf(effect.data(), effect.size(), "wait %lld.%09lld",
                  duration.count() / nanosecondsPerSecond, duration.count() % nanosecondsPerSecond);
    return static_cast<int>(perform(effect.data(), [&] {
        const Effects::WaitEnd end = currentEffects->wait(duration);
        left = end.left;
        if (end.error == 0) {
            return 0;
        }
        errno = end.error;
        return -1;
    }));
}

std::string Call::pathOf(int descriptor) const
{
    return wasActive ? currentEffects->paths[descriptor] : "";
}

std::string inQuotes(const std::string& bytes)
{
    constexpr std::size_t limit = 300;
    if (bytes.size() > limit) {
        return std::to_string(bytes.size()) + " bytes";
    }
    std::string text = "\"";
    for (const char byte : bytes) {
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
