#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <thread>
#include <vector>

#include "OleTest.h"

namespace vorn::test {
namespace {

namespace fs = std::filesystem;
using Names = std::set<std::string>;

WString TempPath()
{
    WCHAR directory[260];
    return {directory, GetTempPathW(260, directory)};
}

/** Runs `body` in a child that ends as a program ends; its text goes back to the parent. */
template <typename Body>
std::string InChild(Body body)
{
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    const pid_t child = fork();
    if (child == 0) {
        alarm(20);
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

class SystemFiles : public OleTest {
protected:
    fs::path In(const std::string& name) const { return folder_.Path() / name; }
    Names All() const { return NamesIn(folder_.Path()); }

    static bool Copy(const fs::path& from, const fs::path& to, bool failIfExists = false)
    {
        SetLastError(ERROR_SUCCESS);
        return CopyFileW(Wide(from).c_str(), Wide(to).c_str(), failIfExists) != FALSE;
    }

    const ScratchFolder folder_;
};

TEST_F(SystemFiles, CopyHasContentAndPermissions)
{
    const std::string content = std::string(3000000, 'x') + '\0';
    WriteBytes(In("from"), content);
    const mode_t old = umask(027);
    EXPECT_TRUE(Copy(In("from"), In("to")));
    umask(old);
    EXPECT_EQ(BytesOf(In("to")), content);
    EXPECT_EQ(fs::status(In("to")).permissions(), fs::perms{0640}) << "a new file ignores the umask";

    fs::permissions(In("to"), fs::perms{0604});
    WriteBytes(In("from"), "");
    EXPECT_TRUE(Copy(In("from"), In("to")));
    EXPECT_EQ(BytesOf(In("to")), "");
    EXPECT_EQ(fs::status(In("to")).permissions(), fs::perms{0604}) << "a replaced file loses its mode";
    EXPECT_EQ(All(), (Names{"from", "to"}));
}

TEST_F(SystemFiles, CopyGoesThroughALinkAndThroughASpecialSource)
{
    WriteBytes(In("from"), "new");
    WriteBytes(In("real"), "old");
    fs::create_symlink("real", In("link"));
    EXPECT_TRUE(Copy(In("from"), In("link")));
    EXPECT_TRUE(fs::is_symlink(In("link")));
    EXPECT_EQ(BytesOf(In("real")), "new");
    EXPECT_TRUE(Copy("/proc/self/status", In("real"))) << "the kernel claims that it is empty";
    EXPECT_NE(BytesOf(In("real")).find("Name:"), std::string::npos);
    EXPECT_TRUE(Copy(In("from"), "/dev/null"));
    EXPECT_TRUE(fs::is_character_file("/dev/null"));

    fs::permissions(In("real"), fs::perms{0604});
    EXPECT_TRUE(PassFileW(Wide(In("from")).c_str(), Wide(In("link")).c_str(), FALSE));
    EXPECT_TRUE(fs::is_symlink(In("link")));
    EXPECT_EQ(BytesOf(In("real")), "new");
    EXPECT_EQ(fs::status(In("real")).permissions(), fs::perms{0604});
    WriteBytes(In("late"), "of another process");
    EXPECT_FALSE(PassFileW(Wide(In("late")).c_str(), Wide(In("real")).c_str(), TRUE));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_EXISTS));
    EXPECT_EQ(BytesOf(In("real")), "new");
    fs::remove(In("late"));
    EXPECT_EQ(All(), (Names{"link", "real"})) << "copied where it could have been moved";
}

TEST_F(SystemFiles, FailedCopySaysWhyAndChangesNothing)
{
    WriteBytes(In("from"), "new");
    WriteBytes(In("to"), "old");
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
        {"full device", In("from"), "/dev/full", false, ERROR_DISK_FULL},
        {"name too long", In("from"), In(std::string(300, 'n')), false, ERROR_FILENAME_EXCED_RANGE},
        {"empty name", In("from"), "", false, ERROR_PATH_NOT_FOUND},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.fault);
        EXPECT_FALSE(Copy(row.from, row.to, row.failIfExists));
        EXPECT_EQ(GetLastError(), row.error);
        EXPECT_EQ(BytesOf(In("to")), "old");
        EXPECT_EQ(All(), (Names{"directory", "from", "to"}));
    }
    EXPECT_FALSE(CopyFileW(nullptr, u"x", FALSE));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_TRUE(Copy(In("from"), In("fresh"), true));
}

