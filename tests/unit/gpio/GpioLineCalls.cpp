// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/unit/gpio/GpioLineCalls.h"

std::string GpioLineCalls::callsOf(const std::function<bool()>& operation)
{
    bool result = false;
    const std::string transcript = calls.record([&] { result = operation(); });
    return transcript + (result ? "true\n" : "false\n");
}

std::string times(int count, const std::string& text)
{
    std::string all;
    for (int i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

std::string attributeWritten(const std::string& attribute, const std::string& text)
{
    const std::string path = "/sys/class/gpio/gpio17/" + attribute;
    return "fopen " + path + " w\nwrite " + path + " \"" + text + "\"\nfclose " + path + "\n";
}
