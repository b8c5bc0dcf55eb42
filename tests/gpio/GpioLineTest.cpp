// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "gpio/GpioLine.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdarg>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "tests/appliance/Files.h"

namespace fs = std::filesystem;

namespace {

using namespace std::chrono_literals;
using std::chrono::nanoseconds;
using std::chrono::steady_clock;
using std::chrono::system_clock;

static_assert(std::has_virtual_destructor_v<GpioLine>);
static_assert(!std::is_copy_constructible_v<GpioLine> && !std::is_copy_assignable_v<GpioLine>);

constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t highest = std::numeric_limits<std::int32_t>::max();

const std::string root = "/sys/class/gpio/";
const std::string lineFolder = root + "gpio17";
const std::string valueFile = lineFolder + "/value";
const std::string directionFile = lineFolder + "/direction";

/// What passes through the open(2) and nanosleep(2) of this program, below, which the library
/// reaches in place of the C library's. A failed open leaves no other trace that could be counted.
struct KernelCalls {
    std::vector<int> openFlags;  ///< of each attempt to open a value file
    int descriptor = -1;         ///< what the last of them gave

    /// Is called before each of them, with its number, from 1.
    std::function<void(std::size_t attempt)> beforeOpen = [](std::size_t /*attempt*/) {};

    std::vector<timespec> sleeps;  ///< what each nanosleep(2) asked for

    /// Sleeps, or does something else and returns the result.
    std::function<int(const timespec* request, timespec* remaining)> sleep = realSleep;

    static int realSleep(const timespec* request, timespec* remaining)
    {
        errno = clock_nanosleep(CLOCK_REALTIME, 0, request, remaining);
        return errno == 0 ? 0 : -1;
    }
};

/// Those of the running test.
KernelCalls* kernelCalls = nullptr;

}  // namespace

extern "C" int open(const char* path, int flags, ...)
{
    mode_t mode = 0;
    if ((flags & O_CREAT) != 0) {
        va_list rest;
        va_start(rest, flags);
        mode = va_arg(rest, mode_t);
        va_end(rest);
    }
    const bool counts = kernelCalls != nullptr && std::string_view(path).ends_with("/value");
    if (counts) {
        kernelCalls->openFlags.push_back(flags);
        kernelCalls->beforeOpen(kernelCalls->openFlags.size());
    }
    const int descriptor = static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
    if (counts) {
        kernelCalls->descriptor = descriptor;
    }
    return descriptor;
}

extern "C" int nanosleep(const timespec* request, timespec* remaining)
{
    if (kernelCalls == nullptr) {
        return KernelCalls::realSleep(request, remaining);
    }
    kernelCalls->sleeps.push_back(*request);
    return kernelCalls->sleep(request, remaining);
}

namespace {

nanoseconds durationOf(const timespec& time)
{
    return std::chrono::seconds(time.tv_sec) + nanoseconds(time.tv_nsec);
}

/// Ends the sleep as a signal does that comes when this much of it is left.
std::function<int(const timespec*, timespec*)> interruptedOnce(nanoseconds left)
{
    return [left, done = false](const timespec* request, timespec* remaining) mutable {
        if (done) {
            return KernelCalls::realSleep(request, remaining);
        }
        done = true;
        *remaining = {0, static_cast<long>(left.count())};
        errno = EINTR;
        return -1;
    };
}

bool isOpen(int descriptor)
{
    return fcntl(descriptor, F_GETFD) != -1;
}

/// A file's mode, until the end of the block.
class FileMode {
public:
    FileMode(std::string name, mode_t mode) : path(std::move(name))
    {
        struct stat status = {};
        EXPECT_EQ(stat(path.c_str(), &status), 0);
        before = status.st_mode & 07777U;
        EXPECT_EQ(chmod(path.c_str(), mode), 0);
    }
    ~FileMode() { chmod(path.c_str(), before); }
    FileMode(const FileMode&) = delete;
    FileMode& operator=(const FileMode&) = delete;

private:
    std::string path;
    mode_t before = 0;
};

/// Until the end of the block, no file of this process grows beyond so many bytes (setrlimit(2)).
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) : handlerBefore(std::signal(SIGXFSZ, SIG_IGN))
    {
        EXPECT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
        const rlimit limit{bytes, before.rlim_max};
        EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, handlerBefore);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    void (*handlerBefore)(int);
    rlimit before{};
};

/// Until the end of the block descriptor 0 is free, so that the next open(2) gives 0.
class StandardInputClosed {
public:
    StandardInputClosed() : kept(dup(STDIN_FILENO)) { close(STDIN_FILENO); }
    ~StandardInputClosed()
    {
        dup2(kept, STDIN_FILENO);
        close(kept);
    }
    StandardInputClosed(const StandardInputClosed&) = delete;
    StandardInputClosed& operator=(const StandardInputClosed&) = delete;

private:
    int kept;
};

/// Notices any use of the files in some folders.
class Watch {
public:
    explicit Watch(const std::vector<std::string>& folders) : fd(inotify_init1(IN_NONBLOCK))
    {
        for (const std::string& folder : folders) {
            EXPECT_GE(inotify_add_watch(fd, folder.c_str(), IN_ALL_EVENTS), 0);
        }
    }
    ~Watch() { close(fd); }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    [[nodiscard]] bool sawUse() const
    {
        alignas(inotify_event) std::array<char, 4096> events;
        return read(fd, events.data(), events.size()) > 0;
    }

private:
    int fd;
};

volatile std::sig_atomic_t alarms = 0;

/// A signal that comes once, after this time, and is handled.
class Alarm {
public:
    explicit Alarm(std::chrono::microseconds delay)
    {
        alarms = 0;
        struct sigaction action = {};
        action.sa_handler = [](int) { alarms = alarms + 1; };
        EXPECT_EQ(sigaction(SIGALRM, &action, &before), 0);
        const itimerval timer{{0, 0}, {0, delay.count()}};
        EXPECT_EQ(setitimer(ITIMER_REAL, &timer, nullptr), 0);
    }
    ~Alarm()
    {
        const itimerval none{};
        setitimer(ITIMER_REAL, &none, nullptr);
        sigaction(SIGALRM, &before, nullptr);
    }
    Alarm(const Alarm&) = delete;
    Alarm& operator=(const Alarm&) = delete;

private:
    struct sigaction before = {};
};

/// Counts what goes through the virtual close.
class CountingLine : public GpioLine {
public:
    void close() override
    {
        ++closes;
        whenClosed();
        GpioLine::close();
    }

    int closes = 0;
    std::function<void()> whenClosed = [] {};
};

/// Does not let its descriptor go.
class KeepingLine : public GpioLine {
public:
    void close() override {}
};

