// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/unit/effects/Effects.h"

#include <utility>

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
    for (const Line& line : lines) {
        text += line.effect + (line.bytes.empty() ? "" : " " + inQuotes(line.bytes)) + "\n";
    }
    return text;
}

void Effects::advance(std::chrono::nanoseconds duration)
{
    systemTime += duration;
    steadyTime += duration;
}

void Effects::add(const std::string& effect, const std::string& bytes, bool mayContinue)
{
    const Pause pause;
    const auto meanwhile = std::exchange(catchUp, [] {});
    meanwhile();
    catchUp = meanwhile;
    if (lines.empty() || lines.back().effect != effect) {
        lines.push_back({effect, bytes});
    } else if (mayContinue) {
        lines.back().bytes += bytes;
    } else if (!effect.starts_with("look for ")) {
        lines.push_back({effect, bytes});
    }
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