TEST_F(SystemFiles, CopyThatCannotBeWrittenKeepsTheDestination)
{
    WriteBytes(In("from"), std::string(300000, 'n'));
    WriteBytes(In("to"), "old");
    const std::string error = InChild([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{100000, 100000};
        setrlimit(RLIMIT_FSIZE, &limit);
        return Copy(In("from"), In("to")) ? "copied" : std::to_string(GetLastError());
    });
    EXPECT_EQ(error, std::to_string(ERROR_FILE_TOO_LARGE));
    EXPECT_EQ(BytesOf(In("to")), "old");
    EXPECT_EQ(All(), (Names{"from", "to"})) << "a stray file is left";
}

// As an ordinary user, since nothing is read-only for the superuser.
TEST_F(SystemFiles, CopyRespectsWhatIsReadOnly)
{
    const auto copies = [&](const std::string& to) {
        return InChild([&]() -> std::string {
            if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0))
                return "no ordinary user";
            return Copy(In("from"), In(to)) ? "copied" : std::to_string(GetLastError());
        });
    };
    const std::string denied = std::to_string(ERROR_ACCESS_DENIED);
    const struct {
        const char* file;
        const char* content;
        unsigned mode;
    } files[] = {
        {"from", "new", 0644}, {"full", "old", 0666}, {"empty", "", 0666}, {"readonly", "kept", 0444}};
    for (const auto& each : files) {
        WriteBytes(In(each.file), each.content);
        fs::permissions(In(each.file), fs::perms{each.mode});
    }
    fs::permissions(folder_.Path(), fs::perms{0555});
    EXPECT_EQ(copies("full"), denied);
    EXPECT_EQ(copies("new"), denied);
    EXPECT_EQ(copies("empty"), "copied");
    fs::permissions(folder_.Path(), fs::perms{0777});
    EXPECT_EQ(copies("readonly"), denied);

    EXPECT_EQ(BytesOf(In("full")), "old");
    EXPECT_EQ(BytesOf(In("empty")), "new") << "an empty file can be written in place";
    EXPECT_EQ(BytesOf(In("readonly")), "kept") << "a read-only file was replaced";
    EXPECT_EQ(All().size(), 4u);
}