/// Plain files in place of the kernel's, with line 17 exported as an input that is low.
class GpioLineTest : public testing::Test {
protected:
    GpioLineTest()
    {
        // The descriptor 0 has rules of its own; no line may get it by chance.
        if (!isOpen(STDIN_FILENO)) {
            EXPECT_EQ(::open("/dev/null", O_RDONLY), STDIN_FILENO);
        }
        emptyFolder(root);
        writeFile(root + "export", "");
        writeFile(root + "unexport", "");
        makeLine(17);
        kernelCalls = &calls;
    }

    ~GpioLineTest() override { kernelCalls = nullptr; }

    static void makeLine(std::int32_t number, const std::string& value = "0\n")
    {
        const std::string folder = root + "gpio" + std::to_string(number);
        fs::create_directories(folder);
        writeFile(folder + "/value", value);
        writeFile(folder + "/direction", "in\n");
    }

    /// Opens line 17 as an output whose value file is empty, so that it holds what is written
    /// later and nothing else.
    static void openOutput(GpioLine& line)
    {
        writeFile(valueFile, "");
        ASSERT_TRUE(line.init(17, 0));
    }

    /// Opens line 17 as an output that refuses each level.
    static void openRefusingOutput(GpioLine& line)
    {
        fs::remove(valueFile);
        fs::create_symlink("/dev/full", valueFile);
        ASSERT_TRUE(line.init(17, 0));
    }

    KernelCalls calls;
};

struct WriteOperation {
    const char* name;
    std::function<bool(GpioLine& line, std::int32_t level)> run;
};

const std::vector<WriteOperation> writeOperations = {
    {"writeLevel", [](GpioLine& line, std::int32_t level) { return line.writeLevel(level); }},
    {"writeLevelAndToggle",
     [](GpioLine& line, std::int32_t level) { return line.writeLevelAndToggle(level); }},
    {"pulse", [](GpioLine& line, std::int32_t level) { return line.pulse(level); }},
    {"pulseFor", [](GpioLine& line, std::int32_t level) { return line.pulseFor(level, 100ms); }},
    {"playSequence",
     [](GpioLine& line, std::int32_t level) {
         return line.playSequence(level, std::vector<nanoseconds>{100ms, 100ms});
     }},
};

}  // namespace

// Construction and destruction

TEST_F(GpioLineTest, IsMadeWithoutALineAndWithoutTouchingAFile)
{
    const Watch watch({root, lineFolder});
    {
        const GpioLine line;
        EXPECT_EQ(line.lastValue(), 0);
        EXPECT_EQ(line.lastMode(), 0);
    }
    EXPECT_FALSE(watch.sawUse());
}

TEST_F(GpioLineTest, ClosesTheValueFileWhenDestroyedAndLeavesTheLineAsItIs)
{
    {
        const std::unique_ptr<GpioLine> line = std::make_unique<CountingLine>();
        ASSERT_TRUE(line->init(17, 1));
        ASSERT_TRUE(isOpen(calls.descriptor));
    }
    EXPECT_FALSE(isOpen(calls.descriptor));
    EXPECT_EQ(readFile(root + "unexport"), "");
    EXPECT_EQ(readFile(directionFile), "high");
}

// init

