// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "app/HardwareSwitch.h"

#include "gpio/GpioLine.h"

namespace {

constexpr std::int32_t switchLine = 17;

}  // namespace

Mode readHardwareSwitch(std::ostream& errorLog)
{
    GpioLine line;
    if (!line.init(switchLine, GpioLine::requestInput)) {
        errorLog << "Cannot init GPIO17" << std::endl;
        return noMode;
    }
    const std::int32_t level = line.readValue();
    if (level < 0) {
        errorLog << "Cannot read GPIO17 status" << std::endl;
        return noMode;
    }
    return level == 0 ? encoder : decoder;
}
