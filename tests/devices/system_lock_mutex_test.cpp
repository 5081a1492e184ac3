#include "devices/system_lock_mutex.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <memory>

#include "core/trace.h"
#include "tests/support/test_support.h"

namespace osmera {
namespace {

// Tries the lock file from another process (util-linux's flock, which takes the same
// kind of lock); true when it got it. A forked copy of this process would run
// sanitizer-instrumented code beside the threads of earlier tests, so the other process
// is a program of its own.
bool OtherProcessGetsLock(const std::string& path) {
    const std::string command = "flock --nonblock --conflict-exit-code 1 '" + path + "' true";
    return std::system(command.c_str()) == 0;
}

TEST(SystemLockMutex, SecondHolderIsRefusedUntilRelease) {
    testing::TempDir dir;
    LTraceCapture trace;
    LSystemLockMutex first("OsmeraTestMutex", dir.Path().string());
    auto second = std::make_unique<LSystemLockMutex>("OsmeraTestMutex", dir.Path().string());
    ASSERT_TRUE(first.IsOpen());
    EXPECT_EQ(first.Path(), dir.File("OsmeraTestMutex.lock"));

    EXPECT_TRUE(first.Lock());
    EXPECT_TRUE(trace.Contains("LSystemLockMutex::Lock() Locked OK"));
    EXPECT_FALSE(second->Lock(0));
    auto before = std::chrono::steady_clock::now();
    EXPECT_FALSE(second->Lock(30));
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(30));
    EXPECT_TRUE(trace.Contains("LSystemLockMutex::Lock() FAILED"));
    EXPECT_FALSE(OtherProcessGetsLock(first.Path()));

    EXPECT_TRUE(first.Unlock());
    EXPECT_TRUE(OtherProcessGetsLock(first.Path()));
    EXPECT_TRUE(second->Lock(0));
    EXPECT_FALSE(first.Lock(0));

    trace.Clear();
    EXPECT_FALSE(first.Unlock());  // not the holder
    EXPECT_TRUE(trace.Contains("LSystemLockMutex::Unlock() FAILED"));

    // Closing a holder releases its lock.
    second.reset();
    EXPECT_TRUE(first.Lock(0));
}

TEST(SystemLockMutex, MissingFolderFailsEveryLock) {
    testing::TempDir dir;
    LTraceCapture trace;
    LSystemLockMutex m("OsmeraTestMutex", dir.File("missing"));
    EXPECT_FALSE(m.IsOpen());
    EXPECT_TRUE(trace.Contains("LSystemLockMutex::LSystemLockMutex CreateMutex FAILED"));
    EXPECT_FALSE(m.Lock(0));
    EXPECT_FALSE(m.Unlock());
}

}  // namespace
}  // namespace osmera
