// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/Files.h"
#include "tests/program/Documents.h"
#include "tests/stages/faults/Guarantee.h"
#include "tests/stages/faults/Scenario.h"

namespace fs = std::filesystem;

namespace {

/// Files cannot grow past this size; the handler is that of SIGXFSZ.
RunOptions withFileSizeLimit(std::size_t bytes, void (*handler)(int))
{
    return {.prepare = [=] {
        const rlimit size{bytes, bytes};
        setrlimit(RLIMIT_FSIZE, &size);
        std::signal(SIGXFSZ, handler);
    }};
}

/// Every size from 0 to the whole text, with this step, and those next to a page or a buffer.
std::set<std::size_t> sizesUpTo(std::size_t size, std::size_t step)
{
    std::set<std::size_t> sizes = {size - 1, size};
    for (std::size_t bytes = 0; bytes < size; bytes += step) {
        sizes.insert(bytes);
    }
    for (const std::size_t edge : {std::size_t{4096}, std::size_t{8192}}) {
        for (const std::size_t bytes : {edge - 2, edge - 1, edge, edge + 1}) {
            if (bytes < size) {
                sizes.insert(bytes);
            }
        }
    }
    return sizes;
}

void expectRefusedBelowTheWholeText(const Scenario& scenario, std::size_t step)
{
    const std::string text = scenario.after();
    const std::set<std::size_t> sizes = sizesUpTo(text.size(), step);
    for (const std::size_t bytes : sizes) {
        SCOPED_TRACE(std::to_string(bytes) + " bytes of " + std::to_string(text.size()));
        FaultyRun faulty(scenario);

        const RunResult run = faulty.run(withFileSizeLimit(bytes, SIG_IGN));

        EXPECT_EQ(run.status, bytes < text.size() ? 236 : scenario.status());
        if (bytes < text.size()) {
            EXPECT_EQ(readFile(configPath + ".filsec"), text.substr(0, bytes));
        }
        faulty.expectRecovery();
        if (testing::Test::HasFailure()) {
            return;
        }
    }
    testing::Test::RecordProperty("sizes", static_cast<int>(sizes.size()));
}

TEST(DiskFull, AtEveryByteKeepsTheOldFile)
{
    expectRefusedBelowTheWholeText(scenario("Flip"), 1);
}

TEST(DiskFull, AtManyBytesOfALargeTextKeepsTheOldFile)
{
    expectRefusedBelowTheWholeText(scenario("LargeFlip"), 97);
}

TEST(DiskFull, WithTheDefaultSignalEndsTheRunAndKeepsTheOldFile)
{
    const Scenario& scenario = ::scenario("Flip");
    const std::size_t size = scenario.after().size();
    const std::vector<std::size_t> limits = {0, 1, size / 2, size - 1};
    for (const std::size_t bytes : limits) {
        SCOPED_TRACE(std::to_string(bytes) + " bytes of " + std::to_string(size));
        FaultyRun faulty(scenario);

        const RunResult run = faulty.run(withFileSizeLimit(bytes, SIG_DFL), {.signal = SIGXFSZ});

        EXPECT_EQ(run.signal, SIGXFSZ);
        EXPECT_EQ(readFile(configPath), scenario.before());
        faulty.expectRecovery();
    }
    RecordProperty("sizes", static_cast<int>(limits.size()));
}

/// A small file system of its own in place of the appliance's directory.
class Disk {
public:
    explicit Disk(const std::string& options)
    {
        if (mount("tmpfs", Appliance::directory, "tmpfs", 0, ("mode=0755," + options).c_str()) !=
            0) {
            std::perror("mount");
            std::abort();
        }
    }

    ~Disk() { umount2(Appliance::directory, MNT_DETACH); }

    Disk(const Disk&) = delete;
    Disk& operator=(const Disk&) = delete;

    /// Makes files of this size until no more fit, and removes so many of them again.
    void fillBut(std::size_t fileSize, int spared)
    {
        const std::string text(fileSize, 'x');
        for (;;) {
            const std::string path =
                std::string(Appliance::directory) + "/filler-" + std::to_string(fillers.size());
            std::ofstream file(path, std::ios::binary);
            file << text << std::flush;
            if (!file.good()) {
                file.close();
                fs::remove(path);
                break;
            }
            fillers.push_back(path);
        }
        for (; spared > 0; --spared) {
            fs::remove(fillers.back());
            fillers.pop_back();
        }
    }

    void clear()
    {
        for (const std::string& path : fillers) {
            fs::remove(path);
        }
        fillers.clear();
    }

private:
    std::vector<std::string> fillers;
};

TEST(DiskFull, AtEveryPageKeepsTheOldFile)
{
    const auto pageSize = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    int fillings = 0;
    for (const std::string name : {"Flip", "LargeFlip"}) {
        const Scenario& scenario = ::scenario(name);
        const int needed = static_cast<int>((scenario.after().size() + pageSize - 1) / pageSize);
        for (int pages = 0; pages <= needed + 1; ++pages) {
            SCOPED_TRACE(name + ", " + std::to_string(pages) + " pages of " +
                         std::to_string(needed));
            Disk disk("size=" + std::to_string(16 * pageSize));
            FaultyRun faulty(scenario);
            disk.fillBut(pageSize, pages);
            if (pages == 0) {
                disk.fillBut(1, 0);
            }

            EXPECT_EQ(faulty.run({}).status, pages < needed ? 236 : scenario.status());

            disk.clear();
            faulty.expectRecovery();
            ++fillings;
        }
    }
    RecordProperty("disks", fillings);
}

TEST(DiskFull, OfInodesKeepsTheOldFile)
{
    const Scenario& scenario = ::scenario("Flip");
    for (const int spared : {0, 1}) {
        SCOPED_TRACE(std::to_string(spared) + " inodes");
        Disk disk("nr_inodes=16");
        FaultyRun faulty(scenario);
        disk.fillBut(0, spared);

        EXPECT_EQ(faulty.run({}).status, spared == 0 ? 226 : scenario.status());

        EXPECT_EQ(readFile(configPath + ".filsec"), "(missing)");
        disk.clear();
        faulty.expectRecovery();
    }
    RecordProperty("disks", 2);
}

TEST(DiskReadOnly, KeepsTheOldFile)
{
    const Disk disk("size=1m");
    FaultyRun faulty(scenario("Flip"));
    ASSERT_EQ(mount("none", Appliance::directory, "none", MS_REMOUNT | MS_RDONLY, nullptr), 0);
    const Tree before = Appliance::files();

    EXPECT_EQ(faulty.run({}).status, 226);

    EXPECT_EQ(Appliance::files(), before);
    ASSERT_EQ(mount("none", Appliance::directory, "none", MS_REMOUNT, nullptr), 0);
    faulty.expectRecovery();
    RecordProperty("disks", 1);
}

}  // namespace