TEST_F(GpioLineTest, OpensALineAsRequested)
{
    struct Row {
        const char* name;
        std::int32_t request;
        const char* direction;
        const char* expectedDirection;
        std::int32_t expectedMode;
        std::int32_t expectedValue;
    };
    const std::vector<Row> rows = {
        {"input", -1, "out\n", "in", -1, 1},
        {"input, any negative request", lowest, "out\n", "in", -1, 1},
        {"output that starts low", 0, "in\n", "low", 1, 0},
        {"output that starts high", 1, "in\n", "high", 1, 1},
        {"output as it was", 2, "out\n", "out\n", 1, 1},
        {"output, input before", 2, "in\n", "high", 1, 1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        makeLine(17, "1\n");
        writeFile(directionFile, row.direction);
        GpioLine line;

        EXPECT_TRUE(line.init(17, row.request));
        EXPECT_EQ(readFile(directionFile), row.expectedDirection);
        EXPECT_EQ(line.lastMode(), row.expectedMode);
        EXPECT_EQ(line.lastValue(), row.expectedValue);
        EXPECT_EQ(readFile(valueFile), "1\n");
    }
}

TEST_F(GpioLineTest, OpensTheValueFileOnceForReadingAndWriting)
{
    GpioLine line;

    ASSERT_TRUE(line.init(17, -1));
    EXPECT_EQ(calls.openFlags, std::vector<int>{O_RDWR});
}

TEST_F(GpioLineTest, DoesNotExportALineThatIsExported)
{
    GpioLine line;

    EXPECT_TRUE(line.init(17, -1));
    EXPECT_EQ(readFile(root + "export"), "");
}

TEST_F(GpioLineTest, NeedsNoExportFileForALineThatIsExported)
{
    fs::remove(root + "export");
    GpioLine line;

    EXPECT_TRUE(line.init(17, -1));
    EXPECT_FALSE(fs::exists(root + "export"));
}

TEST_F(GpioLineTest, ExportsALineThatIsNotExported)
{
    for (const std::int32_t number : {17, 0, 512, highest, -5}) {
        SCOPED_TRACE(number);
        emptyFolder(root);
        writeFile(root + "export", "longer than any number of a line");
        calls.beforeOpen = [number](std::size_t /*attempt*/) { makeLine(number, "1\n"); };
        GpioLine line;

        EXPECT_TRUE(line.init(number, -1));
        EXPECT_EQ(readFile(root + "export"), std::to_string(number));
        EXPECT_EQ(line.readValue(), 1);
    }
}

TEST_F(GpioLineTest, ExportsALineInPlaceOfWhichAPlainFileStands)
{
    fs::remove_all(lineFolder);
    writeFile(lineFolder, "");
    GpioLine line;

    EXPECT_FALSE(line.init(17, -1));
    EXPECT_EQ(readFile(root + "export"), "17");
}

TEST_F(GpioLineTest, DoesNotTryToOpenALineThatCannotBeExported)
{
    struct Row {
        const char* name;
        std::function<void()> prepare;
    };
    const std::vector<Row> rows = {
        {"export is a folder", [] { fs::create_directory(root + "export"); }},
        {"export is read-only",
         [] {
             writeFile(root + "export", "");
             ASSERT_EQ(chmod((root + "export").c_str(), 0444), 0);
         }},
        {"no GPIO files", [] { fs::remove_all(root); }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        emptyFolder(root);
        row.prepare();
        calls.openFlags.clear();
        GpioLine line;

        EXPECT_FALSE(line.init(17, -1));
        EXPECT_EQ(calls.openFlags.size(), 0U);
        EXPECT_EQ(line.lastMode(), 0);
    }
}

// As with a line that a driver holds: EBUSY comes from write(2), at the stream's close.
TEST_F(GpioLineTest, TriesToOpenALineWhoseExportFailsOnlyAtTheClose)
{
    emptyFolder(root);
    fs::create_symlink("/dev/full", root + "export");
    calls.beforeOpen = [](std::size_t /*attempt*/) { makeLine(17); };
    GpioLine line;

    EXPECT_TRUE(line.init(17, -1));
}

TEST_F(GpioLineTest, GivesUpAfterElevenAttemptsToOpen)
{
    fs::remove(valueFile);
    const auto start = steady_clock::now();
    GpioLine line;

    EXPECT_FALSE(line.init(17, 0));
    EXPECT_GE(steady_clock::now() - start, 11 * 20ms);
    EXPECT_EQ(calls.openFlags, std::vector<int>(11, O_RDWR));
    EXPECT_EQ(line.lastMode(), 0);
    EXPECT_EQ(line.readValue(), -1);
    EXPECT_EQ(readFile(directionFile), "in\n");
}

TEST_F(GpioLineTest, OpensALineThatAppearsBeforeAnyOfTheElevenAttempts)
{
    for (std::size_t appearance = 1; appearance <= 11; ++appearance) {
        SCOPED_TRACE(appearance);
        emptyFolder(root);
        writeFile(root + "export", "");
        calls.openFlags.clear();
        calls.beforeOpen = [appearance](std::size_t attempt) {
            if (attempt == appearance) {
                makeLine(17, "1\n");
            }
        };
        GpioLine line;

        EXPECT_TRUE(line.init(17, -1));
        EXPECT_EQ(calls.openFlags.size(), appearance);
        EXPECT_EQ(line.readValue(), 1);
        EXPECT_EQ(readFile(root + "export"), "17");
    }
}

TEST_F(GpioLineTest, OpensALineThatBecomesWritableLate)
{
    ASSERT_EQ(chmod(valueFile.c_str(), 0444), 0);
    calls.beforeOpen = [](std::size_t attempt) {
        if (attempt == 3) {
            ASSERT_EQ(chmod(valueFile.c_str(), 0644), 0);
        }
    };
    GpioLine line;

    EXPECT_TRUE(line.init(17, -1));
    EXPECT_EQ(calls.openFlags.size(), 3U);
}

TEST_F(GpioLineTest, WaitsTwentyMillisecondsBeforeEachAttempt)
{
    fs::remove(valueFile);
    GpioLine line;
    auto previous = steady_clock::now();
    calls.beforeOpen = [&previous](std::size_t attempt) {
        SCOPED_TRACE(attempt);
        const auto now = steady_clock::now();
        EXPECT_GE(now - previous, 20ms);
        previous = now;
    };

    EXPECT_FALSE(line.init(17, -1));
}

TEST_F(GpioLineTest, ReturnsAtOnceWhenTheLineIsOpenAlready)
{
    writeFile(valueFile, "1\n");
    CountingLine line;
    ASSERT_TRUE(line.init(17, -1));
    const int descriptor = calls.descriptor;
    line.closes = 0;
    const Watch watch({root, lineFolder});

    EXPECT_TRUE(line.init(17, 0));
    EXPECT_FALSE(watch.sawUse());
    EXPECT_EQ(calls.openFlags.size(), 1U);
    EXPECT_EQ(line.closes, 0);
    EXPECT_TRUE(isOpen(descriptor));
    EXPECT_EQ(line.lastMode(), -1);
    EXPECT_EQ(line.lastValue(), 1);
    EXPECT_EQ(readFile(directionFile), "in");
}

TEST_F(GpioLineTest, ClosesTheLineThatWasOpenBeforeItOpensAnother)
{
    makeLine(18, "1\n");
    GpioLine line;
    ASSERT_TRUE(line.init(17, 0));
    const int before = calls.descriptor;
    calls.beforeOpen = [before](std::size_t /*attempt*/) { EXPECT_FALSE(isOpen(before)); };

    EXPECT_TRUE(line.init(18, -1));
    EXPECT_EQ(line.readValue(), 1);
    EXPECT_EQ(line.lastMode(), -1);
    EXPECT_EQ(readFile(root + "gpio18/direction"), "in");
    EXPECT_EQ(readFile(directionFile), "low");
    EXPECT_EQ(readFile(root + "unexport"), "");
}

TEST_F(GpioLineTest, HasNoLineAfterAnotherOneFailed)
{
    fs::remove(root + "export");
    fs::create_directory(root + "export");
    GpioLine line;
    ASSERT_TRUE(line.init(17, 0));
    const int before = calls.descriptor;

    EXPECT_FALSE(line.init(18, -1));
    EXPECT_FALSE(isOpen(before));
    EXPECT_EQ(line.lastMode(), 0);
    EXPECT_EQ(line.readValue(), -1);
    line.release();
    EXPECT_EQ(readFile(root + "unexport"), "");
}

TEST_F(GpioLineTest, OpensALineAgainAfterItWasClosed)
{
    GpioLine line;
    ASSERT_TRUE(line.init(17, 0));
    line.close();

    EXPECT_TRUE(line.init(17, 1));
    EXPECT_EQ(calls.openFlags.size(), 2U);
    EXPECT_EQ(readFile(directionFile), "high");
}

TEST_F(GpioLineTest, ClosesTheValueFileWhenTheDirectionFails)
{
    for (const std::int32_t request : {-1, 0, 1, 2}) {
        SCOPED_TRACE(request);
        fs::remove_all(directionFile);
        fs::create_directory(directionFile);
        CountingLine line;

        EXPECT_FALSE(line.init(17, request));
        EXPECT_FALSE(isOpen(calls.descriptor));
        EXPECT_EQ(line.closes, 2);
        EXPECT_EQ(line.lastMode(), 0);
        EXPECT_EQ(line.lastValue(), 0);
        EXPECT_EQ(line.readValue(), -1);
    }
}

TEST_F(GpioLineTest, DoesNotTryAgainWhenTheDirectionFails)
{
    fs::remove(directionFile);
    fs::create_directory(directionFile);
    GpioLine line;

    EXPECT_FALSE(line.init(17, -1));
    EXPECT_EQ(calls.openFlags.size(), 1U);
}

TEST_F(GpioLineTest, ClosesThroughADerivedClassInInit)
{
    makeLine(18);
    KeepingLine line;
    ASSERT_TRUE(line.init(17, 0));
    const int kept = calls.descriptor;

    EXPECT_TRUE(line.init(18, 0));
    EXPECT_TRUE(isOpen(kept));
    ASSERT_EQ(::close(kept), 0);
}

// A line that was never opened has the number -1 too; only its descriptor tells the difference.
TEST_F(GpioLineTest, DoesNotTakeLineMinusOneForOpen)
{
    makeLine(-1, "1\n");
    CountingLine line;

    EXPECT_TRUE(line.init(-1, -1));
    EXPECT_EQ(line.closes, 1);
    EXPECT_EQ(line.readValue(), 1);
    EXPECT_TRUE(line.init(-1, 0));
    EXPECT_EQ(calls.openFlags.size(), 1U);
    line.release();
    EXPECT_EQ(readFile(root + "unexport"), "");
    EXPECT_EQ(line.closes, 2);
}

// readValue

TEST_F(GpioLineTest, ReadsTheFirstTwoBytes)
{
    struct Row {
        const char* bytes;
        std::int32_t expected;
    };
    const std::vector<Row> rows = {{"1\n", 1}, {"0\n", 0}, {"x\n", 0},         {"10", 1},
                                   {"01", 0},  {"\n1", 0}, {"1 and more", 1},  {"2\n", 0},
                                   {"", -1},   {"1", -1},  {"0\n and more", 0}};
    GpioLine line;
    ASSERT_TRUE(line.init(17, -1));
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.bytes));
        for (const std::int32_t before : {0, 1}) {
            writeFile(valueFile, before == 0 ? "0\n" : "1\n");
            ASSERT_EQ(line.readValue(), before);
            writeFile(valueFile, row.bytes);

            EXPECT_EQ(line.readValue(), row.expected);
            EXPECT_EQ(line.lastValue(), row.expected < 0 ? before : row.expected);
            EXPECT_EQ(readFile(valueFile), row.bytes);
        }
    }
}

