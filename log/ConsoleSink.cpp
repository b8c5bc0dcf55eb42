// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "log/ConsoleSink.h"

#include <ctime>
#include <iomanip>
#include <sstream>

#include "log/LogLevel.h"

namespace {

using std::chrono::system_clock;

/// Inserts the time in the format, followed by a space.
void insertTime(std::ostream& line, system_clock::time_point time, std::int32_t format)
{
    const std::int64_t microseconds =
        std::chrono::duration_cast<std::chrono::microseconds>(time.time_since_epoch()).count();
    const auto seconds = static_cast<std::time_t>(microseconds / 1'000'000);
    const std::int64_t milliseconds = microseconds % 1'000'000 / 1000;
    const std::tm& local = *std::localtime(&seconds);
    line << std::setfill('0');
    if (format == dateAndTime) {
        line << std::setw(4) << local.tm_year + 1900 << '-' << std::setw(2) << local.tm_mon + 1
             << '-' << std::setw(2) << local.tm_mday << ' ';
    } else {
        line << std::setw(2) << local.tm_mday << '-';
    }
    line << std::setw(2) << local.tm_hour << ':' << std::setw(2) << local.tm_min << ':'
         << std::setw(2) << local.tm_sec << '.' << std::setw(3) << milliseconds << ' ';
}

}  // namespace

void ConsoleSink::write(system_clock::time_point time, const std::string& text, int level)
{
    if (console == nullptr || text.empty()) {
        return;
    }
    if (format < levelOnly || format > dateAndTime) {
        *console << text;
    } else {
        std::ostringstream line;
        if (format != levelOnly) {
            insertTime(line, time, format);
        }
        line << levelName(level) << ": " << text;
        *console << line.str();
    }
    if (text.back() != '\n') {
        console->put(console->widen('\n'));
    }
    console->flush();
}
