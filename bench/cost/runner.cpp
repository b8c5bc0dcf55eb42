// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/Files.h"
#include "tests/appliance/PrivateRoot.h"

// Runs commands on an appliance whose line 17 is exported and low, without marker files and with a
// system log, and prints one line per run: the command's number, the exit status (-1 after a
// signal), nanoseconds, peak memory in kB, page faults, and size and hash of the configuration file
// afterwards.
//
//    cost-runner [-n TIMES] [-m] [-d DOCUMENT] WORD… [-- WORD…]…
//
// The commands run in turns, -n times each, with an empty environment and each with a fresh copy of
// the document as "config.json" in its current directory. Peak memory and page faults are counted
// with -m only, which slows the run down: the highest peak of any process, and the faults of the
// command itself, not of its children.
namespace {

using Clock = std::chrono::steady_clock;

struct Options {
    int times = 1;
    bool memory = false;
    std::string document;
    std::vector<std::vector<std::string>> commands;
};

struct Measured {
    int status = -1;
    std::int64_t nanoseconds = 0;
    std::int64_t peakKilobytes = 0;
    std::int64_t faults = 0;
};

Options readOptions(const std::vector<std::string>& words)
{
    Options options;
    std::size_t index = 0;
    for (; index < words.size() && words[index].starts_with('-'); ++index) {
        if (words[index] == "-m") {
            options.memory = true;
        } else if (words[index] == "-n" && index + 1 < words.size()) {
            options.times = std::stoi(words[++index]);
        } else if (words[index] == "-d" && index + 1 < words.size()) {
            options.document = readFile(words[++index]);
        } else {
            break;
        }
    }
    options.commands.emplace_back();
    for (; index < words.size(); ++index) {
        if (words[index] == "--") {
            options.commands.emplace_back();
        } else {
            options.commands.back().push_back(words[index]);
        }
    }
    return options;
}

/// In the new process.
[[noreturn]] void become(std::vector<std::string> words, bool traced)
{
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        dup2(null, descriptor);
    }
    std::vector<char*> pointers;
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    char* none = nullptr;
    if (traced) {
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        raise(SIGSTOP);
    }
    execve(pointers.front(), pointers.data(), &none);
    std::_Exit(99);
}

std::int64_t peakOf(pid_t process)
{
    const std::string status = readFile("/proc/" + std::to_string(process) + "/status");
    constexpr std::string_view label = "VmHWM:";
    const std::size_t found = status.find(label);
    return found == std::string::npos ? 0 : std::stoll(status.substr(found + label.size()));
}

/// Minor faults, the tenth field of proc(5)'s stat.
std::int64_t faultsOf(pid_t process)
{
    const std::string stat = readFile("/proc/" + std::to_string(process) + "/stat");
    std::size_t place = stat.rfind(')');
    for (int field = 2; field < 10; ++field) {
        place = stat.find(' ', place + 1);
    }
    return std::stoll(stat.substr(place));
}

/// Traces the command and its children until they exit: the peak is readable only before that.
Measured follow(pid_t command)
{
    constexpr int options = PTRACE_O_TRACEEXEC | PTRACE_O_TRACEEXIT | PTRACE_O_TRACEFORK |
                            PTRACE_O_TRACEVFORK | PTRACE_O_TRACECLONE | PTRACE_O_EXITKILL;
    Measured measured;
    int status = 0;
    waitpid(command, &status, 0);
    ptrace(PTRACE_SETOPTIONS, command, nullptr, options);
    ptrace(PTRACE_CONT, command, nullptr, 0);
    for (pid_t process = 0; (process = waitpid(-1, &status, __WALL)) > 0;) {
        if (!WIFSTOPPED(status)) {
            if (process == command) {
                measured.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
            }
            continue;
        }
        int signal = WSTOPSIG(status);
        const int event = status >> 16;
        if (event == PTRACE_EVENT_EXEC && process == command) {
            measured.faults -= faultsOf(process);
        } else if (event == PTRACE_EVENT_EXIT) {
            measured.peakKilobytes = std::max(measured.peakKilobytes, peakOf(process));
            if (process == command) {
                measured.faults += faultsOf(process);
            }
        }
        if (event != 0 || signal == SIGSTOP) {
            signal = 0;
        }
        ptrace(PTRACE_CONT, process, nullptr, signal);
    }
    return measured;
}

Measured run(const std::vector<std::string>& words, bool memory)
{
    const Clock::time_point begin = Clock::now();
    const pid_t child = fork();
    if (child == 0) {
        become(words, memory);
    }
    if (child < 0) {
        std::perror("fork");
        std::abort();
    }
    if (memory) {
        return follow(child);
    }
    Measured measured;
    int status = 0;
    waitpid(child, &status, 0);
    measured.nanoseconds = (Clock::now() - begin).count();
    measured.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return measured;
}

}  // namespace

int main(int argc, char** argv)
{
    // The document is read before the root changes.
    const Options options = readOptions(std::vector<std::string>(argv + 1, argv + argc));
    executableDirectory();
    enterPrivateRoot(argv);
    Appliance appliance;
    const std::string config = std::string(Appliance::directory) + "/config.json";
    for (int turn = 0; turn < options.times; ++turn) {
        for (std::size_t command = 0; command < options.commands.size(); ++command) {
            // A run leaves the line's plain files a little different from the kernel's.
            appliance.setSwitch(Switch::low);
            writeFile(config, options.document);
            const Measured measured = run(options.commands[command], options.memory);
            static_cast<void>(appliance.systemLog.drain());
            const std::string written = readFile(config);
            std::cout << command << '\t' << measured.status << '\t' << measured.nanoseconds << '\t'
                      << measured.peakKilobytes << '\t' << measured.faults << '\t' << written.size()
                      << '\t' << std::hash<std::string>{}(written) << '\n';
        }
    }
    return 0;
}