TEST_F(GpioLineTest, ReadsFromTheStartEachTime)
{
    GpioLine line;
    ASSERT_TRUE(line.init(17, -1));

    EXPECT_EQ(line.readValue(), 0);
    EXPECT_EQ(line.readValue(), 0);
    writeFile(valueFile, "1\n");
    EXPECT_EQ(line.readValue(), 1);
}

TEST_F(GpioLineTest, ReadsNothingWithoutALine)
{
    GpioLine line;

    EXPECT_EQ(line.readValue(), -1);
    EXPECT_EQ(line.lastValue(), 0);
}

// No process has a page at address 0, so reading there gives EIO, as a failing driver does.
TEST_F(GpioLineTest, ReadsNothingWhenTheKernelFails)
{
    fs::remove(valueFile);
    fs::create_symlink("/proc/self/mem", valueFile);
    GpioLine line;
    ASSERT_TRUE(line.init(17, 1));

    EXPECT_EQ(line.readValue(), -1);
    EXPECT_EQ(line.lastValue(), 1);
}

// setDirection

TEST_F(GpioLineTest, SetsTheDirection)
{
    struct Row {
        const char* name;
        std::int32_t request;
        std::optional<std::string> direction;
        const char* value;
        const char* expectedDirection;
        std::int32_t expectedValue;
    };
    const std::vector<Row> rows = {
        {"-1, high", -1, "out\n", "1\n", "in", 1},
        {"-1, low", -1, "out\n", "0\n", "in", 0},
        {"-1, other byte", -1, "out\n", "x\n", "in", 0},
        {"-1, short value file", -1, "out\n", "1", "in", -1},
        {"-1, empty value file", -1, "out\n", "", "in", -1},
        {"-1, no attribute yet", -1, std::nullopt, "1\n", "in", 1},
        {"any negative", lowest, "out\n", "1\n", "in", 1},
        {"0", 0, "in\n", "1\n", "low", 0},
        {"0, output before", 0, "out\n", "1\n", "low", 0},
        {"0, value file not read", 0, "in\n", "", "low", 0},
        {"1", 1, "in\n", "0\n", "high", 1},
        {"1, output before", 1, "out\n", "0\n", "high", 1},
        {"1, value file not read", 1, "in\n", "", "high", 1},
        {"2, output, high", 2, "out\n", "1\n", "out\n", 1},
        {"2, output, low", 2, "out\n", "0\n", "out\n", 0},
        {"2, output, other byte", 2, "out\n", "x\n", "out\n", 0},
        {"2, output, short value file", 2, "out\n", "1", "out\n", -1},
        {"2, output, empty value file", 2, "out\n", "", "out\n", -1},
        {"2, input", 2, "in\n", "0\n", "high", 1},
        {"2, no newline", 2, "out", "0\n", "out", 0},
        {"2, blanks before", 2, " \t\n out\n", "0\n", " \t\n out\n", 0},
        {"2, more words", 2, "out low\n", "0\n", "out low\n", 0},
        {"2, longer word", 2, "output\n", "0\n", "high", 1},
        {"2, capitals", 2, "OUT\n", "0\n", "high", 1},
        {"2, second word", 2, "in out\n", "0\n", "high", 1},
        {"2, empty attribute", 2, "", "0\n", "high", 1},
        {"2, no attribute yet", 2, std::nullopt, "0\n", "high", 1},
        {"5, output", 5, "out\n", "0\n", "out\n", 0},
        {"5, input", 5, "in\n", "0\n", "high", 1},
        {"any above 1, output", highest, "out\n", "0\n", "out\n", 0},
        {"any above 1, input", highest, "in\n", "0\n", "high", 1},
    };
    GpioLine line;
    ASSERT_TRUE(line.init(17, -1));
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        for (const std::int32_t before : {0, 1}) {
            ASSERT_TRUE(line.writeLevel(before));
            writeFile(valueFile, row.value);
            fs::remove(directionFile);
            if (row.direction.has_value()) {
                writeFile(directionFile, *row.direction);
            }

            EXPECT_TRUE(line.setDirection(17, row.request));
            EXPECT_EQ(readFile(directionFile), row.expectedDirection);
            EXPECT_EQ(line.lastValue(), row.expectedValue);
            EXPECT_EQ(readFile(valueFile), row.value);
            EXPECT_EQ(line.lastMode(), -1);
        }
    }
}

TEST_F(GpioLineTest, SetsHighWhereItCannotReadTheDirection)
{
    GpioLine line;
    ASSERT_TRUE(line.init(17, -1));
    writeFile(directionFile, "out\n");
    {
        const FileMode writeOnly(directionFile, 0200);
        EXPECT_TRUE(line.setDirection(17, 2));
    }
    EXPECT_EQ(readFile(directionFile), "high");
    EXPECT_EQ(line.lastValue(), 1);
}

