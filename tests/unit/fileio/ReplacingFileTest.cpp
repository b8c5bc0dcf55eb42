// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "fileio/ReplacingFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/appliance/Files.h"

namespace fs = std::filesystem;

namespace {

const std::string folder = "/appliance";
const std::string path = folder + "/config.json";
const std::string temporaryPath = folder + "/config.json.filsec";

using Names = std::vector<std::string>;

/// What each fsync(2) of this executable was called for, oldest first: the path that the file had
/// then, and the size that it had, where it is one.
Names synced;

/// What such a descriptor was opened with.
std::vector<int> syncedFlags;

}  // namespace

// The bytes that a power cut would take cannot be looked at from here, only the calls that keep
// them.
extern "C" int fsync(int fd)
{
    const fs::path target = fs::read_symlink("/proc/self/fd/" + std::to_string(fd));
    struct stat status = {};
    fstat(fd, &status);
    const bool isFile = S_ISREG(status.st_mode);
    synced.push_back(target.string() + (isFile ? " " + std::to_string(status.st_size) : ""));
    syncedFlags.push_back(fcntl(fd, F_GETFL) | (fcntl(fd, F_GETFD) == FD_CLOEXEC ? O_CLOEXEC : 0));
    return static_cast<int>(syscall(SYS_fsync, fd));
}

namespace {

ino_t inodeOf(const std::string& name)
{
    struct stat status = {};
    return lstat(name.c_str(), &status) == 0 ? status.st_ino : 0;
}

/// Makes every file that is written from now on end at this size: what would reach beyond is
/// refused. Ends with the object.
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

class ReplacingFileTest : public testing::Test {
protected:
    ReplacingFileTest()
    {
        chmod(folder.c_str(), 0755);
        emptyDirectory(folder);
        writeFile(path, "old");
        synced.clear();
        syncedFlags.clear();
    }

    ~ReplacingFileTest() override { chmod(folder.c_str(), 0755); }
};

// The stream may be destroyed through its bases, and only that is virtual beside the stream's own.
static_assert(std::is_base_of_v<std::ofstream, ReplacingFile>);
static_assert(std::has_virtual_destructor_v<ReplacingFile>);
static_assert(!std::is_copy_constructible_v<ReplacingFile>);
static_assert(!std::is_move_constructible_v<ReplacingFile>);

TEST_F(ReplacingFileTest, ReplacesTheFileWhenFinished)
{
    ReplacingFile file;
    ASSERT_EQ(file.open(path), 0);
    EXPECT_TRUE(file.is_open());
    file << "new " << 42;
    EXPECT_EQ(file.finish(), 0);
    EXPECT_FALSE(file.is_open());
    EXPECT_EQ(readFile(path), "new 42");
    EXPECT_EQ(namesIn(folder), Names{"config.json"});
}

TEST_F(ReplacingFileTest, MakesAFileThatIsNotThereYet)
{
    fs::remove(path);
    ReplacingFile file;
    ASSERT_EQ(file.open(path), 0);
    file << "new";
    EXPECT_EQ(file.finish(), 0);
    EXPECT_EQ(readFile(path), "new");
    EXPECT_EQ(namesIn(folder), Names{"config.json"});
}

TEST_F(ReplacingFileTest, LeavesTheOldFileAloneUntilFinished)
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

TEST_F(ReplacingFileTest, MovesTheTemporaryFileIntoPlaceInOneStep)
{
    const int reader = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    ReplacingFile file;
    ASSERT_EQ(file.open(path), 0);
    file << "new";
    const ino_t temporaryInode = inodeOf(temporaryPath);
    EXPECT_EQ(file.finish(), 0);
    EXPECT_EQ(inodeOf(path), temporaryInode);
    // Whoever had the old file open keeps reading that.
    EXPECT_EQ(readFile("/proc/self/fd/" + std::to_string(reader)), "old");
    close(reader);
}

TEST_F(ReplacingFileTest, NamesTheTemporaryFileAfterTheFinalName)
{
    fs::create_directories(folder + "/sub/sub.d");
    struct Row {
        const char* name;
        const char* folder;
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
        {" blanks and 'quotes' ", "/appliance", " blanks and 'quotes' "},
        {"x.filsec", "/appliance", "x.filsec"},
        {".filsec", "/appliance", ".filsec"},
        {"back\\slash", "/appliance", "back\\slash"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const Names before = namesIn(row.folder);
        const auto withName = [&before](const std::string& name) {
            Names names = before;
            names.insert(std::lower_bound(names.begin(), names.end(), name), name);
            return names;
        };
        ReplacingFile file;
        EXPECT_EQ(file.open(row.name), 0);
        file << row.name << std::flush;
        EXPECT_EQ(namesIn(row.folder), withName(std::string(row.fileName) + ".filsec"));
        EXPECT_EQ(file.finish(), 0);
        EXPECT_EQ(namesIn(row.folder), withName(row.fileName));
        const std::string absolute = std::string(row.folder) + "/" + row.fileName;
        EXPECT_EQ(readFile(absolute), row.name);
        fs::remove(absolute);
    }
}

TEST_F(ReplacingFileTest, WritesBytesAsTheyAre)
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

TEST_F(ReplacingFileTest, MakesAnEmptyFileOfNothing)
{
    ReplacingFile file;
    ASSERT_EQ(file.open(path), 0);
    EXPECT_EQ(file.finish(), 0);
    EXPECT_EQ(readFile(path), "");
    EXPECT_EQ(namesIn(folder), Names{"config.json"});
}

TEST_F(ReplacingFileTest, EmptiesATemporaryFileThatWasLeftOver)
{
    writeFile(temporaryPath, "what an earlier run left, longer than the new text");
    ReplacingFile file;
    ASSERT_EQ(file.open(path), 0);
    EXPECT_EQ(readFile(temporaryPath), "");
    file << "new";
    EXPECT_EQ(file.finish(), 0);
    EXPECT_EQ(readFile(path), "new");
    EXPECT_EQ(namesIn(folder), Names{"config.json"});
}

TEST_F(ReplacingFileTest, ReplacesALinkByAFileAndLeavesWhatItLedTo)
{
    fs::rename(path, folder + "/target.json");
    fs::create_symlink("target.json", path);
    ReplacingFile file;
    ASSERT_EQ(file.open(path), 0);
    file << "new";
    EXPECT_EQ(file.finish(), 0);
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(path)));
    EXPECT_EQ(readFile(path), "new");
    EXPECT_EQ(readFile(folder + "/target.json"), "old");
    EXPECT_EQ(namesIn(folder), (Names{"config.json", "target.json"}));
}

