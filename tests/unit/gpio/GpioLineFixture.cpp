// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/unit/gpio/GpioLineFixture.h"

#include <fcntl.h>

#include <algorithm>
#include <filesystem>

#include "tests/appliance/Files.h"

namespace fs = std::filesystem;

namespace {

std::string lastLine(const char* result, int value, int mode)
{
    return std::string(result) + ", value " + std::to_string(value) + ", mode " +
           std::to_string(mode) + "\n";
}

}  // namespace

std::string directionWritten(const std::string& word)
{
    return "empty gpio17/direction\nwrite gpio17/direction \"" + word + "\"\n";
}

std::string times(int count, const std::string& text)
{
    std::string all;
    for (int i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

bool isOpen(int descriptor)
{
    return fcntl(descriptor, F_GETFD) != -1;
}

void replaceByDirectory(const std::string& path)
{
    fs::remove_all(path);
    fs::create_directory(path);
}

GpioLineFixture::GpioLineFixture()
{
    emptyDirectory(root);
    writeFile(root + "export", "");
    writeFile(root + "unexport", "");
    makeLine(17);
}

void GpioLineFixture::makeLine(std::int32_t number, const std::string& value)
{
    const std::string directory = root + "gpio" + std::to_string(number);
    fs::create_directories(directory);
    writeFile(directory + "/value", value);
    writeFile(directory + "/direction", "in\n");
}

void GpioLineFixture::openOutput()
{
    line.close();
    writeFile(valueFile, "");
    effects.record([this] { ASSERT_TRUE(line.init(17, GpioLine::requestLow)); });
}

std::string GpioLineFixture::effectsOf(const std::function<bool()>& operation)
{
    bool result = false;
    std::string text = effects.record([&] { result = operation(); });
    for (std::size_t at = 0; (at = text.find(root, at)) != std::string::npos;) {
        text.erase(at, root.size());
    }
    return text + (result ? succeeds(line.lastValue(), line.currentMode())
                          : fails(line.lastValue(), line.currentMode()));
}

std::string GpioLineFixture::succeeds(int value, int mode)
{
    return lastLine("true", value, mode);
}

std::string GpioLineFixture::fails(int value, int mode)
{
    return lastLine("false", value, mode);
}

int GpioLineFixture::descriptor() const
{
    const auto last =
        std::find_if(effects.openings.rbegin(), effects.openings.rend(),
                     [](const auto& opening) { return opening.path.ends_with("/value"); });
    return last == effects.openings.rend() ? -1 : last->descriptor;
}