TEST_F(GpioLineTest, ChangesNothingWhenTheDirectionCannotBeWritten)
{
    struct Row {
        const char* name;
        std::function<std::unique_ptr<FileMode>()> prepare;
    };
    const std::vector<Row> rows = {
        {"attribute is a folder",
         [] {
             fs::create_directory(directionFile);
             return nullptr;
         }},
        {"attribute is read-only",
         [] {
             writeFile(directionFile, "in\n");
             return std::make_unique<FileMode>(directionFile, 0444);
         }},
        {"attribute is missing, folder is read-only",
         [] { return std::make_unique<FileMode>(lineFolder, 0555); }},
        {"line is gone",
         [] {
             fs::remove_all(lineFolder);
             return nullptr;
         }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        fs::remove_all(lineFolder);
        makeLine(17);
        GpioLine line;
        ASSERT_TRUE(line.init(17, 0));
        fs::remove(directionFile);
        const std::unique_ptr<FileMode> mode = row.prepare();
        for (const std::int32_t request : {-1, 0, 1, 2}) {
            SCOPED_TRACE(request);
            for (const std::int32_t before : {0, 1}) {
                ASSERT_TRUE(line.writeLevel(before));

                EXPECT_FALSE(line.setDirection(17, request));
                EXPECT_EQ(line.lastValue(), before);
                EXPECT_EQ(line.lastMode(), 1);
            }
        }
    }
}

TEST_F(GpioLineTest, SetsTheDirectionOfTheLineNamedAndReadsTheLineThatIsOpen)
{
    struct Row {
        std::int32_t request;
        const char* direction;
        const char* expectedDirection;
        std::int32_t expectedValue;
    };
    const std::vector<Row> rows = {{-1, "out\n", "in", 1},
                                   {0, "in\n", "low", 0},
                                   {1, "in\n", "high", 1},
                                   {2, "in\n", "high", 1},
                                   {2, "out\n", "out\n", 1}};
    makeLine(18, "0\n");
    writeFile(valueFile, "1\n");
    GpioLine line;
    ASSERT_TRUE(line.init(17, -1));
    for (const Row& row : rows) {
        SCOPED_TRACE(std::to_string(row.request) + row.direction);
        const std::string other = "neither in nor out";
        writeFile(directionFile, other);
        writeFile(root + "gpio18/direction", row.direction);

        EXPECT_TRUE(line.setDirection(18, row.request));
        EXPECT_EQ(readFile(root + "gpio18/direction"), row.expectedDirection);
        EXPECT_EQ(readFile(directionFile), other);
        EXPECT_EQ(line.lastValue(), row.expectedValue);
    }
}

TEST_F(GpioLineTest, SetsTheDirectionWithoutAnOpenLine)
{
    GpioLine line;

    EXPECT_TRUE(line.setDirection(17, -1));
    EXPECT_EQ(readFile(directionFile), "in");
    EXPECT_EQ(line.lastValue(), -1);
    EXPECT_EQ(line.lastMode(), 0);
}

// Levels

TEST_F(GpioLineTest, WritesOneByteForALevel)
{
    struct Row {
        std::int32_t level;
        const char* expectedBytes;
        std::int32_t expectedValue;
    };
    const std::vector<Row> rows = {{0, "0", 0},  {1, "1", 1},      {2, "1", 1},      {5, "1", 1},
                                   {-1, "1", 1}, {lowest, "1", 1}, {highest, "1", 1}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.level);
        GpioLine line;
        openOutput(line);

        EXPECT_TRUE(line.writeLevel(row.level));
        EXPECT_EQ(readFile(valueFile), row.expectedBytes);
        EXPECT_EQ(line.lastValue(), row.expectedValue);
    }
}

TEST_F(GpioLineTest, DoesNotRewindBeforeAWrite)
{
    writeFile(valueFile, "1\n");
    GpioLine line;
    ASSERT_TRUE(line.init(17, 0));
    ASSERT_EQ(line.readValue(), 1);

    EXPECT_TRUE(line.writeLevel(0));
    EXPECT_TRUE(line.writeLevel(1));
    EXPECT_EQ(readFile(valueFile), "1\n01");
    EXPECT_EQ(line.readValue(), 1);
    EXPECT_TRUE(line.writeLevel(1));
    EXPECT_EQ(readFile(valueFile), "1\n11");
}

TEST_F(GpioLineTest, WritesALevelAndTogglesTheVariable)
{
    struct Row {
        std::int32_t level;
        const char* expectedBytes;
        std::int32_t expectedLevel;
        std::int32_t expectedValue;
    };
    const std::vector<Row> rows = {{0, "0", 1, 0}, {1, "1", 0, 1},  {2, "1", 1, 1},
                                   {5, "1", 0, 1}, {-1, "1", 0, 1}, {-2, "1", 1, 1}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.level);
        GpioLine line;
        openOutput(line);
        std::int32_t level = row.level;

        EXPECT_TRUE(line.writeLevelAndToggle(level));
        EXPECT_EQ(level, row.expectedLevel);
        EXPECT_EQ(readFile(valueFile), row.expectedBytes);
        EXPECT_EQ(line.lastValue(), row.expectedValue);
    }
}

TEST_F(GpioLineTest, LeavesTheVariableWhenTheLevelIsNotWritten)
{
    GpioLine line;
    openRefusingOutput(line);
    for (const std::int32_t before : {0, 1, 2, 5}) {
        std::int32_t level = before;

        EXPECT_FALSE(line.writeLevelAndToggle(level));
        EXPECT_EQ(level, before);
    }
}

// The second level is the complement of the lowest bit, so an even level other than 0 gives high
// twice; that is intended.
TEST_F(GpioLineTest, PulsesFromTheLevelToTheComplementOfItsLowestBit)
{
    struct Row {
        std::int32_t level;
        const char* expectedBytes;
        std::int32_t expectedValue;
    };
    const std::vector<Row> rows = {{0, "01", 1}, {1, "10", 0},  {2, "11", 1},
                                   {5, "10", 0}, {-1, "10", 0}, {-2, "11", 1}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.level);
        {
            GpioLine line;
            openOutput(line);
            EXPECT_TRUE(line.pulse(row.level));
            EXPECT_EQ(readFile(valueFile), row.expectedBytes);
            EXPECT_EQ(line.lastValue(), row.expectedValue);
            EXPECT_EQ(calls.sleeps.size(), 0U);
        }
        GpioLine line;
        openOutput(line);
        EXPECT_TRUE(line.pulseFor(row.level, 1ns));
        EXPECT_EQ(readFile(valueFile), row.expectedBytes);
        EXPECT_EQ(line.lastValue(), row.expectedValue);
        calls.sleeps.clear();
    }
}

TEST_F(GpioLineTest, PulsesForAtLeastTheDuration)
{
    GpioLine line;
    openOutput(line);
    calls.sleep = [](const timespec* request, timespec* remaining) {
        EXPECT_EQ(readFile(valueFile), "1");
        return KernelCalls::realSleep(request, remaining);
    };
    const auto start = steady_clock::now();

    EXPECT_TRUE(line.pulseFor(1, 30ms));
    EXPECT_GE(steady_clock::now() - start, 30ms);
    EXPECT_EQ(readFile(valueFile), "10");
    EXPECT_EQ(calls.sleeps.size(), 1U);
}

