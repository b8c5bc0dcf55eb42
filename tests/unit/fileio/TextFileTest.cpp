// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "fileio/TextFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <functional>
#include <limits>
#include <ostream>
#include <string>
#include <vector>

#include "tests/appliance/Files.h"
#include "tests/unit/calls/Calls.h"

namespace fs = std::filesystem;

namespace {

const std::string directory = "/appliance";
const std::string path = directory + "/config.json";

class TextFile : public testing::Test {
protected:
    TextFile() { emptyDirectory(directory); }

    /// Decides what happens at each read(2), before the kernel reads: it may change the file, and
    /// returns whether the read is done or fails with EIO. That is the only moment between taking a
    /// file's size and reading its bytes that a test can get hold of.
    std::function<bool()> beforeRead;

private:
    class Reads : public Calls {
    public:
        explicit Reads(TextFile& owner) : test(owner) {}

    private:
        int reading(int /*descriptor*/) override
        {
            return test.beforeRead && !test.beforeRead() ? EIO : 0;
        }

        TextFile& test;
    };

    Reads calls{*this};
};

TEST_F(TextFile, ReadsBytesUnchanged)
{
    std::string everyByte;
    for (int byte = 0; byte <= 255; ++byte) {
        everyByte += static_cast<char>(byte);
    }
    struct Row {
        const char* name;
        std::string bytes;
    };
    const Row rows[] = {
        {"empty", ""},
        {"one byte", "x"},
        {"text with a final newline", "{\n}\n"},
        {"no final newline", "{\n}"},
        {"only a newline", "\n"},
        {"carriage returns", "{\r\n}\r\n\r"},
        {"NUL bytes", std::string("\0a\0\0b\0", 6)},
        {"end-of-file byte of other systems", "a\x1a"
                                              "b"},
        {"byte-order mark", "\xef\xbb\xbf{}"},
        {"every byte", everyByte},
        {"larger than a stream's buffer", std::string(9'999, 'x') + "y"},
    };
    for (const Row& row : rows) {
        for (const char* before : {"", "earlier text, longer than some of the files"}) {
            SCOPED_TRACE(testing::Message() << row.name << ", before: \"" << before << '"');
            writeFile(path, row.bytes);
            std::string text = before;
            EXPECT_TRUE(readTextFile(path, text, 10'000));
            EXPECT_EQ(text, row.bytes);
        }
    }
}

TEST_F(TextFile, AcceptsAFileUpToTheLimitAndRefusesOneBeyondIt)
{
    constexpr std::int64_t highest = std::numeric_limits<std::int64_t>::max();
    constexpr std::int64_t lowest = std::numeric_limits<std::int64_t>::min();
    struct Row {
        const char* name;
        std::size_t size;
        std::int64_t limit;
        bool accepted;
    };
    constexpr Row rows[] = {
        {"10000 of 10000", 10'000, 10'000, true},
        {"9999 of 10000", 9'999, 10'000, true},
        {"10001 of 10000", 10'001, 10'000, false},
        {"1 of 1", 1, 1, true},
        {"2 of 1", 2, 1, false},
        {"0 of 0", 0, 0, true},
        {"1 of 0", 1, 0, false},
        {"0 of -1", 0, -1, false},
        {"1 of -1", 1, -1, false},
        {"1 of the highest", 1, highest, true},
        {"0 of the lowest", 0, lowest, false},
        {"a limit whose lower 32 bits are 0", 1, std::int64_t{1} << 32, true},
        {"a limit whose lower 32 bits are negative", 1, 0xffff'ffff, true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string bytes(row.size, 'x');
        writeFile(path, bytes);
        std::string text = "earlier text";
        EXPECT_EQ(readTextFile(path, text, row.limit), row.accepted);
        EXPECT_EQ(text, row.accepted ? bytes : "earlier text");
    }
}

TEST_F(TextFile, ComparesSizesBeyond32BitsWhole)
{
    writeFile(path, "");
    constexpr std::int64_t sizes[] = {
        (std::int64_t{1} << 31) + 1,
        (std::int64_t{1} << 32) + 1,
    };
    for (const std::int64_t size : sizes) {
        SCOPED_TRACE(size);
        ASSERT_EQ(truncate(path.c_str(), size), 0) << std::strerror(errno);
        std::string text = "earlier text";
        ASSERT_FALSE(readTextFile(path, text, 10'000));
        ASSERT_FALSE(readTextFile(path, text, size - 1));
        EXPECT_EQ(text, "earlier text");
    }
}

// Names that lead to nothing that can be read whole.
struct Unusable {
    const char* name;
    std::function<void()> make;
    std::string path = ::path;
};

void PrintTo(const Unusable& row, std::ostream* out)
{
    *out << row.name;
}

class UnusableTextFile : public TextFile, public testing::WithParamInterface<Unusable> {};

TEST_P(UnusableTextFile, IsRefusedAndLeavesTheText)
{
    ASSERT_NO_FATAL_FAILURE(GetParam().make());
    const std::vector<std::string> before = namesIn("/proc/self/fd");
    ASSERT_FALSE(before.empty());
    std::string text = "earlier text";
    EXPECT_FALSE(readTextFile(GetParam().path, text, 10'000));
    EXPECT_EQ(text, "earlier text");
    EXPECT_EQ(namesIn("/proc/self/fd"), before);
}

const Unusable unusables[] = {
    {"Missing", [] {}},
    {"MissingDirectory", [] {}, directory + "/missing/config.json"},
    {"EmptyName", [] {}, ""},
    {"BelowAFile", [] { writeFile(path, "{}"); }, path + "/config.json"},
    {"NameTooLong", [] {}, directory + "/" + std::string(256, 'x')},
    {"NotReadable",
     [] {
         writeFile(path, "{}");
         chmod(path.c_str(), 0);
     }},
    {"DanglingLink", [] { fs::create_symlink("missing", path); }},
    {"LinkToItself", [] { fs::create_symlink("config.json", path); }},
    {"Directory", [] { fs::create_directory(path); }},
    {"Socket",
     [] {
         sockaddr_un address{};
         address.sun_family = AF_UNIX;
         std::strcpy(address.sun_path, path.c_str());
         const int fd = socket(AF_UNIX, SOCK_DGRAM, 0);
         ASSERT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
         close(fd);
     }},
};

INSTANTIATE_TEST_SUITE_P(, UnusableTextFile, testing::ValuesIn(unusables),
                         [](const auto& row) { return row.param.name; });

TEST_F(TextFile, RefusesAPipeAndLeavesTheText)
{
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    // With a writer, opening the pipe for reading does not block (fifo(7)).
    const int writer = open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(writer, 0);
    ASSERT_EQ(write(writer, "{}", 2), 2);
    std::string text = "earlier text";
    EXPECT_FALSE(readTextFile(path, text, 10'000));
    EXPECT_EQ(text, "earlier text");
    close(writer);
}

TEST_F(TextFile, ReadsADeviceThatEndsAtPosition0AsEmpty)
{
    for (const char* device : {"/dev/null", "/dev/zero"}) {
        SCOPED_TRACE(device);
        std::string text = "earlier text";
        EXPECT_TRUE(readTextFile(device, text, 10'000));
        EXPECT_EQ(text, "");
    }
}

TEST_F(TextFile, UsesTheNameUnchanged)
{
    fs::create_directory(directory + "/sub");
    for (const char* name : {"relative.json", "./relative.json", "sub/../relative.json", " x ",
                             "it's \"quoted\".json", "line\nfeed", "100%s.json", "\xff\xfe", "-dec",
                             "/appliance/sub/config.json", "/appliance//sub///config.json"}) {
        SCOPED_TRACE(name);
        writeFile(name, name);
        std::string text;
        EXPECT_TRUE(readTextFile(name, text, 10'000));
        EXPECT_EQ(text, name);
    }
}

TEST_F(TextFile, FollowsALink)
{
    writeFile(directory + "/target", "{}");
    fs::create_symlink("target", path);
    std::string text;
    EXPECT_TRUE(readTextFile(path, text, 10'000));
    EXPECT_EQ(text, "{}");
}

TEST_F(TextFile, KeepsEarlierBytesOrZerosIfTheReadDeliversLessThanTheSize)
{
    struct Row {
        const char* name;
        std::string bytes;
        std::function<bool()> beforeRead;
        std::string before;
        std::string after;
    };
    const auto truncateTo = [](off_t size) {
        return [size] { return truncate(path.c_str(), size) == 0; };
    };
    const auto fail = [] { return false; };
    const std::string digits = "0123456789";
    const std::string zeros(10, '\0');
    const Row rows[] = {
        {"shrinks under a longer text", digits, truncateTo(4), "ABCDEFGHIJKL", "0123EFGHIJ"},
        {"shrinks under a text of its size", digits, truncateTo(4), "ABCDEFGHIJ", "0123EFGHIJ"},
        {"shrinks under a shorter text", digits, truncateTo(4), "ABCDEF",
         "0123EF" + zeros.substr(6)},
        {"shrinks under an empty text", digits, truncateTo(4), "", "0123" + zeros.substr(4)},
        {"shrinks to nothing", digits, truncateTo(0), "ABCDEF", "ABCDEF" + zeros.substr(6)},
        {"shrinks by the last byte", digits, truncateTo(9), "ABCDEFGHIJKL", "012345678J"},
        {"shrinks, larger than a stream's buffer", std::string(10'000, 'n'), truncateTo(9'000),
         std::string(10'000, 'o'), std::string(9'000, 'n') + std::string(1'000, 'o')},
        {"cannot be read, longer text", digits, fail, "ABCDEFGHIJKL", "ABCDEFGHIJ"},
        {"cannot be read, shorter text", digits, fail, "ABCDEF", "ABCDEF" + zeros.substr(6)},
        {"cannot be read, larger than a stream's buffer", std::string(10'000, 'n'), fail,
         std::string(10'001, 'o'), std::string(10'000, 'o')},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        writeFile(path, row.bytes);
        std::string text = row.before;
        beforeRead = row.beforeRead;
        const bool read = readTextFile(path, text, 10'000);
        beforeRead = nullptr;
        EXPECT_TRUE(read);
        EXPECT_EQ(text, row.after);
    }
}

TEST_F(TextFile, ReadsNoMoreThanTheSizeOfAFileThatGrows)
{
    writeFile(path, "0123456789");
    beforeRead = [] {
        writeFile(path, "0123456789, and more");
        return true;
    };
    std::string text = "ABCDEFGHIJKL";
    const bool read = readTextFile(path, text, 10);
    beforeRead = nullptr;
    EXPECT_TRUE(read);
    EXPECT_EQ(text, "0123456789");
}

TEST_F(TextFile, ReadsNothingOfAFileThatItRefuses)
{
    writeFile(path, "0123456789");
    int reads = 0;
    beforeRead = [&reads] {
        ++reads;
        return true;
    };
    std::string text;
    EXPECT_FALSE(readTextFile(path, text, 9));
    EXPECT_EQ(reads, 0);
    EXPECT_TRUE(readTextFile(path, text, 10));
    EXPECT_GT(reads, 0);
}

TEST_F(TextFile, ClosesTheFileOnEveryPath)
{
    const std::vector<std::string> before = namesIn("/proc/self/fd");
    ASSERT_FALSE(before.empty());
    writeFile(path, "0123456789");
    std::string text;
    EXPECT_TRUE(readTextFile(path, text, 10));
    EXPECT_EQ(namesIn("/proc/self/fd"), before) << "after reading";
    EXPECT_FALSE(readTextFile(path, text, 9));
    EXPECT_EQ(namesIn("/proc/self/fd"), before) << "after refusing a large file";
    beforeRead = [] { return false; };
    EXPECT_TRUE(readTextFile(path, text, 10));
    beforeRead = nullptr;
    EXPECT_EQ(namesIn("/proc/self/fd"), before) << "after a failed read";
}

TEST_F(TextFile, LeavesTheFileUnchanged)
{
    writeFile(path, "{}\n");
    chmod(path.c_str(), 0444);
    std::string text;
    EXPECT_TRUE(readTextFile(path, text, 10'000));
    EXPECT_EQ(readFile(path), "{}\n");
    EXPECT_EQ(namesIn(directory), std::vector<std::string>{"config.json"});
}

}  // namespace
