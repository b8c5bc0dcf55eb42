// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "fileio/ReplacingFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/appliance/Files.h"
#include "tests/unit/calls/Calls.h"

namespace fs = std::filesystem;

namespace {

const std::string directory = "/appliance";
const std::string path = directory + "/config.json";
const std::string temporaryPath = directory + "/config.json.filsec";

using Names = std::vector<std::string>;

ino_t inodeOf(const std::string& name)
{
    struct stat status = {};
    return lstat(name.c_str(), &status) == 0 ? status.st_ino : 0;
}

/// Until destroyed, limits the size of the files that this process writes (setrlimit(2)).
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) : oldHandler(std::signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &oldLimit);
        const rlimit limit{bytes, oldLimit.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }

    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &oldLimit);
        std::signal(SIGXFSZ, oldHandler);
    }

    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    void (*oldHandler)(int);
    rlimit oldLimit{};
};

class ReplacingFileFixture : public testing::Test {
protected:
    ReplacingFileFixture()
    {
        chmod(directory.c_str(), 0755);
        emptyDirectory(directory);
        writeFile(path, "old");
    }

    ~ReplacingFileFixture() override { chmod(directory.c_str(), 0755); }

    /// The bytes that a power cut would take cannot be looked at from here, only the calls that
    /// keep them.
    class Syncs : public Calls {
    public:
        /// What each fsync(2) was called for, oldest first: the path that the file had then and, if
        /// it is a regular file, its size.
        Names synced;

        /// What the descriptors were opened with.
        std::vector<int> syncedFlags;

    private:
        int syncing(int fd) override
        {
            const fs::path target = fs::read_symlink("/proc/self/fd/" + std::to_string(fd));
            struct stat status = {};
            fstat(fd, &status);
            const bool isFile = S_ISREG(status.st_mode);
            synced.push_back(target.string() +
                             (isFile ? " " + std::to_string(status.st_size) : ""));
            syncedFlags.push_back(fcntl(fd, F_GETFL) |
                                  (fcntl(fd, F_GETFD) == FD_CLOEXEC ? O_CLOEXEC : 0));
            return 0;
        }
    };

    Syncs syncs;
    Names& synced = syncs.synced;
    std::vector<int>& syncedFlags = syncs.syncedFlags;
};

// The stream can be destroyed through its bases.
static_assert(std::is_base_of_v<std::ofstream, ReplacingFile>);
static_assert(std::has_virtual_destructor_v<ReplacingFile>);
static_assert(!std::is_copy_constructible_v<ReplacingFile>);
static_assert(!std::is_move_constructible_v<ReplacingFile>);

class ReplacingFileFinish : public ReplacingFileFixture {};
class ReplacingFileOpen : public ReplacingFileFixture {};
class ReplacingFileDestructor : public ReplacingFileFixture {};
class ReplacingFileSync : public ReplacingFileFixture {};

TEST_F(ReplacingFileFinish, ReplacesTheFile)
{
    ReplacingFile file;
    ASSERT_EQ(file.open(path), 0);
    EXPECT_TRUE(file.is_open());
    file << "new " << 42;
    EXPECT_EQ(file.finish(), 0);
    EXPECT_FALSE(file.is_open());
    EXPECT_EQ(readFile(path), "new 42");
    EXPECT_EQ(namesIn(directory), Names{"config.json"});
}

TEST_F(ReplacingFileFinish, CreatesAMissingFile)
{
    fs::remove(path);
    ReplacingFile file;
    ASSERT_EQ(file.open(path), 0);
    file << "new";
    EXPECT_EQ(file.finish(), 0);
    EXPECT_EQ(readFile(path), "new");
    EXPECT_EQ(namesIn(directory), Names{"config.json"});
}