TEST_F(GpioLineTest, SplitsTheDurationOfAPulse)
{
    struct Row {
        nanoseconds duration;
        std::time_t expectedSeconds;
        long expectedNanoseconds;
    };
    const std::vector<Row> rows = {
        {1ns, 0, 1},
        {999'999'999ns, 0, 999'999'999},
        {1s, 1, 0},
        {1s + 1ns, 1, 1},
        {90s + 5ms, 90, 5'000'000},
        {nanoseconds::max(), 9'223'372'036, 854'775'807},
    };
    calls.sleep = [](const timespec* /*request*/, timespec* /*remaining*/) { return 0; };
    GpioLine line;
    openOutput(line);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.duration.count());
        calls.sleeps.clear();

        EXPECT_TRUE(line.pulseFor(1, row.duration));
        ASSERT_EQ(calls.sleeps.size(), 1U);
        EXPECT_EQ(calls.sleeps[0].tv_sec, row.expectedSeconds);
        EXPECT_EQ(calls.sleeps[0].tv_nsec, row.expectedNanoseconds);
    }
}

TEST_F(GpioLineTest, PulsesAtOnceForADurationOfNothing)
{
    for (const nanoseconds duration : {nanoseconds(0), nanoseconds(-1), nanoseconds(-90s)}) {
        SCOPED_TRACE(duration.count());
        GpioLine line;
        openOutput(line);

        EXPECT_TRUE(line.pulseFor(1, duration));
        EXPECT_EQ(readFile(valueFile), "10");
        EXPECT_EQ(calls.sleeps.size(), 0U);
    }
}

TEST_F(GpioLineTest, SleepsOnForWhatASignalLeftOfAPulse)
{
    GpioLine line;
    openOutput(line);
    calls.sleep = interruptedOnce(7ns);

    EXPECT_TRUE(line.pulseFor(1, 90s));
    ASSERT_EQ(calls.sleeps.size(), 2U);
    EXPECT_EQ(durationOf(calls.sleeps[0]), 90s);
    EXPECT_EQ(durationOf(calls.sleeps[1]), 7ns);
    EXPECT_EQ(readFile(valueFile), "10");
}

TEST_F(GpioLineTest, EndsThePulseEarlyWhenTheSleepFails)
{
    GpioLine line;
    openOutput(line);
    calls.sleep = [](const timespec* /*request*/, timespec* /*remaining*/) {
        errno = EINVAL;
        return -1;
    };

    EXPECT_TRUE(line.pulseFor(1, 90s));
    EXPECT_EQ(calls.sleeps.size(), 1U);
    EXPECT_EQ(readFile(valueFile), "10");
    EXPECT_EQ(line.lastValue(), 0);
}

TEST_F(GpioLineTest, SleepsItsFullTimeThroughASignal)
{
    {
        GpioLine line;
        openOutput(line);
        const auto start = steady_clock::now();
        const Alarm alarm(10ms);
        EXPECT_TRUE(line.pulseFor(1, 50ms));
        EXPECT_GE(steady_clock::now() - start, 50ms);
        EXPECT_EQ(alarms, 1);
    }
    GpioLine line;
    openOutput(line);
    const auto start = system_clock::now();
    const Alarm alarm(10ms);
    EXPECT_TRUE(line.playSequence(1, std::vector<nanoseconds>{30ms, 20ms}));
    EXPECT_GE(system_clock::now() - start, 50ms);
    EXPECT_EQ(alarms, 1);
}

// From any level but 0 the next one is 0, other than with a pulse; that is intended.
TEST_F(GpioLineTest, PlaysTheLevelAndItsNegationInTurn)
{
    struct Row {
        std::int32_t level;
        std::size_t durations;
        const char* expectedBytes;
        std::int32_t expectedValue;
    };
    const std::vector<Row> rows = {{0, 1, "0", 0},     {1, 1, "1", 1},    {0, 3, "010", 0},
                                   {1, 4, "1010", 0},  {2, 2, "10", 0},   {2, 1, "1", 1},
                                   {5, 5, "10101", 1}, {-1, 3, "101", 1}, {lowest, 2, "10", 0}};
    for (const Row& row : rows) {
        SCOPED_TRACE(std::to_string(row.level) + " for " + std::to_string(row.durations));
        GpioLine line;
        openOutput(line);

        EXPECT_TRUE(line.playSequence(row.level, std::vector<nanoseconds>(row.durations, 1ns)));
        EXPECT_EQ(readFile(valueFile), row.expectedBytes);
        EXPECT_EQ(line.lastValue(), row.expectedValue);
    }
}

TEST_F(GpioLineTest, PlaysNothingWithoutDurations)
{
    for (const std::int32_t level : {0, 1}) {
        GpioLine line;
        openOutput(line);
        ASSERT_TRUE(line.writeLevel(1 - level));
        const std::string before = readFile(valueFile);
        const Watch watch({lineFolder});

        EXPECT_TRUE(line.playSequence(level, {}));
        EXPECT_FALSE(watch.sawUse());
        EXPECT_EQ(readFile(valueFile), before);
        EXPECT_EQ(line.lastValue(), 1 - level);
        EXPECT_EQ(calls.sleeps.size(), 0U);
    }
}

TEST_F(GpioLineTest, PlaysNothingWithoutDurationsAlsoWithoutALine)
{
    GpioLine line;

    EXPECT_TRUE(line.playSequence(1, {}));
    EXPECT_EQ(line.lastValue(), 0);
}

TEST_F(GpioLineTest, PlaysEachLevelForAtLeastItsDuration)
{
    GpioLine line;
    openOutput(line);
    const auto start = system_clock::now();
    calls.sleep = [start](const timespec* request, timespec* remaining) {
        const std::string bytes = readFile(valueFile);
        SCOPED_TRACE(bytes);
        const auto now = system_clock::now();
        EXPECT_TRUE(bytes == "1" || (bytes == "10" && now - start >= 30ms) ||
                    (bytes == "101" && now - start >= 40ms));
        return KernelCalls::realSleep(request, remaining);
    };

    EXPECT_TRUE(line.playSequence(1, std::vector<nanoseconds>{30ms, 10ms, 20ms}));
    EXPECT_GE(system_clock::now() - start, 60ms);
    EXPECT_EQ(readFile(valueFile), "101");
}

