#include <fcntl.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <iterator>
#include <thread>
#include <vector>

#include "OleTest.h"

namespace vorn::test {
namespace {

namespace fs = std::filesystem;

WString TempPath()
{
    WCHAR directory[260];
    return {directory, GetTempPathW(260, directory)};
}

void Put(const fs::path& file, const std::string& content)
{
    std::ofstream{file, std::ios::binary} << content;
}

std::string Get(const fs::path& file)
{
    std::ifstream stream{file, std::ios::binary};
    return {std::istreambuf_iterator<char>{stream}, {}};
}

/** Works in a directory of its own, and counts what lies in it. */
class SystemFiles : public OleTest {
protected:
    void SetUp() override
    {
        directory_ = fs::path{TempPath()} / u"\u00DCbung \u30DA";
        ASSERT_TRUE(fs::create_directory(directory_));
    }
    void TearDown() override
    {
        fs::permissions(directory_, fs::perms::owner_all);
        fs::remove_all(directory_);
        OleTest::TearDown();
    }

    fs::path In(const char* name) const { return directory_ / name; }
    static bool CopyFileTo(const fs::path& from, const fs::path& to, bool failIfExists = false)
    {
        SetLastError(ERROR_SUCCESS);
        return CopyFileW(from.u16string().c_str(), to.u16string().c_str(), failIfExists) != FALSE;
    }
    ptrdiff_t FileCount() const
    {
        return std::distance(fs::directory_iterator{directory_}, fs::directory_iterator{});
    }