TEST_F(SystemFiles, DeleteAndAccess)
{
    WriteBytes(In("file"), "x");
    const WString name = Wide(In("file"));
    EXPECT_EQ(_waccess(name.c_str(), 0), 0);
    EXPECT_TRUE(DeleteFileW(name.c_str()));
    EXPECT_EQ(_waccess(name.c_str(), 0), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(DeleteFileW(name.c_str()));
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
    EXPECT_FALSE(DeleteFileW(Wide(folder_.Path()).c_str()));
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    EXPECT_EQ(_waccess(nullptr, 0), -1);
    EXPECT_EQ(_waccess(u"/", 1), -1);
    EXPECT_EQ(errno, EINVAL);
}

TEST_F(SystemFiles, TempPathIsPrivateAndAsksForItsSize)
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

TEST_F(SystemFiles, TempPathIsOneForAllThreads)
{
    std::vector<WString> paths(4);
    std::vector<std::thread> threads;
    for (WString& path : paths)
        threads.emplace_back([&path] { path = TempPath(); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(paths, std::vector<WString>(4, TempPath()));
}

TEST_F(SystemFiles, TempPathOfAChildIsItsOwnAndGoesWithIt)
{
    const fs::path ours{TempPath()};
    const fs::path theirs = InChild([] {
        const fs::path path{TempPath()};
        WriteBytes(path / "WiaTempFile.tmp", "x");
        return path.string();
    });
    EXPECT_FALSE(theirs.empty());
    EXPECT_NE(theirs, ours);
    EXPECT_FALSE(fs::exists(theirs)) << "not removed at exit";
    EXPECT_EQ(InChild([] { return std::string{"never asked for one"}; }), "never asked for one");
    EXPECT_TRUE(fs::exists(ours)) << "a child removed its parent's";
}

TEST_F(SystemFiles, TempPathFollowsTmpdirAndIsMadeAgainWhenACleanerRemovedIt)
{
    const std::string seen = InChild([&] {
        setenv("TMPDIR", "/nonexistent", 1);
        const bool refused = GetTempPathW(0, nullptr) == 0 && GetLastError() == ERROR_FILE_NOT_FOUND;
        setenv("TMPDIR", folder_.Path().c_str(), 1);
        std::string text = refused ? "refused" : "made";
        for (int i = 0; i < 2; ++i) {
            const fs::path path{TempPath()};
            text += fs::exists(path) && fs::equivalent(path / "..", folder_.Path()) ? ", made" : ", missing";
            fs::remove_all(path);
        }
        return text;
    });
    EXPECT_EQ(seen, "refused, made, made");
}

TEST_F(SystemFiles, OnlyWhatAKilledProcessLeftIsCleanedUpAfter)
{
    constexpr const char* kLock = ".vornwia-lock";
    struct Case {
        const char* directory;
        Names files;
        bool stays;
        bool young = false;
    };
    const Case cases[] = {
        {"vornwia-kiLL3d", {kLock, "WiaTempFile.tmp", "WIA 1.bmp"}, false},
        {"vornwia-emptyd", {kLock}, false},
        {"vornwia-living", {kLock, "WiaTempFile.tmp"}, true},
        {"vornwia-youngd", {kLock}, true, true},
        {"vornwia-nolock", {"WiaTempFile.tmp"}, true},
        {"vornwia-abcdef", {kLock, "notes.txt"}, true},       // somebody's file
        {"vornwia-0.1.0", {kLock, "WiaTempFile.tmp"}, true},  // somebody's directory
        {"vornwia-toolong", {kLock}, true},
        {"others-killed", {kLock}, true},
    };
    for (const Case& row : cases) {
        fs::create_directory(In(row.directory));
        fs::permissions(In(row.directory), fs::perms::owner_all);
        for (const std::string& file : row.files) {
            WriteBytes(In(row.directory) / file, file == kLock ? "" : "a page");
            if (!row.young)
                fs::last_write_time(In(row.directory) / file,
                                    fs::file_time_type::clock::now() - std::chrono::hours{1});
        }
    }
    fs::create_directory(In("vornwia-0.1.0") / "src");
    WriteBytes(In("vornwia-0.1.0") / "src/main.c", "int main;");
    fs::create_directory_symlink(In("others-killed"), In("vornwia-linked"));
    const int living = open((In("vornwia-living") / kLock).c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(flock(living, LOCK_EX), 0);
    EXPECT_EQ(InChild([&]() -> std::string {
                  setenv("TMPDIR", folder_.Path().c_str(), 1);
                  return TempPath().empty() ? "none" : "made";
              }),
              "made");
    close(living);
    Names expected{"vornwia-linked"};
    for (const Case& row : cases) {
        if (!row.stays)
            continue;
        expected.insert(row.directory);
        for (const std::string& file : row.files)
            EXPECT_TRUE(fs::exists(In(row.directory) / file)) << row.directory << '/' << file;
    }
    EXPECT_EQ(All(), expected);
    EXPECT_TRUE(fs::exists(In("vornwia-0.1.0") / "src/main.c"));
}

}  // namespace
}  // namespace vorn::test
