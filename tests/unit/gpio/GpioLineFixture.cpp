// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/unit/gpio/GpioLineFixture.h"

#include <fcntl.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <filesystem>

#include "tests/appliance/Files.h"

namespace fs = std::filesystem;

bool isOpen(int descriptor)
{
    return fcntl(descriptor, F_GETFD) != -1;
}

void replaceByDirectory(const std::string& path)
{
    fs::remove_all(path);
    fs::create_directory(path);
}

FileSizeLimit::FileSizeLimit(rlim_t bytes) : handlerBefore(std::signal(SIGXFSZ, SIG_IGN))
{
    EXPECT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit limit{bytes, before.rlim_max};
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
}

FileSizeLimit::~FileSizeLimit()
{
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handlerBefore);
}

Watch::Watch(const std::vector<std::string>& directories) : fd(inotify_init1(IN_NONBLOCK))
{
    for (const std::string& directory : directories) {
        EXPECT_GE(inotify_add_watch(fd, directory.c_str(), IN_ALL_EVENTS), 0);
    }
}

Watch::~Watch()
{
    close(fd);
}

bool Watch::sawAccess() const
{
    alignas(inotify_event) std::array<char, 4096> events;
    return read(fd, events.data(), events.size()) > 0;
}

GpioLineFixture::GpioLineFixture()
{
    // A line behaves differently with descriptor 0, so no line may get it by chance.
    if (!isOpen(STDIN_FILENO)) {
        EXPECT_EQ(::open("/dev/null", O_RDONLY), STDIN_FILENO);
    }
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

void GpioLineFixture::openOutput(GpioLine& line)
{
    writeFile(valueFile, "");
    ASSERT_TRUE(line.init(17, 0));
}

void GpioLineFixture::openRefusingOutput(GpioLine& line)
{
    fs::remove(valueFile);
    fs::create_symlink("/dev/full", valueFile);
    ASSERT_TRUE(line.init(17, 0));
}
