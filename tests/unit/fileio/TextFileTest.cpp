// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include "fileio/TextFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <ios>
#include <limits>
#include <ostream>
#include <string>
#include <vector>

#include "tests/appliance/Files.h"
#include "tests/unit/effects/Effects.h"

namespace fs = std::filesystem;

namespace {

const std::string path = "/appliance/config.json";
const std::string earlier = "earlier text";

std::string everyByte()
{
    std::string bytes;
    for (int byte = 0; byte <= 255; ++byte) {
        bytes += static_cast<char>(byte);
    }
    return bytes;
}

/// Writes a file of so many zero bytes, of which the disk holds but the last.
void writeSparseFile(const std::string& name, std::int64_t size)
{
    std::ofstream file(name);
    if (size > 0) {
        file.seekp(size - 1).put('\0');
    }
    ASSERT_TRUE(file.flush());
}

class TextFile : public testing::Test {
protected:
    TextFile() { emptyDirectory("/appliance"); }
};

TEST_F(TextFile, IsReadByteForByte)
{
    const std::vector<std::string> texts = {"",
                                            "x",
                                            "{\n}\n",
                                            "{\r\n}\r\n\r",
                                            std::string("\0a\0\0b\0", 6),
                                            "a\x1a|b",
                                            "\xef\xbb\xbf{}",
                                            everyByte(),
                                            std::string(9'999, 'x') + "y"};
    for (const std::string& bytes : texts) {
        for (const std::string& before : {std::string(), std::string(100, 'e')}) {
            SCOPED_TRACE(bytes.substr(0, 10) + " over " + before);
            writeFile(path, bytes);
            chmod(path.c_str(), 0444);
            std::string text = before;
            EXPECT_TRUE(readTextFile(path, text, 10'000));
            EXPECT_EQ(text, bytes);
            chmod(path.c_str(), 0644);
        }
    }
}

TEST_F(TextFile, IsReadUpToTheLimit)
{
    struct Row {
        const char* name;
        std::int64_t size;
        std::int64_t limit;
        bool accepted;
    };
    constexpr std::int64_t highest = std::numeric_limits<std::int64_t>::max();
    constexpr std::int64_t lowest = std::numeric_limits<std::int64_t>::min();
    constexpr std::int64_t big = std::int64_t{1} << 32;
    // Where a stream counts its bytes in 32 bits, no limit admits this size.
    constexpr std::int64_t beyondStream = sizeof(std::streamsize) > 4 ? big + 4 : highest;
    constexpr Row rows[] = {
        {"10000 of 10000", 10'000, 10'000, true},
        {"10001 of 10000", 10'001, 10'000, false},
        {"1 of 1", 1, 1, true},
        {"0 of 0", 0, 0, true},
        {"1 of 0", 1, 0, false},
        {"0 of -1", 0, -1, false},
        {"1 of the highest", 1, highest, true},
        {"0 of the lowest", 0, lowest, false},
        {"a limit whose lower 32 bits are 0", 1, big, true},
        {"a limit whose lower 32 bits are negative", 1, 0xffff'ffff, true},
        {"a size whose lower 32 bits are negative", (std::int64_t{1} << 31) + 1, 10'000, false},
        {"a size whose lower 32 bits are 1", big + 1, 10'000, false},
        {"a size and a limit beyond 32 bits", big + 1, big, false},
        {"a size beyond what a stream reads", big + 5, beyondStream, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        writeSparseFile(path, row.size);
        std::string text = earlier;
        EXPECT_EQ(readTextFile(path, text, row.limit), row.accepted);
        EXPECT_EQ(text,
                  row.accepted ? std::string(static_cast<std::size_t>(row.size), '\0') : earlier);
    }
}

/// A name that leads to nothing that can be read whole.
struct Row {
    const char* name;
    std::function<void()> make;
    std::string path = ::path;
};

void PrintTo(const Row& row, std::ostream* out)
{
    *out << row.name;
}

class UnusableTextFile : public TextFile, public testing::WithParamInterface<Row> {};

TEST_P(UnusableTextFile, IsRefusedAndLeavesTheText)
{
    GetParam().make();
    std::string text = earlier;
    EXPECT_FALSE(readTextFile(GetParam().path, text, 10'000));
    EXPECT_EQ(text, earlier);
}

const Row rows[] = {
    {"Missing", [] {}},
    {"EmptyName", [] {}, ""},
    {"NotReadable",
     [] {
         writeFile(path, "{}");
         chmod(path.c_str(), 0);
     }},
    {"Directory", [] { fs::create_directory(path); }},
};

INSTANTIATE_TEST_SUITE_P(, UnusableTextFile, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

TEST_F(TextFile, IsNoPipe)
{
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    // With a writer, opening the pipe for reading does not block (fifo(7)).
    const int writer = open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    ASSERT_EQ(write(writer, "{}", 2), 2);
    std::string text = earlier;
    EXPECT_FALSE(readTextFile(path, text, 10'000));
    EXPECT_EQ(text, earlier);
    close(writer);
}

TEST_F(TextFile, IsEmptyIfItIsADeviceThatEndsAtPosition0)
{
    for (const char* const device : {"/dev/null", "/dev/zero"}) {
        std::string text = earlier;
        EXPECT_TRUE(readTextFile(device, text, 10'000));
        EXPECT_EQ(text, "");
    }
}

// For the C library of POSIX there is no difference, for others there is.
TEST_F(TextFile, IsNotOpenedAsATextStream)
{
    writeFile(path, "{}");
    Effects effects;
    effects.record([] {
        std::string text;
        EXPECT_TRUE(readTextFile(path, text, 10));
    });

    const std::string mode = effects.openings.at(0).mode;
    EXPECT_TRUE(mode.empty() || mode.find('b') != std::string::npos) << mode;
}

// Between its size and its bytes a file can change, and a read can fail.
TEST_F(TextFile, KeepsEarlierBytesOrZerosWhereTheReadDeliversNone)
{
    struct Change {
        const char* name;
        std::string bytes;
        std::function<int()> beforeRead;
        std::string before;
        std::string after;
    };
    const auto truncateTo = [](off_t size) {
        return [size] { return truncate(path.c_str(), size) == 0 ? 0 : EINVAL; };
    };
    const auto fail = [] { return EIO; };
    const auto grow = [] {
        writeFile(path, "0123456789, and more");
        return 0;
    };
    const std::string digits = "0123456789";
    const std::string zeros(10, '\0');
    const Change changes[] = {
        {"shrinks under a longer text", digits, truncateTo(4), "ABCDEFGHIJKL", "0123EFGHIJ"},
        {"shrinks under a shorter text", digits, truncateTo(4), "ABCDEF",
         "0123EF" + zeros.substr(6)},
        {"shrinks under an empty text", digits, truncateTo(4), "", "0123" + zeros.substr(4)},
        {"shrinks to nothing", digits, truncateTo(0), "ABCDEF", "ABCDEF" + zeros.substr(6)},
        {"shrinks by the last byte", digits, truncateTo(9), "ABCDEFGHIJKL", "012345678J"},
        {"shrinks, larger than a stream's buffer", std::string(10'000, 'n'), truncateTo(9'000),
         std::string(10'000, 'o'), std::string(9'000, 'n') + std::string(1'000, 'o')},
        {"cannot be read, longer text", digits, fail, "ABCDEFGHIJKL", "ABCDEFGHIJ"},
        {"cannot be read, shorter text", digits, fail, "ABCDEF", "ABCDEF" + zeros.substr(6)},
        {"grows", digits, grow, "ABCDEFGHIJKL", digits},
    };
    for (const Change& change : changes) {
        SCOPED_TRACE(change.name);
        writeFile(path, change.bytes);
        std::string text = change.before;
        Effects effects;
        effects.before = [&](const std::string& effect) {
            return effect == "read " + path ? change.beforeRead() : 0;
        };
        effects.record([&] { EXPECT_TRUE(readTextFile(path, text, 10'000)); });
        EXPECT_EQ(text, change.after);
    }
}

}  // namespace