TEST_F(ReplacingFileTest, CannotOpenWithoutATemporaryFile)
{
    struct Row {
        const char* name;
        std::function<void()> prepare;
        std::string path = ::path;
    };
    const Row rows[] = {
        {"folder missing", [] {}, folder + "/missing/config.json"},
        {"folder is a file", [] {}, path + "/config.json"},
        {"folder not writable", [] { chmod(folder.c_str(), 0555); }},
        {"temporary name is a folder", [] { fs::create_directory(temporaryPath); }},
        {"temporary file not writable",
         [] {
             writeFile(temporaryPath, "left over");
             chmod(temporaryPath.c_str(), 0444);
         }},
        {"only the temporary name is too long", [] {}, folder + "/" + std::string(249, 'x')},
        {"name ends in a slash of a missing folder", [] {}, folder + "/missing/"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        emptyDirectory(folder);
        writeFile(path, "old");
        row.prepare();
        const Names before = namesIn(folder);
        {
            ReplacingFile file;
            EXPECT_EQ(file.open(row.path), -1);
            EXPECT_FALSE(file.is_open());
            file << "new";
            EXPECT_EQ(file.finish(), 0);
        }
        EXPECT_EQ(readFile(path), "old");
        EXPECT_EQ(namesIn(folder), before);
        chmod(folder.c_str(), 0755);
    }
}

// What puts the stream into a failed state while the file is being written.
struct WriteFault {
    const char* name;
    std::function<void(ReplacingFile&)> write;

    /// What the temporary file then holds. Null where the stream could not write and can when it
    /// is closed: it may then write once more what it had written in part.
    const char* reached;
};

const WriteFault writeFaults[] = {
    {"fail state before the text",
     [](ReplacingFile& file) {
         file.setstate(std::ios::failbit);
         file << "new";
     },
     ""},
    {"fail state behind the text",
     [](ReplacingFile& file) {
         file << "new";
         file.setstate(std::ios::failbit);
     },
     "new"},
    {"bad state behind the text",
     [](ReplacingFile& file) {
         file << "new";
         file.setstate(std::ios::badbit);
     },
     "new"},
    {"an insertion that failed",
     [](ReplacingFile& file) { file << "new" << static_cast<const char*>(nullptr); }, "new"},
    {"a size limit met by the insertion, and lifted",
     [](ReplacingFile& file) {
         const FileSizeLimit limit(3);
         file << "new text" << std::flush;
     },
     nullptr},
    {"a size limit met by a text larger than the buffer, and lifted",
     [](ReplacingFile& file) {
         const FileSizeLimit limit(3);
         file << "new" << std::string(100'000, 'x');
     },
     nullptr},
};

TEST_F(ReplacingFileTest, FinishesWith1AfterAnInsertionThatFailed)
{
    for (const WriteFault& row : writeFaults) {
        SCOPED_TRACE(row.name);
        fs::remove(temporaryPath);
        const ino_t oldInode = inodeOf(path);
        ReplacingFile file;
        ASSERT_EQ(file.open(path), 0);
        row.write(file);
        EXPECT_EQ(file.finish(), 1);
        EXPECT_FALSE(file.is_open());
        EXPECT_EQ(readFile(path), "old");
        EXPECT_EQ(inodeOf(path), oldInode);
        EXPECT_TRUE(fs::is_regular_file(temporaryPath));
        if (row.reached != nullptr) {
            EXPECT_EQ(readFile(temporaryPath), row.reached);
        }
    }
}

TEST_F(ReplacingFileTest, FinishesWith1WhenTheFlushMeetsTheFault)
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

TEST_F(ReplacingFileTest, FinishesWith1OnAFullDevice)
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

TEST_F(ReplacingFileTest, FinishesWellInAnEndOfFileState)
{
    ReplacingFile file;
    ASSERT_EQ(file.open(path), 0);
    file << "new";
    file.setstate(std::ios::eofbit);
    EXPECT_EQ(file.finish(), 0);
    EXPECT_EQ(readFile(path), "new");
}

// What makes the rename refuse, from the state with the temporary file open.
struct RenameFault {
    const char* name;
    std::function<void()> prepare;
};

const RenameFault renameFaults[] = {
    {"final name is a folder",
     [] {
         fs::remove(path);
         fs::create_directory(path);
     }},
    {"folder has become read-only", [] { chmod(folder.c_str(), 0555); }},
};

TEST_F(ReplacingFileTest, FinishesWithMinus3WhenTheRenameIsRefused)
{
    for (const RenameFault& row : renameFaults) {
        SCOPED_TRACE(row.name);
        emptyDirectory(folder);
        writeFile(path, "old");
        ReplacingFile file;
        ASSERT_EQ(file.open(path), 0);
        file << "new";
        row.prepare();
        const ino_t oldInode = inodeOf(path);
        EXPECT_EQ(file.finish(), -3);
        EXPECT_FALSE(file.is_open());
        EXPECT_EQ(inodeOf(path), oldInode);
        EXPECT_EQ(readFile(temporaryPath), "new");
        chmod(folder.c_str(), 0755);
    }
}

TEST_F(ReplacingFileTest, FinishesWithMinus3WhenTheTemporaryFileIsGone)
{
    ReplacingFile file;
    ASSERT_EQ(file.open(path), 0);
    file << "new";
    fs::remove(temporaryPath);
    EXPECT_EQ(file.finish(), -3);
    EXPECT_EQ(readFile(path), "old");
    EXPECT_EQ(namesIn(folder), Names{"config.json"});
}

TEST_F(ReplacingFileTest, WritesBesideAnEmptyNameButCannotRenameToIt)
{
    ReplacingFile file;
    ASSERT_EQ(file.open(""), 0);
    file << "new";
    EXPECT_EQ(file.finish(), -3);
    EXPECT_EQ(readFile(folder + "/.filsec"), "new");
    EXPECT_EQ(namesIn(folder), (Names{".filsec", "config.json"}));
}

TEST_F(ReplacingFileTest, RenamesAlthoughTheCloseFails)
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
    ASSERT_EQ(close(descriptor), 0);  // behind the stream's back
    EXPECT_EQ(file.finish(), 0);
    EXPECT_TRUE(file.fail());
    EXPECT_EQ(readFile(path), "new");
    EXPECT_EQ(namesIn(folder), Names{"config.json"});
}

// The ways in which an object comes to have nothing open.
struct IdleState {
    const char* name;
    std::function<void(ReplacingFile&)> enter;
};

const IdleState idleStates[] = {
    {"new", [](ReplacingFile&) {}},
    {"finished",
     [](ReplacingFile& file) {
         ASSERT_EQ(file.open(path), 0);
         file << "new";
         ASSERT_EQ(file.finish(), 0);
     }},
    {"finished with 1",
     [](ReplacingFile& file) {
         ASSERT_EQ(file.open(path), 0);
         file.setstate(std::ios::badbit);
         ASSERT_EQ(file.finish(), 1);
     }},
    {"finished with -3",
     [](ReplacingFile& file) {
         ASSERT_EQ(file.open(path), 0);
         fs::remove(temporaryPath);
         ASSERT_EQ(file.finish(), -3);
     }},
    {"open failed",
     [](ReplacingFile& file) {
         fs::create_directory(temporaryPath);
         ASSERT_EQ(file.open(path), -1);
         fs::remove(temporaryPath);
     }},
    {"open failed in its finish",
     [](ReplacingFile& file) {
         ASSERT_EQ(file.open(path), 0);
         file.setstate(std::ios::badbit);
         ASSERT_EQ(file.open(folder + "/other.json"), 1);
     }},
    {"closed as a plain stream",
     [](ReplacingFile& file) {
         ASSERT_EQ(file.open(path), 0);
         file.close();
     }},
};

TEST_F(ReplacingFileTest, FinishesWith0AndTouchesNothingWhenNothingIsOpen)
{
    for (const IdleState& row : idleStates) {
        SCOPED_TRACE(row.name);
        emptyDirectory(folder);
        writeFile(path, "old");
        ReplacingFile file;
        ASSERT_NO_FATAL_FAILURE(row.enter(file));
        EXPECT_FALSE(file.is_open());
        writeFile(path, "another's");
        writeFile(temporaryPath, "another's temporary");
        EXPECT_EQ(file.finish(), 0);
        EXPECT_EQ(file.finish(), 0);
        EXPECT_EQ(readFile(path), "another's");
        EXPECT_EQ(readFile(temporaryPath), "another's temporary");
        EXPECT_EQ(namesIn(folder), (Names{"config.json", "config.json.filsec"}));
    }
}

TEST_F(ReplacingFileTest, TouchesNothingInItsDestructorWhenNothingIsOpen)
{
    for (const IdleState& row : idleStates) {
        SCOPED_TRACE(row.name);
        emptyDirectory(folder);
        writeFile(path, "old");
        {
            ReplacingFile file;
            ASSERT_NO_FATAL_FAILURE(row.enter(file));
            writeFile(path, "another's");
            writeFile(temporaryPath, "another's temporary");
        }
        EXPECT_EQ(readFile(path), "another's");
        EXPECT_EQ(readFile(temporaryPath), "another's temporary");
        EXPECT_EQ(namesIn(folder), (Names{"config.json", "config.json.filsec"}));
    }
}

TEST_F(ReplacingFileTest, CanBeUsedAgainFromEveryIdleState)
{
    for (const IdleState& row : idleStates) {
        SCOPED_TRACE(row.name);
        emptyDirectory(folder);
        writeFile(path, "old");
        ReplacingFile file;
        ASSERT_NO_FATAL_FAILURE(row.enter(file));
        EXPECT_EQ(file.open(path), 0);
        EXPECT_TRUE(file.good());
        file << "newest";
        EXPECT_EQ(file.finish(), 0);
        EXPECT_EQ(readFile(path), "newest");
        EXPECT_EQ(namesIn(folder), Names{"config.json"});
    }
}

TEST_F(ReplacingFileTest, FinishesTheFileThatIsOpenBeforeOpeningAnother)
{
    const std::string other = folder + "/other.json";
    ReplacingFile file;
    ASSERT_EQ(file.open(path), 0);
    file << "new";
    EXPECT_EQ(file.open(other), 0);
    EXPECT_EQ(readFile(path), "new");
    EXPECT_EQ(namesIn(folder), (Names{"config.json", "other.json.filsec"}));
    file << "other";
    EXPECT_EQ(file.finish(), 0);
    EXPECT_EQ(readFile(path), "new");
    EXPECT_EQ(readFile(other), "other");
    EXPECT_EQ(namesIn(folder), (Names{"config.json", "other.json"}));
}

TEST_F(ReplacingFileTest, FinishesTheFileThatIsOpenAlsoBeforeFailingToOpenAnother)
{
    ReplacingFile file;
    ASSERT_EQ(file.open(path), 0);
    file << "new";
    EXPECT_EQ(file.open(folder + "/missing/config.json"), -1);
    EXPECT_FALSE(file.is_open());
    EXPECT_EQ(readFile(path), "new");
    EXPECT_EQ(namesIn(folder), Names{"config.json"});
}

TEST_F(ReplacingFileTest, OpensTheSameNameAgain)
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

TEST_F(ReplacingFileTest, OpensNothingWhenItCannotFinishTheFileThatIsOpen)
{
    const std::string other = folder + "/other.json";
    struct Row {
        const char* name;
        std::function<void(ReplacingFile&)> spoil;
        std::int32_t code;
    };
    const Row rows[] = {
        {"bad state", [](ReplacingFile& file) { file.setstate(std::ios::badbit); }, 1},
        {"rename refused",
         [](ReplacingFile&) {
             fs::remove(path);
             fs::create_directory(path);
         },
         -3},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        emptyDirectory(folder);
        writeFile(path, "old");
        writeFile(other, "other's old");
        {
            ReplacingFile file;
            ASSERT_EQ(file.open(path), 0);
            file << "new";
            row.spoil(file);
            EXPECT_EQ(file.open(other), row.code);
            EXPECT_FALSE(file.is_open());
            EXPECT_EQ(file.finish(), 0);
        }
        EXPECT_EQ(readFile(temporaryPath), "new");
        EXPECT_EQ(readFile(other), "other's old");
        EXPECT_EQ(namesIn(folder), (Names{"config.json", "config.json.filsec", "other.json"}));
    }
}

TEST_F(ReplacingFileTest, FinishesInItsDestructor)
{
    {
        ReplacingFile file;
        ASSERT_EQ(file.open(path), 0);
        file << "new";
    }
    EXPECT_EQ(readFile(path), "new");
    EXPECT_EQ(namesIn(folder), Names{"config.json"});
}

TEST_F(ReplacingFileTest, DoesNotReplaceTheFileInItsDestructorAfterAFault)
{
    for (const WriteFault& row : writeFaults) {
        SCOPED_TRACE(row.name);
        fs::remove(temporaryPath);
        {
            ReplacingFile file;
            ASSERT_EQ(file.open(path), 0);
            row.write(file);
        }
        EXPECT_EQ(readFile(path), "old");
        EXPECT_TRUE(fs::is_regular_file(temporaryPath));
        if (row.reached != nullptr) {
            EXPECT_EQ(readFile(temporaryPath), row.reached);
        }
    }
}

TEST_F(ReplacingFileTest, KeepsTheTemporaryFileWhenItsDestructorCannotRename)
{
    for (const RenameFault& row : renameFaults) {
        SCOPED_TRACE(row.name);
        emptyDirectory(folder);
        writeFile(path, "old");
        {
            ReplacingFile file;
            ASSERT_EQ(file.open(path), 0);
            file << "new";
            row.prepare();
        }
        EXPECT_EQ(readFile(temporaryPath), "new");
        chmod(folder.c_str(), 0755);
    }
}

// An exception that leaves a destructor ends the program (std::terminate).
TEST_F(ReplacingFileTest, DoesNotThrowInItsDestructorWithAnExceptionsMask)
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

TEST_F(ReplacingFileTest, DoesNotThrowInItsDestructorAfterAnInsertionThatThrew)
{
    for (const WriteFault& row : writeFaults) {
        SCOPED_TRACE(row.name);
        fs::remove(temporaryPath);
        {
            ReplacingFile file;
            ASSERT_EQ(file.open(path), 0);
            file.exceptions(std::ios::badbit | std::ios::failbit);
            EXPECT_THROW(row.write(file), std::ios::failure);
        }
        EXPECT_EQ(readFile(path), "old");
        EXPECT_TRUE(fs::is_regular_file(temporaryPath));
    }
}

TEST_F(ReplacingFileTest, FinishesInItsDestructorWithAnExceptionsMask)
{
    {
        ReplacingFile file;
        ASSERT_EQ(file.open(path), 0);
        file.exceptions(std::ios::badbit | std::ios::failbit);
        file << "new";
    }
    EXPECT_EQ(readFile(path), "new");
    EXPECT_EQ(namesIn(folder), Names{"config.json"});
}

template <typename Base>
void openAndDestroyAs()
{
    auto file = std::make_unique<ReplacingFile>();
    ASSERT_EQ(file->open(path), 0);
    const std::unique_ptr<Base> base = std::move(file);
    dynamic_cast<std::ostream&>(*base) << "new";
}

TEST_F(ReplacingFileTest, FinishesInItsDestructorWhenDestroyedAsAStream)
{
    struct Row {
        const char* name;
        void (*openAndDestroy)();
    };
    constexpr Row rows[] = {
        {"file stream", openAndDestroyAs<std::ofstream>},
        {"output stream", openAndDestroyAs<std::ostream>},
        {"stream base", openAndDestroyAs<std::ios_base>},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        emptyDirectory(folder);
        writeFile(path, "old");
        row.openAndDestroy();
        EXPECT_EQ(readFile(path), "new");
        EXPECT_EQ(namesIn(folder), Names{"config.json"});
    }
}

TEST_F(ReplacingFileTest, SyncsTheBytesBeforeTheRenameThenTheFileAgainThenTheFolder)
{
    fs::create_directory(folder + "/sub");
    struct Row {
        const char* name;
        std::string finalName;
        Names synced;
    };
    const Row rows[] = {
        {"in a folder", path, {path + ".filsec 3", path + " 3", folder}},
        {"in a folder below the current one",
         "sub/file",
         {folder + "/sub/file.filsec 3", folder + "/sub/file 3", folder + "/sub"}},
        {"in the current folder", "file", {folder + "/file.filsec 3", folder + "/file 3", folder}},
        {"in the root folder", "/file", {"/file.filsec 3", "/file 3", "/"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        synced.clear();
        ReplacingFile file;
        ASSERT_EQ(file.open(row.finalName), 0);
        file << "new";
        EXPECT_EQ(synced, Names());
        EXPECT_EQ(file.finish(), 0);
        EXPECT_EQ(synced, row.synced);
    }
    fs::remove("/file");
}

TEST_F(ReplacingFileTest, SyncsThroughDescriptorsThatNeitherWaitNorReachOtherPrograms)
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

TEST_F(ReplacingFileTest, SyncsOnlyTheBytesWhenTheRenameIsRefused)
{
    const std::string directory = folder + "/directory";
    fs::create_directory(directory);
    ReplacingFile file;
    ASSERT_EQ(file.open(directory), 0);
    file << "new";
    EXPECT_EQ(file.finish(), -3);
    EXPECT_EQ(synced, Names{directory + ".filsec 3"});
}

TEST_F(ReplacingFileTest, KeepsErrnoWhenItCannotSync)
{
    struct Row {
        const char* name;
        const std::string& path;
        mode_t mode;
    };
    const Row rows[] = {
        {"folder not readable", folder, 0300},
        {"temporary file not readable", temporaryPath, 0200},
    };
    for (const Row& row : rows) {
        for (const int before : {0, 77}) {
            SCOPED_TRACE(testing::Message() << row.name << ", errno " << before);
            emptyDirectory(folder);
            ReplacingFile file;
            ASSERT_EQ(file.open(path), 0);
            file << "new";
            chmod(row.path.c_str(), row.mode);
            errno = before;
            const std::int32_t code = file.finish();
            const int after = errno;
            EXPECT_EQ(code, 0);
            EXPECT_EQ(after, before);
            chmod(folder.c_str(), 0755);
            chmod(path.c_str(), 0644);
            EXPECT_EQ(readFile(path), "new");
        }
    }
}

TEST_F(ReplacingFileTest, FinishesAPipeWithoutWaitingForAWriter)
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

TEST_F(ReplacingFileTest, ClosesTheFileOnEveryPath)
{
    const Names before = namesIn("/proc/self/fd");
    ASSERT_FALSE(before.empty());
    for (const IdleState& row : idleStates) {
        SCOPED_TRACE(row.name);
        emptyDirectory(folder);
        writeFile(path, "old");
        ReplacingFile file;
        ASSERT_NO_FATAL_FAILURE(row.enter(file));
        EXPECT_EQ(namesIn("/proc/self/fd"), before);
    }
    {
        ReplacingFile file;
        ASSERT_EQ(file.open(path), 0);
        EXPECT_EQ(namesIn("/proc/self/fd").size(), before.size() + 1);
    }
    EXPECT_EQ(namesIn("/proc/self/fd"), before) << "after destroying an open one";
}

}  // namespace