TEST_F(ReplacingFileOpen, LeavesTheOldFileUntilTheFinish)
{
    ReplacingFile file;
    ASSERT_EQ(file.open(path), 0);
    EXPECT_EQ(readFile(path), "old");
    EXPECT_EQ(readFile(temporaryPath), "");
    file << "new" << std::flush;
    EXPECT_EQ(readFile(path), "old");
    EXPECT_EQ(readFile(temporaryPath), "new");
    file << std::string(100'000, 'x');
    EXPECT_EQ(readFile(path), "old");
    EXPECT_EQ(file.finish(), 0);
    EXPECT_EQ(readFile(path), "new" + std::string(100'000, 'x'));
}

TEST_F(ReplacingFileFinish, ReplacesTheFileAtomically)
{
    const int reader = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    ReplacingFile file;
    ASSERT_EQ(file.open(path), 0);
    file << "new";
    const ino_t temporaryInode = inodeOf(temporaryPath);
    EXPECT_EQ(file.finish(), 0);
    EXPECT_EQ(inodeOf(path), temporaryInode);
    // A reader that has the old file open keeps it.
    EXPECT_EQ(readFile("/proc/self/fd/" + std::to_string(reader)), "old");
    close(reader);
}

TEST_F(ReplacingFileOpen, NamesTheTemporaryFileAfterTheFinalName)
{
    fs::create_directories(directory + "/sub/sub.d");
    struct Row {
        const char* name;
        const char* directory;
        const char* fileName;
    };
    constexpr Row rows[] = {
        {"plain", "/appliance", "plain"},
        {"two.dots.json", "/appliance", "two.dots.json"},
        {"./here.json", "/appliance", "here.json"},
        {"sub/config.json", "/appliance/sub", "config.json"},
        {"sub/sub.d/plain", "/appliance/sub/sub.d", "plain"},
        {"sub/../sub//config.json", "/appliance/sub", "config.json"},
        {"/appliance/sub/sub.d/config.json", "/appliance/sub/sub.d", "config.json"},
        {"/config/config.json", "/config", "config.json"},
        {" spaces and 'quotes' ", "/appliance", " spaces and 'quotes' "},
        {"x.filsec", "/appliance", "x.filsec"},
        {".filsec", "/appliance", ".filsec"},
        {"back\\slash", "/appliance", "back\\slash"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const Names before = namesIn(row.directory);
        const auto withName = [&before](const std::string& name) {
            Names names = before;
            names.insert(std::lower_bound(names.begin(), names.end(), name), name);
            return names;
        };
        ReplacingFile file;
        EXPECT_EQ(file.open(row.name), 0);
        file << row.name << std::flush;
        EXPECT_EQ(namesIn(row.directory), withName(std::string(row.fileName) + ".filsec"));
        EXPECT_EQ(file.finish(), 0);
        EXPECT_EQ(namesIn(row.directory), withName(row.fileName));
        const std::string absolute = std::string(row.directory) + "/" + row.fileName;
        EXPECT_EQ(readFile(absolute), row.name);
        fs::remove(absolute);
    }
}

TEST_F(ReplacingFileFinish, WritesBytesUnchanged)
{
    std::string bytes = "a\nb\r\nc\r\n\x1a no final newline";
    for (int byte = 0; byte <= 255; ++byte) {
        bytes += static_cast<char>(byte);
    }
    ReplacingFile file;
    ASSERT_EQ(file.open(path), 0);
    file << bytes;
    EXPECT_EQ(file.finish(), 0);
    EXPECT_EQ(readFile(path), bytes);
}

TEST_F(ReplacingFileFinish, CreatesAnEmptyFileFromNoText)
{
    ReplacingFile file;
    ASSERT_EQ(file.open(path), 0);
    EXPECT_EQ(file.finish(), 0);
    EXPECT_EQ(readFile(path), "");
    EXPECT_EQ(namesIn(directory), Names{"config.json"});
}

TEST_F(ReplacingFileOpen, EmptiesATemporaryFileThatWasLeftOver)
{
    writeFile(temporaryPath, "what an earlier run left, longer than the new text");
    ReplacingFile file;
    ASSERT_EQ(file.open(path), 0);
    EXPECT_EQ(readFile(temporaryPath), "");
    file << "new";
    EXPECT_EQ(file.finish(), 0);
    EXPECT_EQ(readFile(path), "new");
    EXPECT_EQ(namesIn(directory), Names{"config.json"});
}

TEST_F(ReplacingFileFinish, ReplacesALinkAndLeavesItsTarget)
{
    fs::rename(path, directory + "/target.json");
    fs::create_symlink("target.json", path);
    ReplacingFile file;
    ASSERT_EQ(file.open(path), 0);
    file << "new";
    EXPECT_EQ(file.finish(), 0);
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(path)));
    EXPECT_EQ(readFile(path), "new");
    EXPECT_EQ(readFile(directory + "/target.json"), "old");
    EXPECT_EQ(namesIn(directory), (Names{"config.json", "target.json"}));
}

struct OpenFault {
    const char* name;
    std::function<void()> arrange;
    std::string path = ::path;
};

void PrintTo(const OpenFault& row, std::ostream* out)
{
    *out << row.name;
}

class ReplacingFileOpenFault : public ReplacingFileFixture,
                               public testing::WithParamInterface<OpenFault> {};

TEST_P(ReplacingFileOpenFault, PreventsTheOpen)
{
    GetParam().arrange();
    const Names before = namesIn(directory);
    {
        ReplacingFile file;
        EXPECT_EQ(file.open(GetParam().path), -1);
        EXPECT_FALSE(file.is_open());
        file << "new";
        EXPECT_EQ(file.finish(), 0);
    }
    EXPECT_EQ(readFile(path), "old");
    EXPECT_EQ(namesIn(directory), before);
}

const OpenFault openFaults[] = {
    {"DirectoryMissing", [] {}, directory + "/missing/config.json"},
    {"DirectoryIsAFile", [] {}, path + "/config.json"},
    {"DirectoryNotWritable", [] { chmod(directory.c_str(), 0555); }},
    {"TemporaryNameIsADirectory", [] { fs::create_directory(temporaryPath); }},
    {"TemporaryFileNotWritable",
     [] {
         writeFile(temporaryPath, "left over");
         chmod(temporaryPath.c_str(), 0444);
     }},
    {"OnlyTheTemporaryNameIsTooLong", [] {}, directory + "/" + std::string(249, 'x')},
    {"NameEndsInTheSlashOfAMissingDirectory", [] {}, directory + "/missing/"},
};

INSTANTIATE_TEST_SUITE_P(, ReplacingFileOpenFault, testing::ValuesIn(openFaults),
                         [](const auto& row) { return row.param.name; });

// Faults that leave the stream in a failed state.
struct WriteFault {
    const char* name;
    std::function<void(ReplacingFile&)> write;

    /// The contents of the temporary file. Null if the stream could not write but can at the close:
    /// it may then write again what it had written in part.
    const char* reached;
};

void PrintTo(const WriteFault& row, std::ostream* out)
{
    *out << row.name;
}

const WriteFault writeFaults[] = {
    {"FailStateBeforeTheText",
     [](ReplacingFile& file) {
         file.setstate(std::ios::failbit);
         file << "new";
     },
     ""},
    {"FailStateAfterTheText",
     [](ReplacingFile& file) {
         file << "new";
         file.setstate(std::ios::failbit);
     },
     "new"},
    {"BadStateAfterTheText",
     [](ReplacingFile& file) {
         file << "new";
         file.setstate(std::ios::badbit);
     },
     "new"},
    {"FailedInsertion",
     [](ReplacingFile& file) { file << "new" << static_cast<const char*>(nullptr); }, "new"},
    {"SizeLimitDuringTheInsertion",
     [](ReplacingFile& file) {
         const FileSizeLimit limit(3);
         file << "new text" << std::flush;
     },
     nullptr},
    {"SizeLimitWithATextLargerThanTheBuffer",
     [](ReplacingFile& file) {
         const FileSizeLimit limit(3);
         file << "new" << std::string(100'000, 'x');
     },
     nullptr},
};

class ReplacingFileWriteFault : public ReplacingFileFixture,
                                public testing::WithParamInterface<WriteFault> {};

TEST_P(ReplacingFileWriteFault, MakesFinishReturn1)
{
    const ino_t oldInode = inodeOf(path);
    ReplacingFile file;
    ASSERT_EQ(file.open(path), 0);
    GetParam().write(file);
    EXPECT_EQ(file.finish(), 1);
    EXPECT_FALSE(file.is_open());
    EXPECT_EQ(readFile(path), "old");
    EXPECT_EQ(inodeOf(path), oldInode);
    EXPECT_TRUE(fs::is_regular_file(temporaryPath));
    if (GetParam().reached != nullptr) {
        EXPECT_EQ(readFile(temporaryPath), GetParam().reached);
    }
}

TEST_P(ReplacingFileWriteFault, KeepsTheDestructorFromReplacingTheFile)
{
    {
        ReplacingFile file;
        ASSERT_EQ(file.open(path), 0);
        GetParam().write(file);
    }
    EXPECT_EQ(readFile(path), "old");
    EXPECT_TRUE(fs::is_regular_file(temporaryPath));
    if (GetParam().reached != nullptr) {
        EXPECT_EQ(readFile(temporaryPath), GetParam().reached);
    }
}

// An exception that leaves a destructor ends the program (std::terminate).
TEST_P(ReplacingFileWriteFault, DoesNotMakeTheDestructorThrowWithAnExceptionsMask)
{
    {
        ReplacingFile file;
        ASSERT_EQ(file.open(path), 0);
        file.exceptions(std::ios::badbit | std::ios::failbit);
        EXPECT_THROW(GetParam().write(file), std::ios::failure);
    }
    EXPECT_EQ(readFile(path), "old");
    EXPECT_TRUE(fs::is_regular_file(temporaryPath));
}

INSTANTIATE_TEST_SUITE_P(, ReplacingFileWriteFault, testing::ValuesIn(writeFaults),
                         [](const auto& row) { return row.param.name; });

TEST_F(ReplacingFileFinish, Returns1IfTheFlushFails)
{
    ReplacingFile file;
    ASSERT_EQ(file.open(path), 0);
    file << "new text";
    ASSERT_TRUE(file.good());
    {
        const FileSizeLimit limit(3);
        EXPECT_EQ(file.finish(), 1);
    }
    EXPECT_FALSE(file.is_open());
    EXPECT_EQ(readFile(path), "old");
    EXPECT_EQ(readFile(temporaryPath), "new");
}

TEST_F(ReplacingFileFinish, Returns1OnAFullDevice)
{
    for (const std::size_t size : {std::size_t{1}, std::size_t{100'000}}) {
        SCOPED_TRACE(size);
        fs::remove(temporaryPath);
        fs::create_symlink("/dev/full", temporaryPath);
        ReplacingFile file;
        ASSERT_EQ(file.open(path), 0);
        file << std::string(size, 'x');
        EXPECT_EQ(file.finish(), 1);
        EXPECT_EQ(readFile(path), "old");
        EXPECT_TRUE(fs::is_symlink(temporaryPath));
    }
}

TEST_F(ReplacingFileFinish, Returns0InAnEndOfFileState)
{
    ReplacingFile file;
    ASSERT_EQ(file.open(path), 0);
    file << "new";
    file.setstate(std::ios::eofbit);
    EXPECT_EQ(file.finish(), 0);
    EXPECT_EQ(readFile(path), "new");
}

// Faults that arise while the temporary file is open, and make the rename fail.
struct RenameFault {
    const char* name;
    std::function<void()> arrange;
};

void PrintTo(const RenameFault& row, std::ostream* out)
{
    *out << row.name;
}

const RenameFault renameFaults[] = {
    {"FinalNameIsADirectory",
     [] {
         fs::remove(path);
         fs::create_directory(path);
     }},
    {"DirectoryIsReadOnly", [] { chmod(directory.c_str(), 0555); }},
};

class ReplacingFileRenameFault : public ReplacingFileFixture,
                                 public testing::WithParamInterface<RenameFault> {};

TEST_P(ReplacingFileRenameFault, MakesFinishReturnMinus3)
{
    ReplacingFile file;
    ASSERT_EQ(file.open(path), 0);
    file << "new";
    GetParam().arrange();
    const ino_t oldInode = inodeOf(path);
    EXPECT_EQ(file.finish(), -3);
    EXPECT_FALSE(file.is_open());
    EXPECT_EQ(inodeOf(path), oldInode);
    EXPECT_EQ(readFile(temporaryPath), "new");
}

TEST_P(ReplacingFileRenameFault, MakesTheDestructorLeaveTheTemporaryFile)
{
    {
        ReplacingFile file;
        ASSERT_EQ(file.open(path), 0);
        file << "new";
        GetParam().arrange();
    }
    EXPECT_EQ(readFile(temporaryPath), "new");
}

INSTANTIATE_TEST_SUITE_P(, ReplacingFileRenameFault, testing::ValuesIn(renameFaults),
                         [](const auto& row) { return row.param.name; });

TEST_F(ReplacingFileFinish, ReturnsMinus3IfTheTemporaryFileIsGone)
{
    ReplacingFile file;
    ASSERT_EQ(file.open(path), 0);
    file << "new";
    fs::remove(temporaryPath);
    EXPECT_EQ(file.finish(), -3);
    EXPECT_EQ(readFile(path), "old");
    EXPECT_EQ(namesIn(directory), Names{"config.json"});
}

TEST_F(ReplacingFileFinish, ReturnsMinus3IfTheNameIsEmpty)
{
    ReplacingFile file;
    ASSERT_EQ(file.open(""), 0);
    file << "new";
    EXPECT_EQ(file.finish(), -3);
    EXPECT_EQ(readFile(directory + "/.filsec"), "new");
    EXPECT_EQ(namesIn(directory), (Names{".filsec", "config.json"}));
}

TEST_F(ReplacingFileFinish, RenamesEvenIfTheCloseFails)
{
    ReplacingFile file;
    ASSERT_EQ(file.open(path), 0);
    file << "new" << std::flush;
    int descriptor = -1;
    for (const std::string& name : namesIn("/proc/self/fd")) {
        std::error_code gone;
        if (fs::read_symlink("/proc/self/fd/" + name, gone) == temporaryPath) {
            descriptor = std::stoi(name);
        }
    }
    ASSERT_EQ(close(descriptor), 0);  // without the stream
    EXPECT_EQ(file.finish(), 0);
    EXPECT_TRUE(file.fail());
    EXPECT_EQ(readFile(path), "new");
    EXPECT_EQ(namesIn(directory), Names{"config.json"});
}

// The ways to a stream with nothing open.
struct IdleState {
    const char* name;
    std::function<void(ReplacingFile&)> enter;
};

void PrintTo(const IdleState& row, std::ostream* out)
{
    *out << row.name;
}

const IdleState idleStates[] = {
    {"New", [](ReplacingFile&) {}},
    {"Finished",
     [](ReplacingFile& file) {
         ASSERT_EQ(file.open(path), 0);
         file << "new";
         ASSERT_EQ(file.finish(), 0);
     }},
    {"FinishedWith1",
     [](ReplacingFile& file) {
         ASSERT_EQ(file.open(path), 0);
         file.setstate(std::ios::badbit);
         ASSERT_EQ(file.finish(), 1);
     }},
    {"FinishedWithMinus3",
     [](ReplacingFile& file) {
         ASSERT_EQ(file.open(path), 0);
         fs::remove(temporaryPath);
         ASSERT_EQ(file.finish(), -3);
     }},
    {"OpenFailed",
     [](ReplacingFile& file) {
         fs::create_directory(temporaryPath);
         ASSERT_EQ(file.open(path), -1);
         fs::remove(temporaryPath);
     }},
    {"OpenFailedInItsFinish",
     [](ReplacingFile& file) {
         ASSERT_EQ(file.open(path), 0);
         file.setstate(std::ios::badbit);
         ASSERT_EQ(file.open(directory + "/other.json"), 1);
     }},
    {"ClosedAsAPlainStream",
     [](ReplacingFile& file) {
         ASSERT_EQ(file.open(path), 0);
         file.close();
     }},
};

class IdleReplacingFile : public ReplacingFileFixture,
                          public testing::WithParamInterface<IdleState> {};

TEST_P(IdleReplacingFile, FinishesWith0AndTouchesNothing)
{
    ReplacingFile file;
    ASSERT_NO_FATAL_FAILURE(GetParam().enter(file));
    EXPECT_FALSE(file.is_open());
    writeFile(path, "another's");
    writeFile(temporaryPath, "another's temporary");
    EXPECT_EQ(file.finish(), 0);
    EXPECT_EQ(file.finish(), 0);
    EXPECT_EQ(readFile(path), "another's");
    EXPECT_EQ(readFile(temporaryPath), "another's temporary");
    EXPECT_EQ(namesIn(directory), (Names{"config.json", "config.json.filsec"}));
}

TEST_P(IdleReplacingFile, TouchesNothingInItsDestructor)
{
    {
        ReplacingFile file;
        ASSERT_NO_FATAL_FAILURE(GetParam().enter(file));
        writeFile(path, "another's");
        writeFile(temporaryPath, "another's temporary");
    }
    EXPECT_EQ(readFile(path), "another's");
    EXPECT_EQ(readFile(temporaryPath), "another's temporary");
    EXPECT_EQ(namesIn(directory), (Names{"config.json", "config.json.filsec"}));
}

TEST_P(IdleReplacingFile, CanBeUsedAgain)
{
    ReplacingFile file;
    ASSERT_NO_FATAL_FAILURE(GetParam().enter(file));
    EXPECT_EQ(file.open(path), 0);
    EXPECT_TRUE(file.good());
    file << "newest";
    EXPECT_EQ(file.finish(), 0);
    EXPECT_EQ(readFile(path), "newest");
    EXPECT_EQ(namesIn(directory), Names{"config.json"});
}

TEST_P(IdleReplacingFile, HasNoDescriptorOpen)
{
    const Names before = namesIn("/proc/self/fd");
    ASSERT_FALSE(before.empty());
    ReplacingFile file;
    ASSERT_NO_FATAL_FAILURE(GetParam().enter(file));
    EXPECT_EQ(namesIn("/proc/self/fd"), before);
}

INSTANTIATE_TEST_SUITE_P(, IdleReplacingFile, testing::ValuesIn(idleStates),
                         [](const auto& row) { return row.param.name; });

TEST_F(ReplacingFileOpen, FinishesAnOpenFileFirst)
{
    const std::string other = directory + "/other.json";
    ReplacingFile file;
    ASSERT_EQ(file.open(path), 0);
    file << "new";
    EXPECT_EQ(file.open(other), 0);
    EXPECT_EQ(readFile(path), "new");
    EXPECT_EQ(namesIn(directory), (Names{"config.json", "other.json.filsec"}));
    file << "other";
    EXPECT_EQ(file.finish(), 0);
    EXPECT_EQ(readFile(path), "new");
    EXPECT_EQ(readFile(other), "other");
    EXPECT_EQ(namesIn(directory), (Names{"config.json", "other.json"}));
}

TEST_F(ReplacingFileOpen, FinishesAnOpenFileEvenIfItThenFails)
{
    ReplacingFile file;
    ASSERT_EQ(file.open(path), 0);
    file << "new";
    EXPECT_EQ(file.open(directory + "/missing/config.json"), -1);
    EXPECT_FALSE(file.is_open());
    EXPECT_EQ(readFile(path), "new");
    EXPECT_EQ(namesIn(directory), Names{"config.json"});
}

TEST_F(ReplacingFileOpen, CanUseTheSameNameAgain)
{
    ReplacingFile file;
    ASSERT_EQ(file.open(path), 0);
    file << "new, the first";
    EXPECT_EQ(file.open(path), 0);
    EXPECT_EQ(readFile(path), "new, the first");
    EXPECT_EQ(readFile(temporaryPath), "");
    file << "second";
    EXPECT_EQ(file.finish(), 0);
    EXPECT_EQ(readFile(path), "second");
}

struct FinishFault {
    const char* name;
    std::function<void(ReplacingFile&)> arrange;
    std::int32_t code;
};

void PrintTo(const FinishFault& row, std::ostream* out)
{
    *out << row.name;
}

class ReplacingFileFinishFault : public ReplacingFileFixture,
                                 public testing::WithParamInterface<FinishFault> {};

TEST_P(ReplacingFileFinishFault, PreventsTheOpenOfAnother)
{
    const std::string other = directory + "/other.json";
    writeFile(other, "other's old");
    {
        ReplacingFile file;
        ASSERT_EQ(file.open(path), 0);
        file << "new";
        GetParam().arrange(file);
        EXPECT_EQ(file.open(other), GetParam().code);
        EXPECT_FALSE(file.is_open());
        EXPECT_EQ(file.finish(), 0);
    }
    EXPECT_EQ(readFile(temporaryPath), "new");
    EXPECT_EQ(readFile(other), "other's old");
    EXPECT_EQ(namesIn(directory), (Names{"config.json", "config.json.filsec", "other.json"}));
}

const FinishFault finishFaults[] = {
    {"BadState", [](ReplacingFile& file) { file.setstate(std::ios::badbit); }, 1},
    {"RenameRefused",
     [](ReplacingFile&) {
         fs::remove(path);
         fs::create_directory(path);
     },
     -3},
};

INSTANTIATE_TEST_SUITE_P(, ReplacingFileFinishFault, testing::ValuesIn(finishFaults),
                         [](const auto& row) { return row.param.name; });

TEST_F(ReplacingFileDestructor, FinishesTheFile)
{
    {
        ReplacingFile file;
        ASSERT_EQ(file.open(path), 0);
        file << "new";
    }
    EXPECT_EQ(readFile(path), "new");
    EXPECT_EQ(namesIn(directory), Names{"config.json"});
}

TEST_F(ReplacingFileDestructor, DoesNotThrowWithAnExceptionsMask)
{
    fs::create_symlink("/dev/full", temporaryPath);
    {
        ReplacingFile file;
        ASSERT_EQ(file.open(path), 0);
        file.exceptions(std::ios::badbit | std::ios::failbit);
        file << "new";
    }
    EXPECT_EQ(readFile(path), "old");
    EXPECT_TRUE(fs::is_symlink(temporaryPath));
}

TEST_F(ReplacingFileDestructor, FinishesTheFileWithAnExceptionsMask)
{
    {
        ReplacingFile file;
        ASSERT_EQ(file.open(path), 0);
        file.exceptions(std::ios::badbit | std::ios::failbit);
        file << "new";
    }
    EXPECT_EQ(readFile(path), "new");
    EXPECT_EQ(namesIn(directory), Names{"config.json"});
}

template <typename Base>
void openAndDestroyAs()
{
    auto file = std::make_unique<ReplacingFile>();
    ASSERT_EQ(file->open(path), 0);
    const std::unique_ptr<Base> base = std::move(file);
    dynamic_cast<std::ostream&>(*base) << "new";
}

struct StreamBase {
    const char* name;
    void (*openAndDestroy)();
};

void PrintTo(const StreamBase& row, std::ostream* out)
{
    *out << row.name;
}

class ReplacingFileBase : public ReplacingFileFixture,
                          public testing::WithParamInterface<StreamBase> {};

TEST_P(ReplacingFileBase, FinishesTheFileInItsDestructor)
{
    GetParam().openAndDestroy();
    EXPECT_EQ(readFile(path), "new");
    EXPECT_EQ(namesIn(directory), Names{"config.json"});
}

constexpr StreamBase streamBases[] = {
    {"FileStream", openAndDestroyAs<std::ofstream>},
    {"OutputStream", openAndDestroyAs<std::ostream>},
    {"StreamBase", openAndDestroyAs<std::ios_base>},
};

INSTANTIATE_TEST_SUITE_P(, ReplacingFileBase, testing::ValuesIn(streamBases),
                         [](const auto& row) { return row.param.name; });

struct Place {
    const char* name;
    std::string finalName;
    Names synced;
};

void PrintTo(const Place& row, std::ostream* out)
{
    *out << row.name;
}

class ReplacingFilePlace : public ReplacingFileFixture,
                           public testing::WithParamInterface<Place> {};

TEST_P(ReplacingFilePlace, IsSyncedBeforeTheRenameThenAgainThenItsDirectory)
{
    fs::create_directory(directory + "/sub");
    ReplacingFile file;
    ASSERT_EQ(file.open(GetParam().finalName), 0);
    file << "new";
    EXPECT_EQ(synced, Names());
    EXPECT_EQ(file.finish(), 0);
    EXPECT_EQ(synced, GetParam().synced);
    fs::remove("/file");
}

const Place places[] = {
    {"InADirectory", path, {path + ".filsec 3", path + " 3", directory}},
    {"BelowTheCurrentDirectory",
     "sub/file",
     {directory + "/sub/file.filsec 3", directory + "/sub/file 3", directory + "/sub"}},
    {"InTheCurrentDirectory",
     "file",
     {directory + "/file.filsec 3", directory + "/file 3", directory}},
    {"InTheRootDirectory", "/file", {"/file.filsec 3", "/file 3", "/"}},
};

INSTANTIATE_TEST_SUITE_P(, ReplacingFilePlace, testing::ValuesIn(places),
                         [](const auto& row) { return row.param.name; });

TEST_F(ReplacingFileSync, UsesDescriptorsThatNeitherBlockNorAreInherited)
{
    ReplacingFile file;
    ASSERT_EQ(file.open(path), 0);
    file << "new";
    ASSERT_EQ(file.finish(), 0);
    ASSERT_EQ(syncedFlags.size(), 3);
    for (const int flags : syncedFlags) {
        EXPECT_EQ(flags & O_ACCMODE, O_RDONLY);
        EXPECT_EQ(flags & (O_NONBLOCK | O_CLOEXEC), O_NONBLOCK | O_CLOEXEC);
    }
}

TEST_F(ReplacingFileSync, SyncsOnlyTheContentsIfTheRenameIsRefused)
{
    const std::string finalName = directory + "/directory";
    fs::create_directory(finalName);
    ReplacingFile file;
    ASSERT_EQ(file.open(finalName), 0);
    file << "new";
    EXPECT_EQ(file.finish(), -3);
    EXPECT_EQ(synced, Names{finalName + ".filsec 3"});
}

struct SyncFault {
    const char* name;
    std::string path;
    mode_t mode;
};

void PrintTo(const SyncFault& row, std::ostream* out)
{
    *out << row.name;
}

class ReplacingFileSyncFault : public ReplacingFileFixture,
                               public testing::WithParamInterface<SyncFault> {};

TEST_P(ReplacingFileSyncFault, IsNotReportedInErrnoEither)
{
    for (const int before : {0, 77}) {
        SCOPED_TRACE(before);
        ReplacingFile file;
        ASSERT_EQ(file.open(path), 0);
        file << "new";
        chmod(GetParam().path.c_str(), GetParam().mode);
        errno = before;
        const std::int32_t code = file.finish();
        const int after = errno;
        EXPECT_EQ(code, 0);
        EXPECT_EQ(after, before);
        chmod(directory.c_str(), 0755);
        chmod(path.c_str(), 0644);
        EXPECT_EQ(readFile(path), "new");
    }
}

const SyncFault syncFaults[] = {
    {"DirectoryNotReadable", directory, 0300},
    {"TemporaryFileNotReadable", temporaryPath, 0200},
};

INSTANTIATE_TEST_SUITE_P(, ReplacingFileSyncFault, testing::ValuesIn(syncFaults),
                         [](const auto& row) { return row.param.name; });

TEST_F(ReplacingFileSync, DoesNotBlockOnAPipe)
{
    ASSERT_EQ(mkfifo(temporaryPath.c_str(), 0600), 0);
    const int reader = open(temporaryPath.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    ReplacingFile file;
    ASSERT_EQ(file.open(path), 0);
    file << "new";
    EXPECT_EQ(file.finish(), 0);
    EXPECT_TRUE(fs::is_fifo(path));
    char bytes[4] = {};
    EXPECT_EQ(read(reader, bytes, sizeof bytes), 3);
    EXPECT_STREQ(bytes, "new");
    close(reader);
}

TEST_F(ReplacingFileDestructor, ClosesTheFile)
{
    const Names before = namesIn("/proc/self/fd");
    ASSERT_FALSE(before.empty());
    {
        ReplacingFile file;
        ASSERT_EQ(file.open(path), 0);
        EXPECT_EQ(namesIn("/proc/self/fd").size(), before.size() + 1);
    }
    EXPECT_EQ(namesIn("/proc/self/fd"), before);
}

}  // namespace
