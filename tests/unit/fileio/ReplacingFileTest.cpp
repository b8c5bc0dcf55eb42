// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "fileio/ReplacingFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <ios>
#include <memory>
#include <ostream>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "tests/appliance/Files.h"
#include "tests/appliance/StandardInputClosed.h"
#include "tests/unit/effects/Effects.h"

namespace fs = std::filesystem;

// The result of each operation, and the whole directory after it.
namespace {

// The stream can be destroyed through its bases.
static_assert(std::is_base_of_v<std::ofstream, ReplacingFile>);
static_assert(std::has_virtual_destructor_v<ReplacingFile>);
static_assert(!std::is_copy_constructible_v<ReplacingFile>);
static_assert(!std::is_move_constructible_v<ReplacingFile>);

const std::string directory = "/appliance";
const std::string path = directory + "/config.json";
const std::string temporaryPath = path + ".filsec";

using Entries = std::vector<std::string>;

/// The entries of the directory and its subdirectories: "name=contents", "name/" for an empty
/// directory, "name -> target" for a link.
Entries entries()
{
    Entries all;
    for (const std::string& name : namesIn(directory)) {
        const std::string entry = directory + "/" + name;
        if (fs::is_symlink(entry)) {
            all.push_back(name + " -> " + fs::read_symlink(entry).string());
        } else if (fs::is_directory(entry)) {
            all.push_back(name + "/");
        } else {
            all.push_back(name + "=" + readFile(entry));
        }
    }
    return all;
}

/// A file that is opened, written and finished.
struct Row {
    const char* name;
    std::function<void()> arrange;  ///< changes a directory that holds the old file
    std::function<void(ReplacingFile& file)> write;
    std::int32_t finishCode;
    Entries after;
    std::string finalName = path;
};

void PrintTo(const Row& row, std::ostream* out)
{
    *out << row.name;
}

void asItIs() {}

void writeNew(ReplacingFile& file)
{
    file << "new";
}

/// Closes the descriptor of the temporary file, behind the back of the stream.
void closeDescriptor()
{
    for (const std::string& name : namesIn("/proc/self/fd")) {
        std::error_code gone;
        if (fs::read_symlink("/proc/self/fd/" + name, gone) == temporaryPath) {
            close(std::stoi(name));
        }
    }
}

class ReplacingFileFixture : public testing::Test {
protected:
    ReplacingFileFixture() { reset(); }
    ~ReplacingFileFixture() override { chmod(directory.c_str(), 0755); }

    static void reset()
    {
        chmod(directory.c_str(), 0755);
        emptyDirectory(directory);
        writeFile(path, "old");
    }
};

class ReplacingFileRow : public ReplacingFileFixture, public testing::WithParamInterface<Row> {
protected:
    void openAndWrite(ReplacingFile& file)
    {
        reset();
        GetParam().arrange();
        ASSERT_EQ(file.open(GetParam().finalName), 0);
        EXPECT_TRUE(file.is_open());
        GetParam().write(file);
    }

