// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "tests/appliance/PrivateRoot.h"

#include <linux/capability.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

constexpr int cannotTest = 99;

/// Set for the executable that runs under proot, so that it does not start proot again.
constexpr char insideProot[] = "SWITCH_QUERIER_INSIDE_PROOT";

const fs::path root = "/mnt";
const std::vector<fs::path> newDirectories = {"config", "sys/class/gpio", "dev", "tmp",
                                              "appliance"};
const std::vector<fs::path> devices = {"dev/null", "dev/zero", "dev/full", "dev/urandom"};

[[noreturn]] void giveUp(const std::string& what)
{
    std::cerr << "cannot make a private root: " << what << ": " << std::strerror(errno) << '\n';
    std::_Exit(cannotTest);
}

void writeFile(const fs::path& path, const std::string& text)
{
    std::ofstream(path) << text;
}

bool enterNamespaces()
{
    const uid_t user = geteuid();
    const gid_t group = getegid();
    if (user == 0) {
        if (unshare(CLONE_NEWNS) != 0) {
            return false;
        }
    } else {
        if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
            return false;
        }
        writeFile("/proc/self/setgroups", "deny");
        writeFile("/proc/self/uid_map", "0 " + std::to_string(user) + " 1");
        writeFile("/proc/self/gid_map", "0 " + std::to_string(group) + " 1");
    }
    // No later mount may be visible outside. In a chroot "/" is not a mount point and the call
    // fails, but the mount below is private even so.
    mount("none", "/", "none", MS_REC | MS_PRIVATE, nullptr);
    return mount("tmpfs", root.c_str(), "tmpfs", 0, "mode=0755") == 0;
}

void bind(const fs::path& path)
{
    const fs::path target = root / path.relative_path();
    if (fs::is_directory(path)) {
        fs::create_directories(target);
    } else {
        fs::create_directories(target.parent_path());
        writeFile(target, "");
    }
    if (mount(path.c_str(), target.c_str(), "none", MS_BIND | MS_REC, nullptr) != 0) {
        giveUp("bind " + path.string());
    }
}

void bindMachine()
{
    // Under qemu-user with -L, the name "/" leads to the libraries of the emulated processor.
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc/self/root")) {
        const std::string name = entry.path().filename();
        if (entry.is_symlink() && (name == "bin" || name == "sbin" || name.starts_with("lib"))) {
            fs::copy_symlink(entry.path(), root / name);
        } else if (name == "usr" || name == "etc" || name == "proc" || name == "bin" ||
                   name == "sbin" || name.starts_with("lib")) {
            bind("/" / entry.path().filename());
        }
    }
}

void dropPermissionOverride()
{
    prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE);
    prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH);
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3]{};
    if (syscall(SYS_capget, &header, data) != 0) {
        giveUp("capget");
    }
    constexpr unsigned dropped = 1U << CAP_DAC_OVERRIDE | 1U << CAP_DAC_READ_SEARCH;
    data[0].effective &= ~dropped;
    data[0].permitted &= ~dropped;
    data[0].inheritable &= ~dropped;
    if (syscall(SYS_capset, &header, data) != 0) {
        giveUp("capset");
    }
}

/// Runs the executable again under proot, with a directory tree in place of the fixed paths, and
/// exits with its status.
[[noreturn]] void runUnderProot(char** argv)
{
    std::string pattern = "/tmp/private-root-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
        giveUp("mkdtemp");
    }
    const fs::path tree = pattern;
    std::vector<std::string> command = {"proot"};
    for (const fs::path& directory : newDirectories) {
        fs::create_directories(tree / directory);
        const fs::path top = *directory.begin();
        command.insert(command.end(), {"-b", (tree / top).string() + ":/" + top.string()});
    }
    for (const fs::path& device : devices) {
        command.insert(command.end(), {"-b", "/" + device.string()});
    }
    command.insert(command.end(), {"-b", executableDirectory(), "-w", "/appliance"});
    const fs::path self = fs::read_symlink("/proc/self/exe");
    command.push_back(self);
    for (char** argument = argv + 1; *argument != nullptr; ++argument) {
        command.emplace_back(*argument);
    }
    const pid_t child = fork();
    if (child == 0) {
        setenv(insideProot, "1", 1);
        becomeProgram("proot", command);
    }
    int status = 0;
    waitpid(child, &status, 0);
    fs::remove_all(tree);
    std::_Exit(WIFEXITED(status) ? WEXITSTATUS(status) : cannotTest);
}

}  // namespace

bool isUnderProot()
{
    return std::getenv(insideProot) != nullptr;
}

std::size_t longestName()
{
    constexpr std::size_t longest = NAME_MAX;
    return isUnderProot() ? longest - 1 : longest;
}

void enterPrivateRoot(char** argv)
{
    if (isUnderProot()) {
        dropPermissionOverride();
        return;
    }
    // Must be read now: inside a chroot, /proc/self/exe shows the outside path as soon as the
    // process has its own mount namespace.
    executableDirectory();
    if (std::getenv("SWITCH_QUERIER_PROOT") != nullptr || !enterNamespaces()) {
        runUnderProot(argv);
    }
    for (const fs::path& directory : newDirectories) {
        fs::create_directories(root / directory);
    }
    for (const fs::path& device : devices) {
        bind("/" / device);
    }
    bindMachine();
    bind(executableDirectory());
    if (chroot(root.c_str()) != 0 || chdir("/appliance") != 0) {
        giveUp("chroot");
    }
    dropPermissionOverride();
}

const char* executableDirectory()
{
    static const std::string directory = fs::read_symlink("/proc/self/exe").parent_path();
    return directory.c_str();
}

void becomeProgram(const std::string& program, const std::vector<std::string>& words)
{
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (const std::string& word : words) {
        pointers.push_back(const_cast<char*>(word.c_str()));  // execvp(3) writes nothing to it
    }
    pointers.push_back(nullptr);
    execvp(program.c_str(), pointers.data());
    std::perror(program.c_str());
    std::_Exit(cannotTest);
}