TEST_F(GpioLineTest, CountsTheDurationsFromTheCallOn)
{
    GpioLine line;
    openOutput(line);
    bool late = false;
    calls.sleep = [&late](const timespec* request, timespec* remaining) {
        if (readFile(valueFile) == "10") {
            EXPECT_LE(durationOf(*request), late ? 60ms : 100ms);
            return KernelCalls::realSleep(request, remaining);
        }
        late = true;
        const nanoseconds longer = durationOf(*request) + 40ms;
        const timespec oversleep{0, static_cast<long>(longer.count())};
        return KernelCalls::realSleep(&oversleep, remaining);
    };

    EXPECT_TRUE(line.playSequence(1, std::vector<nanoseconds>{10ms, 100ms}));
    EXPECT_EQ(readFile(valueFile), "10");
}

TEST_F(GpioLineTest, DoesNotSleepForADurationThatIsPast)
{
    const std::vector<std::vector<nanoseconds>> sequences = {
        {0ns, 0ns}, {-1ns, -1ns}, {-90s, 10ms}, {-90s, 89s}};
    for (const std::vector<nanoseconds>& durations : sequences) {
        SCOPED_TRACE(durations.back().count());
        GpioLine line;
        openOutput(line);

        EXPECT_TRUE(line.playSequence(1, durations));
        EXPECT_EQ(readFile(valueFile), "10");
        EXPECT_EQ(calls.sleeps.size(), 0U);
    }
}

TEST_F(GpioLineTest, TakesANegativeDurationFromTheNextOne)
{
    GpioLine line;
    openOutput(line);
    const auto start = system_clock::now();

    EXPECT_TRUE(line.playSequence(1, std::vector<nanoseconds>{-500ms, 530ms}));
    EXPECT_GE(system_clock::now() - start, 30ms);
    EXPECT_EQ(readFile(valueFile), "10");
    for (const timespec& sleep : calls.sleeps) {
        EXPECT_LE(durationOf(sleep), 30ms);
    }
}

TEST_F(GpioLineTest, LooksAtTheClockAgainAfterEachSleepOfASequence)
{
    GpioLine line;
    openOutput(line);
    calls.sleep = [left = 3](const timespec* request, timespec* remaining) mutable {
        if (left-- > 0) {
            errno = EINVAL;
            return -1;
        }
        return KernelCalls::realSleep(request, remaining);
    };
    const auto start = system_clock::now();

    EXPECT_TRUE(line.playSequence(1, std::vector<nanoseconds>{90ms}));
    EXPECT_GE(system_clock::now() - start, 90ms);
    EXPECT_EQ(readFile(valueFile), "1");
    for (std::size_t i = 1; i < calls.sleeps.size(); ++i) {
        EXPECT_LE(durationOf(calls.sleeps[i]), durationOf(calls.sleeps[i - 1]));
    }
}

TEST_F(GpioLineTest, SleepsOnForWhatASignalLeftOfASequence)
{
    GpioLine line;
    openOutput(line);
    calls.sleep = interruptedOnce(7ns);
    const auto start = system_clock::now();

    EXPECT_TRUE(line.playSequence(1, std::vector<nanoseconds>{60ms}));
    EXPECT_GE(system_clock::now() - start, 60ms);
    // On a machine that is slow enough, the time is over before anything sleeps.
    if (!calls.sleeps.empty()) {
        ASSERT_GE(calls.sleeps.size(), 2U);
        EXPECT_EQ(durationOf(calls.sleeps[1]), 7ns);
    }
}

