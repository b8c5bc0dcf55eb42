// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

#include <endian.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "tests/appliance/Appliance.h"
#include "tests/appliance/ExpectedRun.h"
#include "tests/appliance/Files.h"
#include "tests/appliance/PrivateRoot.h"
#include "tests/program/Documents.h"

namespace fs = std::filesystem;

// The new file takes the old one's place, and has nothing of it but the name.
namespace {

const std::string directory = std::string(Appliance::directory) + "/";

struct stat statusOf(const std::string& path)
{
    struct stat status = {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    return status;
}

struct Row {
    std::string name;
    std::string path;
    std::function<void()> arrange;
    Tree after;  ///< of the appliance's directory
};

void PrintTo(const Row& row, std::ostream* out)
{
    *out << row.name;
}

const std::string temporaryPath = configPath + ".filsec";
const std::string elsewhere = directory + "elsewhere";
const std::string longestPath = directory + std::string(longestName() - 7, 'n');
const std::string longText = "left, and longer than the new text" + std::string(200, '.');
const std::string oldFile = "file: " + handwritten("false");
const std::string newFile = "file: " + rewritten("true");

const std::vector<Row> rows = {
    {"TheFileIsALink",
     configPath,
     [] {
         fs::rename(configPath, elsewhere);
         fs::create_symlink("elsewhere", configPath);
     },
     {{configPath, newFile}, {elsewhere, oldFile}}},
    {"TheFileIsAHardLink",
     configPath,
     [] { fs::create_hard_link(configPath, elsewhere); },
     {{configPath, newFile}, {elsewhere, oldFile}}},
    {"TheFileIsReadOnly",
     configPath,
     [] { chmod(configPath.c_str(), 0444); },
     {{configPath, newFile}}},
    {"TheTemporaryFileIsLeftOver",
     configPath,
     [] { writeFile(temporaryPath, longText); },
     {{configPath, newFile}}},
    {"TheTemporaryNameIsALink",
     configPath,
     [] {
         writeFile(elsewhere, longText);
         fs::create_symlink("elsewhere", temporaryPath);
     },
     {{configPath, "link to elsewhere"}, {elsewhere, newFile}}},
    {"TheTemporaryNameIsADanglingLink",
     configPath,
     [] { fs::create_symlink("elsewhere", temporaryPath); },
     {{configPath, "link to elsewhere"}, {elsewhere, newFile}}},
    {"TheNameIsAsLongAsTheSuffixAllows",
     longestPath,
     [] { fs::rename(configPath, longestPath); },
     {{longestPath, newFile}}},
};

class ReplacementOfAnything : public testing::TestWithParam<Row> {};

TEST_P(ReplacementOfAnything, LeavesTheNewFileUnderTheName)
{
    const Row& row = GetParam();
    Appliance appliance;
    writeFile(configPath, handwritten("false"));
    row.arrange();

    EXPECT_EQ(appliance.run({row.path, "-enc"}).status, 1);

    Tree after;
    addTo(after, Appliance::directory);
    after.erase(Appliance::directory);
    EXPECT_EQ(after, row.after);
}

INSTANTIATE_TEST_SUITE_P(If, ReplacementOfAnything, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

class Replacement : public testing::Test {
protected:
    Replacement() { writeFile(configPath, handwritten("false")); }

    void expectReplaced()
    {
        EXPECT_EQ(appliance.run({configPath, "-enc"}).status, 1);
        EXPECT_EQ(readFile(configPath), rewritten("true"));
    }

    void expectNotRenamed()
    {
        const expected::Run expectedRun =
            expected::run({.arguments = {configPath, "-enc"},
                           .configuration = configurationRecording(false),
                           .writing = expected::notWritten(-3)});
        const RunResult run = appliance.run({configPath, "-enc"});
        EXPECT_EQ(run.status, expectedRun.status);
        EXPECT_EQ(run.err, expectedRun.err);
        EXPECT_EQ(readFile(configPath), handwritten("false"));
        EXPECT_EQ(readFile(temporaryPath), rewritten("true"));
    }

    Appliance appliance;
};

// Only the superuser may give a file away (EPERM), and a user namespace may know nobody else that
// it could be given to (EINVAL).
TEST_F(Replacement, KeepsNeitherTheOwnerNorTheModeNorTheTimes)
{
    constexpr uid_t somebody = 12345;
    const bool given = chown(configPath.c_str(), somebody, somebody) == 0;
    ASSERT_TRUE(given || errno == EINVAL || errno == EPERM);
    ASSERT_EQ(chmod(configPath.c_str(), 0604), 0);
    constexpr std::time_t longAgo = 1'000'000'000;
    const std::array<timespec, 2> times = {timespec{longAgo, 0}, timespec{longAgo, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, configPath.c_str(), times.data(), 0), 0);

    expectReplaced();
    const struct stat status = statusOf(configPath);
    EXPECT_EQ(status.st_uid, geteuid());
    EXPECT_EQ(status.st_gid, getegid());
    EXPECT_EQ(status.st_mode & 07777U, 0644U);
    EXPECT_GT(status.st_mtim.tv_sec, longAgo + 1000);
}

/// An access control list by which one more user may read (acl(5); its layout is that of
/// linux/posix_acl_xattr.h).
std::string accessControlList()
{
    struct Entry {
        std::uint16_t tag;
        std::uint16_t rights;
        std::uint32_t id;
    };
    const std::uint32_t version = htole32(2);
    constexpr std::uint32_t none = 0xffff'ffff;
    std::array<Entry, 5> entries = {{{0x01, 6, none},       // the owner
                                     {0x02, 4, geteuid()},  // a user
                                     {0x04, 4, none},       // the group
                                     {0x10, 4, none},       // the mask
                                     {0x20, 0, none}}};     // all others
    for (Entry& entry : entries) {
        entry = {htole16(entry.tag), htole16(entry.rights), htole32(entry.id)};
    }
    std::string text(reinterpret_cast<const char*>(&version), sizeof version);
    text.append(reinterpret_cast<const char*>(entries.data()), sizeof entries);
    return text;
}

std::set<std::string> attributesOf(const std::string& path)
{
    std::array<char, 1000> bytes{};
    const ssize_t size = listxattr(path.c_str(), bytes.data(), bytes.size());
    std::set<std::string> names;
    for (ssize_t start = 0; start < size;) {
        const std::string name = &bytes.at(static_cast<std::size_t>(start));
        names.insert(name);
        start += static_cast<ssize_t>(name.size()) + 1;
    }
    return names;
}

/// A directory whose file system has such attributes: a tmpfs has them all since Linux 6.6; the
/// disk that the tests are built on is next.
class AttributeDirectory {
public:
    explicit AttributeDirectory(const std::string& attribute)
    {
        for (const std::string& place : {directory, std::string(executableDirectory()) + "/"}) {
            std::string pattern = place + "attributes-XXXXXX";
            if (mkdtemp(pattern.data()) == nullptr) {
                continue;
            }
            path = pattern;
            writeFile(path + "/probe", "");
            if (setxattr((path + "/probe").c_str(), attribute.c_str(), "", 0, 0) == 0 ||
                errno != EOPNOTSUPP) {
                break;
            }
            fs::remove_all(path);
        }
    }
    ~AttributeDirectory() { fs::remove_all(path); }
    AttributeDirectory(const AttributeDirectory&) = delete;
    AttributeDirectory& operator=(const AttributeDirectory&) = delete;

    std::string path;
};

TEST_F(Replacement, KeepsNeitherAccessControlListNorExtendedAttributes)
{
    struct Attribute {
        std::string name;
        std::string value;
    };
    for (const Attribute& attribute : {Attribute{"user.note", "rack 7"},
                                       Attribute{"system.posix_acl_access", accessControlList()}}) {
        SCOPED_TRACE(attribute.name);
        const AttributeDirectory place(attribute.name);
        const std::string path = place.path + "/config.json";
        writeFile(path, handwritten("false"));
        ASSERT_EQ(setxattr(path.c_str(), attribute.name.c_str(), attribute.value.data(),
                           attribute.value.size(), 0),
                  0)
            << errno;
        ASSERT_TRUE(attributesOf(path).contains(attribute.name));

        EXPECT_EQ(appliance.run({path, "-enc"}).status, 1);

        EXPECT_EQ(readFile(path), rewritten("true"));
        EXPECT_FALSE(attributesOf(path).contains(attribute.name));
    }
}

// The temporary file that is left over can be written, but not renamed.
TEST_F(Replacement, IsRefusedIfTheDirectoryIsNotWritable)
{
    writeFile(temporaryPath, "");
    chmod(Appliance::directory, 0555);

    expectNotRenamed();
    chmod(Appliance::directory, 0755);
}

TEST_F(Replacement, IsRefusedIfSomethingIsMountedOnTheFile)
{
    writeFile(directory + "mounted", handwritten("false"));
    const bool mounted =
        !isUnderProot() &&
        mount((directory + "mounted").c_str(), configPath.c_str(), nullptr, MS_BIND, nullptr) == 0;
    ASSERT_TRUE(mounted || isUnderProot());

    mounted ? expectNotRenamed() : expectReplaced();
    if (mounted) {
        umount2(configPath.c_str(), MNT_DETACH);
    }
}

/// Sets or clears the attribute (ioctl_iflags(2)). Returns whether that was allowed.
bool setImmutable(const std::string& path, bool immutable)
{
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    // The kernel reads an int, although the number of the request says long.
    const std::array<int, 2> flags = {immutable ? FS_IMMUTABLE_FL : 0, 0};
    const int result = ioctl(fd, FS_IOC_SETFLAGS, flags.data());
    const int error = errno;
    close(fd);
    errno = error;
    return result == 0;
}

// Only the superuser may make a file immutable (EPERM), on a tmpfs since Linux 6.0 (ENOTTY).
TEST_F(Replacement, IsRefusedIfTheFileIsImmutable)
{
    const bool immutable = setImmutable(configPath, true);
    ASSERT_TRUE(immutable || errno == EPERM || errno == ENOTTY);

    immutable ? expectNotRenamed() : expectReplaced();
    setImmutable(configPath, false);
}

}  // namespace