    /// Whether the row's outcome stands, and a file that another put there meanwhile stays.
    static void expectNothingMoreFrom(const std::function<void()>& action)
    {
        chmod(directory.c_str(), 0755);
        EXPECT_EQ(entries(), GetParam().after);
        fs::remove_all(path);
        fs::remove_all(temporaryPath);
        writeFile(path, "another's");
        writeFile(temporaryPath, "another's temporary");
        const Entries before = entries();
        action();
        EXPECT_EQ(entries(), before);
    }
};

TEST_P(ReplacingFileRow, IsFinishedOnceAndCanThenBeUsedAgain)
{
    ReplacingFile file;
    openAndWrite(file);

    EXPECT_EQ(file.finish(), GetParam().finishCode);
    EXPECT_FALSE(file.is_open());
    expectNothingMoreFrom([&] { EXPECT_EQ(file.finish(), 0); });
    EXPECT_EQ(file.open(path), 0);
    EXPECT_TRUE(file.good());
    file << "newest";
    EXPECT_EQ(file.finish(), 0);
    EXPECT_EQ(readFile(path), "newest");
}

TEST_P(ReplacingFileRow, IsFinishedByTheDestructorWhichThrowsNothing)
{
    for (const std::ios::iostate mask : {std::ios::goodbit, std::ios::badbit | std::ios::failbit}) {
        auto file = std::make_unique<ReplacingFile>();
        openAndWrite(*file);
        try {
            file->exceptions(mask);
        } catch (const std::ios::failure&) {
        }
        file.reset();
        expectNothingMoreFrom(asItIs);
    }
    auto file = std::make_unique<ReplacingFile>();
    openAndWrite(*file);
    static_cast<void>(file->finish());
    expectNothingMoreFrom([&] { file.reset(); });
}

TEST_P(ReplacingFileRow, IsFinishedByTheOpeningOfAnother)
{
    ReplacingFile file;
    openAndWrite(file);

    const std::int32_t code = file.open("/tmp/other");
    EXPECT_EQ(code, GetParam().finishCode);
    EXPECT_EQ(file.is_open(), code == 0);
    EXPECT_EQ(fs::exists("/tmp/other.filsec"), code == 0);
    file.close();
    fs::remove("/tmp/other.filsec");
    expectNothingMoreFrom([&] { EXPECT_EQ(file.finish(), 0); });
}

const std::string twoBuffers(20'000, 'x');

const Row rows[] = {
    {"ReplacesTheFile", asItIs, writeNew, 0, {"config.json=new"}},
    {"CreatesAMissingFile", [] { fs::remove(path); }, writeNew, 0, {"config.json=new"}},
    {"WritesNothing", asItIs, [](ReplacingFile&) {}, 0, {"config.json="}},
    {"WritesEachByteAsItIs",
     asItIs,
     [](ReplacingFile& file) { file << std::string("\r\n\0\xff\x1a", 5) << 42; },
     0,
     {"config.json=" + std::string("\r\n\0\xff\x1a", 5) + "42"}},
    {"WritesMoreThanABuffer",
     asItIs,
     [](ReplacingFile& file) { file << "a" << twoBuffers; },
     0,
     {"config.json=a" + twoBuffers}},
    {"EmptiesATemporaryFileThatWasLeft",
     [] { writeFile(temporaryPath, "left, and longer"); },
     writeNew,
     0,
     {"config.json=new"}},
    {"ReplacesALinkAndLeavesItsTarget",
     [] {
         fs::rename(path, directory + "/target");
         fs::create_symlink("target", path);
     },
     writeNew,
     0,
     {"config.json=new", "target=old"}},
    {"LeavesEveryOtherName",
     [] {
         for (const char* const name : {"config.json~", "config.json.tmp", ".filsec"}) {
             writeFile(directory + "/" + name, name);
         }
     },
     writeNew,
     0,
     {".filsec=.filsec", "config.json=new", "config.json.tmp=config.json.tmp",
      "config.json~=config.json~"}},
    {"TheTemporaryFileIsALinkToAnother",
     [] {
         writeFile(directory + "/soft", "old");
         fs::create_symlink("soft", temporaryPath);
     },
     writeNew,
     0,
     {"config.json -> soft", "soft=new"}},
    // rename(2) does nothing if both names lead to one file.
    {"TheTemporaryFileIsAHardLinkToTheFile",
     [] { fs::create_hard_link(path, temporaryPath); },
     writeNew,
     0,
     {"config.json=new", "config.json.filsec=new"}},
    {"EndOfFileState",
     asItIs,
     [](ReplacingFile& file) {
         file << "new";
         file.setstate(std::ios::eofbit);
     },
     0,
     {"config.json=new"}},
    {"CloseFails",
     asItIs,
     [](ReplacingFile& file) {
         file << "new" << std::flush;
         closeDescriptor();
     },
     0,
     {"config.json=new"}},
    {"ClosedAsAPlainStream",
     asItIs,
     [](ReplacingFile& file) {
         file << "new";
         file.close();
     },
     0,
     {"config.json=old", "config.json.filsec=new"}},
    {"FailStateBeforeTheText",
     asItIs,
     [](ReplacingFile& file) {
         file.setstate(std::ios::failbit);
         file << "new";
     },
     1,
     {"config.json=old", "config.json.filsec="}},
    {"FailStateAfterTheText",
     asItIs,
     [](ReplacingFile& file) {
         file << "new";
         file.setstate(std::ios::failbit);
     },
     1,
     {"config.json=old", "config.json.filsec=new"}},
    {"BadStateAfterTheText",
     asItIs,
     [](ReplacingFile& file) {
         file << "new";
         file.setstate(std::ios::badbit);
     },
     1,
     {"config.json=old", "config.json.filsec=new"}},
    {"FailedInsertion",
     asItIs,
     [](ReplacingFile& file) { file << static_cast<std::streambuf*>(nullptr); },
     1,
     {"config.json=old", "config.json.filsec="}},
    {"FlushFails",
     [] { fs::create_symlink("/dev/full", temporaryPath); },
     writeNew,
     1,
     {"config.json=old", "config.json.filsec -> /dev/full"}},
    {"InsertionFails",
     [] { fs::create_symlink("/dev/full", temporaryPath); },
     [](ReplacingFile& file) { file << twoBuffers; },
     1,
     {"config.json=old", "config.json.filsec -> /dev/full"}},
    {"FinalNameIsADirectory",
     [] {
         fs::remove(path);
         fs::create_directory(path);
     },
     writeNew,
     -3,
     {"config.json/", "config.json.filsec=new"}},
    {"DirectoryBecomesReadOnly",
     asItIs,
     [](ReplacingFile& file) {
         file << "new";
         chmod(directory.c_str(), 0555);
     },
     -3,
     {"config.json=old", "config.json.filsec=new"}},
    {"TemporaryFileIsGone",
     asItIs,
     [](ReplacingFile& file) {
         file << "new";
         fs::remove(temporaryPath);
     },
     -3,
     {"config.json=old"}},
    {"NameIsEmpty", asItIs, writeNew, -3, {".filsec=new", "config.json=old"}, ""},
};

INSTANTIATE_TEST_SUITE_P(, ReplacingFileRow, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

/// A file that cannot be opened, and leaves everything as it was.
struct Fault {
    const char* name;
    std::function<void()> arrange;
    std::string finalName = path;
};

void PrintTo(const Fault& row, std::ostream* out)
{
    *out << row.name;
}

class ReplacingFileFault : public ReplacingFileFixture,
                           public testing::WithParamInterface<Fault> {};

TEST_P(ReplacingFileFault, PreventsTheOpening)
{
    GetParam().arrange();
    const Entries before = entries();
    ReplacingFile file;
    ASSERT_EQ(file.open("/tmp/other"), 0);
    file << "new";

    EXPECT_EQ(file.open(GetParam().finalName), -1);
    EXPECT_EQ(readFile("/tmp/other"), "new");
    EXPECT_FALSE(file.is_open());
    EXPECT_EQ(file.finish(), 0);
    EXPECT_EQ(entries(), before);
    chmod(directory.c_str(), 0755);
    EXPECT_EQ(file.open(directory + "/another"), 0);
}

const Fault faults[] = {
    {"DirectoryMissing", asItIs, directory + "/missing/config.json"},
    {"DirectoryIsAFile", asItIs, path + "/config.json"},
    {"DirectoryNotWritable", [] { chmod(directory.c_str(), 0555); }},
    {"TemporaryNameIsADirectory", [] { fs::create_directory(temporaryPath); }},
    {"TemporaryFileNotWritable",
     [] {
         writeFile(temporaryPath, "left");
         chmod(temporaryPath.c_str(), 0444);
     }},
    {"OnlyTheTemporaryNameIsTooLong", asItIs, directory + "/" + std::string(249, 'x')},
};

INSTANTIATE_TEST_SUITE_P(, ReplacingFileFault, testing::ValuesIn(faults),
                         [](const auto& row) { return row.param.name; });

class ReplacingFileOpen : public ReplacingFileFixture {};

TEST_F(ReplacingFileOpen, LeavesTheOldFileUntilItIsFinished)
{
    ReplacingFile file;
    ASSERT_EQ(file.open(path), 0);
    EXPECT_EQ(entries(), (Entries{"config.json=old", "config.json.filsec="}));
    file << "new" << std::flush;
    EXPECT_EQ(entries(), (Entries{"config.json=old", "config.json.filsec=new"}));
    EXPECT_EQ(file.finish(), 0);
}

TEST_F(ReplacingFileOpen, NamesTheTemporaryFileAfterTheFinalName)
{
    fs::create_directory(directory + "/sub");
    for (const std::string name :
         {"plain", "two.dots.json", "./here", "sub/file", "sub/../sub//other", "/config/file",
          " spaces and 'quotes' ", "x.filsec", "back\\slash"}) {
        SCOPED_TRACE(name);
        ReplacingFile file;
        ASSERT_EQ(file.open(name), 0);
        EXPECT_TRUE(fs::is_regular_file(name + ".filsec"));
        EXPECT_FALSE(fs::exists(name));
        EXPECT_EQ(file.finish(), 0);
        EXPECT_TRUE(fs::is_regular_file(name));
        EXPECT_FALSE(fs::exists(name + ".filsec"));
    }
}

// A temporary file that is there already

// In a user namespace that knows one user only there is nobody else that it could be given to.
TEST_F(ReplacingFileOpen, KeepsTheOwnerAndTheModeOfATemporaryFileThatWasLeft)
{
    constexpr uid_t somebody = 12345;
    writeFile(temporaryPath, "left, and longer");
    ASSERT_EQ(chmod(temporaryPath.c_str(), 0606), 0);
    const bool given = chown(temporaryPath.c_str(), somebody, somebody) == 0;
    ASSERT_TRUE(given || errno == EINVAL);
    {
        ReplacingFile file;
        ASSERT_EQ(file.open(path), 0);
    }

    struct stat status = {};
    ASSERT_EQ(lstat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, given ? somebody : geteuid());
    EXPECT_EQ(status.st_mode, S_IFREG | 0606U);
}

TEST_F(ReplacingFileOpen, WaitsForAReaderOfATemporaryFileThatIsAFifo)
{
    ASSERT_EQ(mkfifo(temporaryPath.c_str(), 0600), 0);
    const pid_t child = fork();
    if (child == 0) {
        alarm(60);
        ReplacingFile file;
        bool replaced = file.open(path) == 0;
        file << "new";
        replaced = file.finish() == 0 && replaced;
        _exit(replaced ? 0 : 1);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, WNOHANG), 0) << "it did not wait";

    const int reader = open(temporaryPath.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(fs::is_fifo(path));
    close(reader);
}

// The effects on the disk

std::string synced(const std::string& name)
{
    return "look for " + name + "\nsync " + name + "\n";
}

std::string written(const std::string& name)
{
    return "create " + name + ".filsec\nwrite " + name + ".filsec \"new\"\n";
}

std::string renamed(const std::string& name)
{
    return "rename " + name + ".filsec " + name + "\n";
}

class ReplacingFileEffects : public ReplacingFileFixture {
protected:
    /// Returns the effects of replacing a file, and expects the result of finish.
    std::string replace(const std::string& name = path, std::int32_t expected = 0)
    {
        return effects.record([&] {
            ReplacingFile file;
            EXPECT_EQ(file.open(name), 0);
            file << "new";
            EXPECT_EQ(file.finish(), expected);
        });
    }

    Effects effects;
};

TEST_F(ReplacingFileEffects, AreSyncedBeforeTheRenameThenAgainThenTheirDirectory)
{
    fs::create_directory(directory + "/sub");
    for (const auto& [name, parent] : std::vector<std::pair<std::string, std::string>>{
             {path, directory + "/"}, {"sub/file", "sub/"}, {"file", "."}}) {
        EXPECT_EQ(replace(name), written(name) + synced(name + ".filsec") + renamed(name) +
                                     synced(name) + synced(parent));
        fs::remove(name);
    }
}

TEST_F(ReplacingFileEffects, EndWithTheRootDirectory)
{
    EXPECT_TRUE(replace("/file").ends_with(synced("/file") + synced("/")));
    fs::remove("/file");
}

TEST_F(ReplacingFileEffects, EndWithTheRenameIfThatIsRefused)
{
    fs::remove(path);
    fs::create_directory(path);

    EXPECT_EQ(replace(path, -3), written(path) + synced(temporaryPath) +
                                     renamed(path).insert(renamed(path).size() - 1, ": EISDIR"));
}

// Whatever a name leads to, and whatever happens then, the program neither waits nor takes a
// terminal, and no other program gets the descriptor.
TEST_F(ReplacingFileEffects, AreSyncedThroughDescriptorsOfNoOtherUse)
{
    replace();

    ASSERT_EQ(effects.openings.size(), 4U);
    for (std::size_t index = 1; index < 4; ++index) {
        EXPECT_EQ(effects.openings[index].flags, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    }
}

TEST_F(ReplacingFileEffects, AreSyncedOnDescriptorZeroToo)
{
    const std::string ordinary = replace();
    reset();
    const StandardInputClosed freed;

    EXPECT_EQ(replace(), ordinary);
}

// For the C library of POSIX there is no difference, for others there is.
TEST_F(ReplacingFileEffects, AreNotThoseOfATextStream)
{
    replace();

    const std::string mode = effects.openings.at(0).mode;
    EXPECT_TRUE(mode.empty() || mode.find('b') != std::string::npos) << mode;
}

// What cannot be synced is no failure; not even errno shows it.
TEST_F(ReplacingFileEffects, AreTheSameIfNothingCanBeSynced)
{
    for (const std::string verb : {"sync ", "look for "}) {
        SCOPED_TRACE(verb);
        reset();
        effects.before = [&](const std::string& effect) {
            return effect.starts_with(verb) ? EIO : 0;
        };
        const auto synced = [&](const std::string& name) {
            return verb == "sync " ? "look for " + name + "\nsync " + name + ": EIO\n"
                                   : "look for " + name + ": EIO\n";
        };
        EXPECT_EQ(replace(), written(path) + synced(temporaryPath) + renamed(path) + synced(path) +
                                 synced(directory + "/"));
        EXPECT_EQ(entries(), Entries{"config.json=new"});
        for (const int error : {0, 77}) {
            ReplacingFile file;
            ASSERT_EQ(file.open(path), 0);
            int after = -1;
            effects.record([&] {
                errno = error;
                EXPECT_EQ(file.finish(), 0);
                after = errno;
            });
            EXPECT_EQ(after, error);
        }
    }
}

TEST_F(ReplacingFileEffects, AreNoneWithoutAnOpenFile)
{
    EXPECT_EQ(effects.record([] {
        ReplacingFile file;
        EXPECT_EQ(file.finish(), 0);
    }),
              "");
}

}  // namespace