TEST_F(GpioLineTest, SplitsTheDurationsOfASequence)
{
    GpioLine line;
    openOutput(line);

    EXPECT_TRUE(line.playSequence(1, std::vector<nanoseconds>{1s + 50ms}));
    for (const timespec& sleep : calls.sleeps) {
        EXPECT_LT(sleep.tv_nsec, 1'000'000'000);
        EXPECT_LE(durationOf(sleep), 1s + 50ms);
    }
}

TEST_F(GpioLineTest, RemembersTheLevelThatCouldNotBeWritten)
{
    struct Row {
        const char* name;
        bool opened;
    };
    for (const Row& row : {Row{"never opened", false}, Row{"refusing", true}}) {
        SCOPED_TRACE(row.name);
        GpioLine line;
        if (row.opened) {
            openRefusingOutput(line);
        }
        for (const WriteOperation& operation : writeOperations) {
            SCOPED_TRACE(operation.name);
            for (const std::int32_t level : {1, 0, 2, 0, 5}) {
                SCOPED_TRACE(level);

                EXPECT_FALSE(operation.run(line, level));
                EXPECT_EQ(line.lastValue(), level == 0 ? 0 : 1);
            }
        }
        EXPECT_EQ(calls.sleeps.size(), 0U);
    }
}

TEST_F(GpioLineTest, FailsAPulseWhoseSecondLevelIsNotWritten)
{
    for (const nanoseconds duration : {nanoseconds(0), nanoseconds(1)}) {
        SCOPED_TRACE(duration.count());
        for (const std::int32_t level : {0, 1}) {
            SCOPED_TRACE(level);
            GpioLine line;
            openOutput(line);
            {
                const FileSizeLimit limit(1);
                EXPECT_FALSE(duration == 0ns ? line.pulse(level) : line.pulseFor(level, duration));
            }
            EXPECT_EQ(readFile(valueFile), std::to_string(level));
            EXPECT_EQ(line.lastValue(), 1 - level);
        }
    }
}

TEST_F(GpioLineTest, EndsASequenceAtTheLevelThatIsNotWritten)
{
    GpioLine line;
    openOutput(line);
    {
        const FileSizeLimit limit(2);
        EXPECT_FALSE(line.playSequence(1, std::vector<nanoseconds>{0ms, 0ms, 100ms, 100ms}));
    }
    EXPECT_EQ(readFile(valueFile), "10");
    EXPECT_EQ(line.lastValue(), 1);
    EXPECT_EQ(calls.sleeps.size(), 0U);
}

// Edges

TEST_F(GpioLineTest, SelectsTheEdge)
{
    struct Row {
        std::int32_t request;
        const char* expected;
    };
    const std::vector<Row> rows = {{-1, "falling"}, {lowest, "falling"}, {0, "both"},
                                   {1, "rising"},   {2, "rising"},       {highest, "rising"}};
    makeLine(18);
    GpioLine line;
    ASSERT_TRUE(line.init(17, -1));
    for (const Row& row : rows) {
        SCOPED_TRACE(row.request);
        writeFile(lineFolder + "/edge", "what stood there before");

        EXPECT_TRUE(line.setEdge(row.request));
        EXPECT_EQ(readFile(lineFolder + "/edge"), row.expected);
    }
    writeFile(lineFolder + "/edge", "rising\n");
    EXPECT_TRUE(line.disableEdge());
    EXPECT_EQ(readFile(lineFolder + "/edge"), "none");
    EXPECT_EQ(namesIn(root + "gpio18"), (std::vector<std::string>{"direction", "value"}));
}

// A chip without interrupts has no edge attribute, and sysfs lets nobody make one.
TEST_F(GpioLineTest, CannotSelectTheEdgeOfALineWithoutOne)
{
    GpioLine line;
    ASSERT_TRUE(line.init(17, -1));
    const FileMode readOnly(lineFolder, 0555);

    EXPECT_FALSE(line.setEdge(-1));
    EXPECT_FALSE(line.setEdge(0));
    EXPECT_FALSE(line.setEdge(1));
    EXPECT_FALSE(line.disableEdge());
}

TEST_F(GpioLineTest, CannotSelectTheEdgeWithoutALine)
{
    GpioLine line;
    ASSERT_TRUE(line.init(17, -1));
    line.close();

    EXPECT_FALSE(line.setEdge(0));
    EXPECT_FALSE(line.disableEdge());
    EXPECT_FALSE(fs::exists(lineFolder + "/edge"));
}

// close and release

TEST_F(GpioLineTest, ForgetsTheLineWhenClosed)
{
    writeFile(valueFile, "1\n");
    GpioLine line;
    ASSERT_TRUE(line.init(17, -1));

    line.close();
    EXPECT_FALSE(isOpen(calls.descriptor));
    EXPECT_EQ(line.lastMode(), 0);
    EXPECT_EQ(line.lastValue(), 1);
    EXPECT_EQ(line.readValue(), -1);
    EXPECT_EQ(readFile(root + "unexport"), "");
}

TEST_F(GpioLineTest, ForgetsTheDescriptorWhenClosed)
{
    int reused = -1;
    {
        GpioLine line;
        ASSERT_TRUE(line.init(17, -1));
        const int before = calls.descriptor;
        line.close();
        reused = ::open(directionFile.c_str(), O_RDONLY);
        ASSERT_EQ(reused, before);

        EXPECT_EQ(line.readValue(), -1);
        line.close();
        EXPECT_TRUE(isOpen(reused));
    }
    EXPECT_TRUE(isOpen(reused));
    ::close(reused);
}

TEST_F(GpioLineTest, MayBeClosedWithoutALine)
{
    GpioLine line;

    line.close();
    line.close();
    EXPECT_EQ(line.lastMode(), 0);
    EXPECT_TRUE(line.init(17, -1));
}

TEST_F(GpioLineTest, UnexportsTheLineAndThenClosesItWhenReleased)
{
    writeFile(root + "unexport", "what stood there before");
    CountingLine line;
    ASSERT_TRUE(line.init(17, 0));
    line.closes = 0;
    line.whenClosed = [this] {
        EXPECT_EQ(readFile(root + "unexport"), "17");
        EXPECT_TRUE(isOpen(calls.descriptor));
    };

    line.release();
    EXPECT_EQ(line.closes, 1);
    EXPECT_FALSE(isOpen(calls.descriptor));
    EXPECT_EQ(line.lastMode(), 0);
    EXPECT_EQ(readFile(root + "unexport"), "17");
}

TEST_F(GpioLineTest, UnexportsLineZeroToo)
{
    makeLine(0);
    GpioLine line;
    ASSERT_TRUE(line.init(0, 0));

    line.release();
    EXPECT_EQ(readFile(root + "unexport"), "0");
}

TEST_F(GpioLineTest, ClosesOnlyWhenReleasedWithoutALine)
{
    CountingLine line;

    line.release();
    EXPECT_EQ(line.closes, 1);
    EXPECT_EQ(readFile(root + "unexport"), "");
}

TEST_F(GpioLineTest, UnexportsOnceWhenReleasedTwice)
{
    GpioLine line;
    ASSERT_TRUE(line.init(17, 0));
    line.release();
    writeFile(root + "unexport", "");

    line.release();
    EXPECT_EQ(readFile(root + "unexport"), "");
}

TEST_F(GpioLineTest, ClosesTheLineWhenItCannotBeUnexported)
{
    fs::remove(root + "unexport");
    fs::create_directory(root + "unexport");
    GpioLine line;
    ASSERT_TRUE(line.init(17, 0));

    line.release();
    EXPECT_FALSE(isOpen(calls.descriptor));
    EXPECT_EQ(line.lastMode(), 0);
}

// Descriptor 0, which is left alone on purpose.

TEST_F(GpioLineTest, IsNotClosedWhenItsDescriptorIsZero)
{
    const StandardInputClosed freed;
    writeFile(valueFile, "1\n");
    {
        GpioLine line;
        ASSERT_TRUE(line.init(17, -1));
        ASSERT_EQ(calls.descriptor, 0);

        line.close();
        EXPECT_TRUE(isOpen(0));
        EXPECT_EQ(line.lastMode(), -1);
        EXPECT_EQ(line.readValue(), 1);
        EXPECT_TRUE(line.init(17, 0));
        EXPECT_EQ(calls.openFlags.size(), 1U);
        EXPECT_EQ(line.lastMode(), -1);
    }
    EXPECT_TRUE(isOpen(0));
}

TEST_F(GpioLineTest, UnexportsAndKeepsTheLineWhenReleasedWithDescriptorZero)
{
    const StandardInputClosed freed;
    GpioLine line;
    ASSERT_TRUE(line.init(17, 0));
    ASSERT_EQ(calls.descriptor, 0);

    line.release();
    EXPECT_EQ(readFile(root + "unexport"), "17");
    EXPECT_TRUE(isOpen(0));
    EXPECT_EQ(line.lastMode(), 1);
}

TEST_F(GpioLineTest, GoesOnToAnotherLineWhenItsDescriptorIsZero)
{
    const StandardInputClosed freed;
    makeLine(18, "1\n");
    {
        GpioLine line;
        ASSERT_TRUE(line.init(17, 0));
        ASSERT_EQ(calls.descriptor, 0);

        EXPECT_TRUE(line.init(18, -1));
        EXPECT_GT(calls.descriptor, 0);
        EXPECT_TRUE(isOpen(0));
        EXPECT_EQ(line.readValue(), 1);
    }
    EXPECT_TRUE(isOpen(0));
    EXPECT_FALSE(isOpen(calls.descriptor));
}

TEST_F(GpioLineTest, KeepsTheLineOfDescriptorZeroWhenAnotherOneFails)
{
    const StandardInputClosed freed;
    fs::remove(root + "export");
    fs::create_directory(root + "export");
    writeFile(valueFile, "1\n");
    GpioLine line;
    ASSERT_TRUE(line.init(17, -1));
    ASSERT_EQ(calls.descriptor, 0);

    EXPECT_FALSE(line.init(18, 0));
    EXPECT_EQ(line.lastMode(), -1);
    EXPECT_EQ(line.readValue(), 1);
}