    fs::path directory_;
};

TEST_F(SystemFiles, CopyHasContentAndPermissions)
{
    std::string content(3000000, 'x');
    content += '\0';
    Put(In("from"), content);
    const mode_t old = umask(027);
    EXPECT_TRUE(CopyFileTo(In("from"), In("to")));
    umask(old);
    EXPECT_EQ(Get(In("to")), content);
    EXPECT_EQ(fs::status(In("to")).permissions(), fs::perms{0640}) << "a new file ignores the umask";

    fs::permissions(In("to"), fs::perms{0604});
    Put(In("from"), "");
    EXPECT_TRUE(CopyFileTo(In("from"), In("to")));
    EXPECT_EQ(Get(In("to")), "");
    EXPECT_EQ(fs::status(In("to")).permissions(), fs::perms{0604}) << "a replaced file loses its mode";
    EXPECT_EQ(FileCount(), 2);
}

TEST_F(SystemFiles, CopyGoesThroughALinkAndThroughASpecialSource)
{
    Put(In("from"), "new");
    Put(In("real"), "old");
    fs::create_symlink("real", In("link"));
    EXPECT_TRUE(CopyFileTo(In("from"), In("link")));
    EXPECT_TRUE(fs::is_symlink(In("link")));
    EXPECT_EQ(Get(In("real")), "new");
    EXPECT_TRUE(CopyFileTo("/proc/self/status", In("real"))) << "the kernel claims that it is empty";
    EXPECT_NE(Get(In("real")).find("Name:"), std::string::npos);
    EXPECT_TRUE(CopyFileTo(In("from"), "/dev/null"));
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST_F(SystemFiles, FailedCopySaysWhyAndChangesNothing)
{
    Put(In("from"), "new");
    Put(In("to"), "old");
    fs::create_directory(In("directory"));
    const struct {
        const char* fault;
        fs::path from, to;
        bool failIfExists;
        DWORD error;
    } kRows[] = {
        {"no source", In("missing"), In("to"), false, ERROR_FILE_NOT_FOUND},
        {"no source directory", In("missing/a"), In("to"), false, ERROR_PATH_NOT_FOUND},
        {"source is a directory", In("directory"), In("to"), false, ERROR_ACCESS_DENIED},
        {"destination exists", In("from"), In("to"), true, ERROR_FILE_EXISTS},
        {"destination is a directory", In("from"), In("directory"), false, ERROR_ACCESS_DENIED},
        {"no destination directory", In("from"), In("missing/a"), false, ERROR_PATH_NOT_FOUND},
        {"a file as directory", In("from"), In("to/a"), false, ERROR_PATH_NOT_FOUND},
        {"onto itself", In("to"), In("to"), false, ERROR_SHARING_VIOLATION},
        {"endless source", "/dev/zero", In("to"), false, ERROR_NOT_SUPPORTED},
        {"name too long", In("from"), In(std::string(300, 'n').c_str()), false, ERROR_FILENAME_EXCED_RANGE},
        {"empty name", In("from"), "", false, ERROR_PATH_NOT_FOUND},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.fault);
        EXPECT_FALSE(CopyFileTo(row.from, row.to, row.failIfExists));
        EXPECT_EQ(GetLastError(), row.error);
        EXPECT_EQ(Get(In("to")), "old");
        EXPECT_EQ(FileCount(), 3);
    }
    EXPECT_FALSE(CopyFileW(nullptr, u"x", FALSE));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_TRUE(CopyFileTo(In("from"), In("fresh"), true));
}

TEST_F(SystemFiles, FullDiskKeepsTheDestination)
{
    Put(In("from"), std::string(300000, 'n'));
    const fs::path disk = In("disk");
    fs::create_directory(disk);
    if (mount("none", disk.c_str(), "tmpfs", 0, "size=128k") != 0)
        GTEST_SKIP() << "a small file system cannot be mounted here";
    Put(disk / "to", "old");
    EXPECT_FALSE(CopyFileTo(In("from"), disk / "to"));
    EXPECT_EQ(GetLastError(), ERROR_DISK_FULL);
    EXPECT_EQ(Get(disk / "to"), "old");
    EXPECT_EQ(std::distance(fs::directory_iterator{disk}, fs::directory_iterator{}), 1)
        << "a stray file is left";
    EXPECT_EQ(umount(disk.c_str()), 0);
}

TEST_F(SystemFiles, FileTooLargeForTheLimitKeepsTheDestination)
{
    Put(In("from"), std::string(300000, 'n'));
    Put(In("to"), "old");
    const pid_t child = fork();
    if (child == 0) {
        alarm(20);
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{100000, 100000};
        setrlimit(RLIMIT_FSIZE, &limit);
        const bool copied = CopyFileTo(In("from"), In("to"));
        _exit(!copied && GetLastError() == ERROR_FILE_TOO_LARGE ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(Get(In("to")), "old");
    EXPECT_EQ(FileCount(), 2) << "a stray file is left";
}

/** Runs `body` as an ordinary user, since nothing is read-only for the superuser. @return what it returns */
template <typename Body>
int AsOrdinaryUser(Body body)
{
    const pid_t child = fork();
    if (child == 0) {
        if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0))
            _exit(100);
        _exit(body());
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(SystemFiles, ReadOnlyDirectoryLosesNothing)
{
    // The user who copies must reach the files through the private directory's name.
    char name[] = "/tmp/vornwia-test-XXXXXX";
    const fs::path open = mkdtemp(name);
    Put(open / "from", "new");
    Put(open / "full", "old");
    Put(open / "empty", "");
    for (const char* file : {"full", "empty"})
        fs::permissions(open / file, fs::perms{0666});
    Put(open / "readonly", "kept");
    fs::permissions(open / "readonly", fs::perms{0444});
    fs::permissions(open, fs::perms{0555});

    EXPECT_EQ(AsOrdinaryUser([&] {
                  const bool refused =
                      !CopyFileTo(open / "from", open / "full") && GetLastError() == ERROR_ACCESS_DENIED &&
                      !CopyFileTo(open / "from", open / "new") && GetLastError() == ERROR_ACCESS_DENIED;
                  return refused && CopyFileTo(open / "from", open / "empty") ? 0 : 1;
              }),
              0);
    EXPECT_EQ(Get(open / "full"), "old");
    EXPECT_EQ(Get(open / "empty"), "new") << "an empty file can be written in place";

    fs::permissions(open, fs::perms{0777});
    EXPECT_EQ(AsOrdinaryUser([&] { return CopyFileTo(open / "from", open / "readonly") ? 1 : 0; }), 0);
    EXPECT_EQ(Get(open / "readonly"), "kept") << "a read-only file was replaced";
    EXPECT_EQ(std::distance(fs::directory_iterator{open}, fs::directory_iterator{}), 4);
    fs::remove_all(open);
}

TEST_F(SystemFiles, DeleteAndAccess)
{
    Put(In("file"), "x");
    const WString name = In("file").u16string();
    EXPECT_EQ(_waccess(name.c_str(), 0), 0);
    EXPECT_TRUE(DeleteFileW(name.c_str()));
    EXPECT_EQ(_waccess(name.c_str(), 0), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(DeleteFileW(name.c_str()));
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
    EXPECT_FALSE(DeleteFileW(directory_.u16string().c_str()));
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    EXPECT_EQ(_waccess(nullptr, 0), -1);
    EXPECT_EQ(_waccess(u"/", 1), -1);
    EXPECT_EQ(errno, EINVAL);
}

TEST_F(SystemFiles, MediumDeletesItsFile)
{
    Put(In("file"), "x");
    const WString name = In("file").u16string();
    STGMEDIUM medium{};
    medium.tymed = TYMED_FILE;
    medium.lpszFileName = static_cast<LPOLESTR>(CoTaskMemAlloc((name.size() + 1) * sizeof(WCHAR)));
    std::copy_n(name.c_str(), name.size() + 1, medium.lpszFileName);
    ReleaseStgMedium(&medium);
    EXPECT_FALSE(fs::exists(In("file")));
}

TEST(TempPath, IsPrivateAndAsksForItsSize)
{
    const WString path = TempPath();
    ASSERT_FALSE(path.empty());
    EXPECT_EQ(path.back(), u'/');
    struct stat status;
    ASSERT_EQ(stat(fs::path{path}.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0700u);
    EXPECT_EQ(status.st_uid, geteuid());

    const auto needed = static_cast<DWORD>(path.size() + 1);
    EXPECT_EQ(GetTempPathW(0, nullptr), needed);
    std::vector<WCHAR> buffer(needed, u'#');
    EXPECT_EQ(GetTempPathW(needed - 1, buffer.data()), needed);
    EXPECT_EQ(buffer[0], u'#') << "a short buffer was written to";
    EXPECT_EQ(GetTempPathW(needed, buffer.data()), needed - 1);
}

TEST(TempPath, IsOneForAllThreads)
{
    std::vector<WString> paths(4);
    std::vector<std::thread> threads;
    for (WString& path : paths)
        threads.emplace_back([&path] { path = TempPath(); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(paths, std::vector<WString>(4, TempPath()));
}

/** Runs `body` in a child that ends as a program ends; its text goes back to the parent. */
template <typename Body>
std::string InChild(Body body)
{
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    const pid_t child = fork();
    if (child == 0) {
        const std::string text = body();
        std::exit(write(ends[1], text.data(), text.size()) == ssize_t(text.size()) ? 0 : 1);
    }
    close(ends[1]);
    char text[512];
    const ssize_t length = read(ends[0], text, sizeof(text));
    close(ends[0]);
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    return {text, size_t(std::max<ssize_t>(length, 0))};
}

TEST(TempPath, ChildHasItsOwnWhichGoesWithIt)
{
    const fs::path ours{TempPath()};
    const fs::path theirs = InChild([] {
        const fs::path path{TempPath()};
        Put(path / "left behind", "x");
        return path.string();
    });
    EXPECT_FALSE(theirs.empty());
    EXPECT_NE(theirs, ours);
    EXPECT_FALSE(fs::exists(theirs)) << "not removed at exit";
    EXPECT_EQ(InChild([] { return std::string{"never asked for one"}; }), "never asked for one");
    EXPECT_TRUE(fs::exists(ours)) << "a child removed its parent's";
}

TEST(TempPath, FollowsTmpdirAndFailsWithIt)
{
    EXPECT_EQ(InChild([] {
                  setenv("TMPDIR", "/nonexistent", 1);
                  SetLastError(ERROR_SUCCESS);
                  return GetTempPathW(0, nullptr) == 0 ? std::to_string(GetLastError()) : "found";
              }),
              std::to_string(ERROR_FILE_NOT_FOUND));
}

TEST(TempPath, IsMadeAgainWhenACleanerRemovedIt)
{
    EXPECT_EQ(InChild([]() -> std::string {
                  const fs::path first{TempPath()};
                  fs::remove_all(first);
                  return fs::exists(fs::path{TempPath()}) ? "made" : "gone";
              }),
              "made");
}

TEST_F(SystemFiles, ProcessesThatWereKilledAreCleanedUpAfter)
{
    for (const char* name : {"vornwia-killed", "vornwia-living", "vornwia-young", "others-killed"}) {
        fs::create_directory(In(name));
        Put(In(name) / "WiaTempFile.tmp", "a page");
        if (std::string{name} != "vornwia-young")
            fs::last_write_time(In(name), fs::file_time_type::clock::now() - std::chrono::hours{1});
    }
    const int living = open(In("vornwia-living").c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_EQ(flock(living, LOCK_SH), 0);
    const std::string parent = directory_.string();
    EXPECT_EQ(InChild([&]() -> std::string {
                  setenv("TMPDIR", parent.c_str(), 1);
                  return TempPath().empty() ? "none" : "made";
              }),
              "made");
    close(living);
    EXPECT_FALSE(fs::exists(In("vornwia-killed")));
    for (const char* name : {"vornwia-living", "vornwia-young", "others-killed"})
        EXPECT_TRUE(fs::exists(In(name) / "WiaTempFile.tmp")) << name;
}

}  // namespace
}  // namespace vorn::test
