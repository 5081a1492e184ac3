#include "core/safe_replace.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include "core/file.h"
#include "tests/support/test_support.h"

namespace osmera {
namespace {

using testing::ReadText;

namespace fs = std::filesystem;
using testing::TempDir;

void Put(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

// Replaces `target` with `text` the way the writers do.
bool Replace(const std::string& target, const std::string& text, int* otherLinks = nullptr) {
    LSafeReplace replace(target);
    Put(replace.TempPath(), text);
    const bool ok = replace.Commit();
    if (otherLinks)
        *otherLinks = replace.OtherLinks();
    return ok;
}

struct stat Stat(const std::string& path) {
    struct stat st {};
    EXPECT_EQ(::lstat(path.c_str(), &st), 0) << path;
    return st;
}

size_t CountEntries(const fs::path& folder) {
    return static_cast<size_t>(std::distance(fs::directory_iterator(folder), {}));
}

TEST(SafeReplace, KeepsModeOwnerAndLinksOfTheReplacedFile) {
    TempDir dir;
    const std::string file = dir.File("p.wav");
    Put(file, "old");
    ASSERT_EQ(::chmod(file.c_str(), 0600), 0);
    if (::geteuid() == 0) {
        ASSERT_EQ(::chown(file.c_str(), 1234, 5678), 0);
    }
    ASSERT_TRUE(Replace(file, "new"));
    EXPECT_EQ(ReadText(file), "new");
    EXPECT_EQ(Stat(file).st_mode & 07777, 0600u);
    if (::geteuid() == 0) {
        EXPECT_EQ(Stat(file).st_uid, 1234u);
        EXPECT_EQ(Stat(file).st_gid, 5678u);
    }

    // A symbolic link (relative, into another folder) is written through and stays a link.
    fs::create_directory(dir.Path() / "real");
    Put(dir.File("real/take.wav"), "old");
    fs::create_symlink("real/take.wav", dir.Path() / "link.wav");
    ASSERT_TRUE(Replace(dir.File("link.wav"), "through"));
    EXPECT_TRUE(fs::is_symlink(dir.Path() / "link.wav"));
    EXPECT_EQ(ReadText(dir.File("real/take.wav")), "through");
    EXPECT_EQ(CountEntries(dir.Path() / "real"), 1u);  // no temporary left beside it
    // A dangling link creates the file it names.
    fs::create_symlink("real/later.wav", dir.Path() / "dangling.wav");
    ASSERT_TRUE(Replace(dir.File("dangling.wav"), "born"));
    EXPECT_EQ(ReadText(dir.File("real/later.wav")), "born");

    // A hard-linked file is replaced by the rename: the other name keeps the old data.
    Put(dir.File("a.wav"), "old");
    fs::create_hard_link(dir.Path() / "a.wav", dir.Path() / "b.wav");
    int otherLinks = -1;
    ASSERT_TRUE(Replace(dir.File("a.wav"), "new", &otherLinks));
    EXPECT_EQ(otherLinks, 1);
    EXPECT_EQ(ReadText(dir.File("a.wav")), "new");
    EXPECT_EQ(ReadText(dir.File("b.wav")), "old");
}

TEST(SafeReplace, RefusesFoldersAndFilesThatAreNotRegular) {
    TempDir dir;
    fs::create_directory(dir.Path() / "folder");
    ASSERT_EQ(::mkfifo(dir.File("pipe").c_str(), 0600), 0);
    for (const char* name : {"folder", "pipe"}) {
        SCOPED_TRACE(name);
        LSafeReplace replace(dir.File(name));
        EXPECT_TRUE(replace.Failed());
        EXPECT_FALSE(replace.Commit());
        EXPECT_NE(replace.ErrorText().find(name == std::string("pipe") ? "pipe" : "folder"),
                  std::string::npos)
            << replace.ErrorText();
    }
    EXPECT_TRUE(fs::is_directory(dir.Path() / "folder"));
    EXPECT_TRUE(fs::is_fifo(dir.Path() / "pipe"));
    EXPECT_EQ(CountEntries(dir.Path()), 2u);

    LSafeReplace missing(dir.File("no/such/folder/x.wav"));
    EXPECT_TRUE(missing.Failed());
    EXPECT_EQ(missing.ErrorText(), "No such file or directory.");
}

TEST(SafeReplace, RemovesWhatEndedProcessesLeftAndNothingElse) {
    TempDir dir;
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(0);
    ASSERT_GT(child, 0);
    ASSERT_EQ(::waitpid(child, nullptr, 0), child);  // its id is free now
    const std::string dead = std::to_string(child);
    const std::string self = std::to_string(::getpid());

    const std::string gone = ".take.wav.osmera-" + dead + "-0.tmp";
    // Our own id, on a file last written long before this process started: a process
    // that had the id before us left it.
    const std::string reused = ".take.wav.osmera-" + self + "-7.tmp";
    const std::string live = ".other.wav.osmera-" + self + "-8.tmp";
    const std::string notOurs[] = {"take.wav.osmera-" + dead + "-0.tmp",  // not hidden
                                   ".take.wav.osmera-x" + dead + "-0.tmp"};
    for (const std::string& name : {gone, reused, live})
        Put(dir.File(name), "leftover");
    for (const std::string& name : notOurs)
        Put(dir.File(name), "user's");
    const auto past = fs::file_time_type::clock::now() - std::chrono::hours(24 * 365 * 30);
    fs::last_write_time(dir.File(reused), past);

    ASSERT_TRUE(Replace(dir.File("take.wav"), "new"));
    EXPECT_FALSE(fs::exists(dir.File(gone)));
    EXPECT_FALSE(fs::exists(dir.File(reused)));
    EXPECT_TRUE(fs::exists(dir.File(live)));
    for (const std::string& name : notOurs)
        EXPECT_EQ(ReadText(dir.File(name)), "user's") << name;
}

// Opening a pipe must not wait for a writer. Should it wait, a helper opens the writing
// end after a while, so the test fails instead of hanging.
TEST(File, RefusesPipesDevicesAndFoldersAtOnce) {
    TempDir dir;
    const std::string pipe = dir.File("fifo");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    std::atomic<bool> returned{false};
    std::thread rescue([&] {
        for (int i = 0; i < 200 && !returned; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        const int fd = ::open(pipe.c_str(), O_WRONLY | O_NONBLOCK);
        if (fd >= 0)
            ::close(fd);
    });
    const auto start = std::chrono::steady_clock::now();
    LFile file;
    EXPECT_FALSE(file.Open(pipe, LFile::Mode::kRead));
    returned = true;
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
    EXPECT_EQ(file.ErrorText(), "It is a pipe (FIFO), not a regular file.");
    rescue.join();
    EXPECT_FALSE(file.Open(pipe, LFile::Mode::kReadWrite));

    EXPECT_FALSE(file.Open("/dev/null", LFile::Mode::kRead));
    EXPECT_EQ(file.ErrorText(), "It is a device, not a regular file.");
    EXPECT_FALSE(file.Open(dir.Path().string(), LFile::Mode::kRead));
    EXPECT_EQ(file.ErrorText(), "It is a folder, not a file.");

    // A regular file opens, and blocks as usual (reads are not cut short).
    Put(dir.File("f"), "data");
    ASSERT_TRUE(file.Open(dir.File("f"), LFile::Mode::kRead));
    EXPECT_EQ(file.ErrorText(), "");
    EXPECT_EQ(::fcntl(file.Descriptor(), F_GETFL) & O_NONBLOCK, 0);
}

}  // namespace
}  // namespace osmera
