// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "gpio/GpioFile.h"

#include <fstream>

std::string gpioLineDirectory(std::int32_t lineNumber)
{
    return "gpio" + std::to_string(lineNumber);
}

bool writeGpioFile(const std::string& name, const std::string& text)
{
    std::ofstream file(gpioRoot + name);
    if (!file.is_open()) {
        return false;
    }
    file << text;
    return file.good();
}

bool writeGpioAttribute(std::int32_t lineNumber, const std::string& attribute,
                        const std::string& text)
{
    return writeGpioFile(gpioLineDirectory(lineNumber) + "/" + attribute, text);
}
