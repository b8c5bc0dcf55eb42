// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/appliance/Appliance.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <system_error>

#include "tests/appliance/PrivateRoot.h"

namespace fs = std::filesystem;

namespace {

constexpr unsigned timeLimitSeconds = 60;

[[noreturn]] void giveUp(const char* what)
{
    std::perror(what);
    std::abort();
}

/// A pipe that receives an output of the program: no limit of the size of files applies to it.
class Capture {
public:
    Capture()
    {
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            giveUp("pipe2");
        }
    }
    ~Capture()
    {
        close(ends[0]);
        close(ends[1]);
    }
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

    /// To be called in the new process: makes the end for writing its descriptor of this number.
    void become(int descriptor) const { dup2(ends[1], descriptor); }

    /// To be called when the program has ended.
    [[nodiscard]] std::string text() const
    {
        std::string text(65'536, '\0');  // a pipe holds no more
        fcntl(ends[0], F_SETFL, O_NONBLOCK);
        const ssize_t size = read(ends[0], text.data(), text.size());
        text.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
        return text;
    }

private:
    std::array<int, 2> ends{};
};

/// The command of an emulator, if the tests were built for another processor. Its last word is an
/// option that takes argv[0]; the program follows.
std::vector<std::string> emulatorWords()
{
    std::vector<std::string> words;
    if (const char* wrapper = std::getenv("SWITCH_QUERIER_WRAPPER")) {
        std::istringstream text(wrapper);
        for (std::string word; text >> word;) {
            words.push_back(word);
        }
    }
    return words;
}

[[noreturn]] void becomeProgramUnderTest(const std::vector<std::string>& arguments,
                                         const RunOptions& options)
{
    const std::string program = std::string(executableDirectory()) + "/switch-querier";
    std::vector<std::string> words = options.wrapper;
    std::string first = program;
    if (!words.empty()) {
        first = words.front();
        words.push_back(program);
    } else if (words = emulatorWords(); !words.empty()) {
        first = words.front();
        words.insert(words.end(), {options.name, program});
    } else {
        words.push_back(options.name);
    }
    words.insert(words.end(), arguments.begin(), arguments.end());
    alarm(timeLimitSeconds);
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    if (options.prepare) {
        options.prepare();
    }
    becomeProgram(first, words);
}

/// Creates the files of the line all at once, as the kernel does.
void makeLine(const std::string& value)
{
    const std::string unfinished = "/sys/class/unfinished";
    fs::create_directories(unfinished);
    writeFile(unfinished + "/direction", "in\n");
    writeFile(unfinished + "/value", value);
    fs::create_directories(Appliance::gpioDirectory);
    fs::rename(unfinished, std::string(Appliance::gpioDirectory) + "/gpio17");
}

/// A test may have made the directory of the line unreadable.
void removeSwitch()
{
    std::error_code none;
    fs::permissions(std::string(Appliance::gpioDirectory) + "/gpio17", fs::perms::owner_all, none);
    fs::remove_all(Appliance::gpioDirectory);
}

}  // namespace

Appliance::Appliance()
{
    emptyDirectory("/config");
    emptyDirectory(directory);
    setSwitch(Switch::notThere);
}

Appliance::~Appliance()
{
    stopExporter();
}

void Appliance::stopExporter()
{
    stopped = true;
    if (exporter.joinable()) {
        exporter.join();
    }
}

void Appliance::setSwitch(Switch state)
{
    stopExporter();
    removeSwitch();
    switch (state) {
    case Switch::low:
        makeLine("0\n");
        break;
    case Switch::high:
        makeLine("1\n");
        break;
    case Switch::unreadable:
        makeLine("1");
        break;
    case Switch::notThere:
        break;
    }
}

void Appliance::setSwitchOnExport(int level, std::chrono::milliseconds delay)
{
    stopExporter();
    removeSwitch();
    fs::create_directories(gpioDirectory);
    const std::string exportFile = std::string(gpioDirectory) + "/export";
    writeFile(exportFile, "");
    stopped = false;
    exporter = std::thread([this, exportFile, delay, level] {
        while (readFile(exportFile) != "17") {
            if (stopped) {
                return;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        std::this_thread::sleep_for(delay);
        makeLine(std::to_string(level) + "\n");
    });
}

void Appliance::setMarker(const std::string& name)
{
    writeFile("/config/" + name, "");
}

Tree Appliance::files()
{
    Tree tree;
    for (const char* const path : {directory, "/config", "/sys/class"}) {
        addTo(tree, path);
    }
    return tree;
}

RunResult Appliance::run(const std::vector<std::string>& arguments, const RunOptions& options)
{
    const Capture out;
    const Capture err;
    const pid_t child = fork();
    if (child == 0) {
        const int null = open("/dev/null", O_RDONLY | O_CLOEXEC);
        if (null < 0 || dup2(null, STDIN_FILENO) < 0) {
            std::_Exit(99);
        }
        out.become(STDOUT_FILENO);
        err.become(STDERR_FILENO);
        becomeProgramUnderTest(arguments, options);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child) {
        giveUp("cannot run the program");
    }
    RunResult run;
    if (WIFSIGNALED(status)) {
        run.signal = WTERMSIG(status);
    } else {
        run.status = WEXITSTATUS(status);
    }
    run.out = out.text();
    run.err = err.text();
    run.log = systemLog.drain();
    return run;
}
