// SPDX-FileCopyrightText: The switch querier authors
// SPDX-License-Identifier: MIT

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

using Names = std::vector<std::string>;

const std::string directory = std::string(Appliance::directory) + "/";

struct stat statusOf(const std::string& path)
{
    struct stat status = {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    return status;
}

class Replacement : public testing::Test {
protected:
    Replacement() { writeFile(configPath, handwritten("false")); }

    void expectReplaced()
    {
        const RunResult run = appliance.run({configPath, "-enc"});
        EXPECT_EQ(run.status, 1) << run.err;
        EXPECT_EQ(readFile(configPath), rewritten("true"));
        EXPECT_TRUE(S_ISREG(statusOf(configPath).st_mode));
    }

    void expectNotRenamed()
    {
        const RunResult run = appliance.run({configPath, "-enc"});
        EXPECT_EQ(run.status, 236);
        EXPECT_TRUE(run.err.ends_with("\nERROR: " + expected::notWritten(-3).message + "\n"))
            << run.err;
        EXPECT_EQ(readFile(configPath), handwritten("false"));
        EXPECT_EQ(readFile(configPath + ".filsec"), rewritten("true"));
    }

    Appliance appliance;
};

TEST_F(Replacement, OfALinkLeavesItsTarget)
{
    fs::rename(configPath, directory + "target");
    fs::create_symlink("target", configPath);

    expectReplaced();
    EXPECT_EQ(readFile(directory + "target"), handwritten("false"));
    EXPECT_EQ(namesIn(directory), (Names{"config.json", "target"}));
}

TEST_F(Replacement, OfAHardLinkLeavesTheOtherName)
{
    fs::create_hard_link(configPath, directory + "other");

    expectReplaced();
    EXPECT_EQ(readFile(directory + "other"), handwritten("false"));
    EXPECT_EQ(statusOf(configPath).st_nlink, 1U);
    EXPECT_EQ(namesIn(directory), (Names{"config.json", "other"}));
}

TEST_F(Replacement, OfAFileThatIsReadOnlySucceeds)
{
    chmod(configPath.c_str(), 0444);
    writeFile(configPath + ".filsec", "left, and longer than the new text" + std::string(200, '.'));

    expectReplaced();
    EXPECT_EQ(namesIn(directory), Names{"config.json"});
}

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
    constexpr std::uint32_t version = 2;
    constexpr std::uint32_t none = 0xffff'ffff;
    const std::array<Entry, 5> entries = {{{0x01, 6, none},       // the owner
                                           {0x02, 4, geteuid()},  // a user
                                           {0x04, 4, none},       // the group
                                           {0x10, 4, none},       // the mask
                                           {0x20, 0, none}}};     // all others
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
    struct Row {
        std::string attribute;
        std::string value;
    };
    for (const Row& row :
         {Row{"user.note", "rack 7"}, Row{"system.posix_acl_access", accessControlList()}}) {
        SCOPED_TRACE(row.attribute);
        const AttributeDirectory place(row.attribute);
        const std::string path = place.path + "/config.json";
        writeFile(path, handwritten("false"));
        ASSERT_EQ(
            setxattr(path.c_str(), row.attribute.c_str(), row.value.data(), row.value.size(), 0), 0)
            << errno;
        ASSERT_TRUE(attributesOf(path).contains(row.attribute));

        EXPECT_EQ(appliance.run({path, "-enc"}).status, 1);

        EXPECT_EQ(readFile(path), rewritten("true"));
        EXPECT_FALSE(attributesOf(path).contains(row.attribute));
    }
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
