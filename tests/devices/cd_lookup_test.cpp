#include <gtest/gtest.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>

#include "devices/cd_disc.h"
#include "devices/cd_disc_id.h"
#include "devices/cd_lookup.h"
#include "devices/cd_lookup_job.h"
#include "tests/support/cd_image.h"
#include "tests/support/test_support.h"

namespace osmera {
namespace {

// The fixture database (tests/devices/cd_lookup_server.py) on a free loopback port, for
// the life of the object.
class LookupServer {
  public:
    LookupServer(const std::string& mbId, const std::string& cddbId) {
        const std::string cmd = std::string("exec python3 ") + OSMERA_TEST_SOURCE +
                                "/devices/cd_lookup_server.py " + mbId + " " + cddbId;
        pipe_ = popen(cmd.c_str(), "r");
        if (pipe_ == nullptr || std::fscanf(pipe_, "%d %d", &port_, &pid_) != 2)
            port_ = 0;
    }
    ~LookupServer() {
        if (pid_ > 0)
            kill(pid_, SIGTERM);
        if (pipe_ != nullptr)
            pclose(pipe_);
    }
    std::string Url() const { return "http://127.0.0.1:" + std::to_string(port_); }
    int Port() const { return port_; }

  private:
    FILE* pipe_ = nullptr;
    int port_ = 0;
    int pid_ = 0;
};

// One fixture server for the suite (starting Python is the slow part), knowing the disc
// of WriteCdImage's tracks of 80, 50 and 37 sectors.
LookupServer* gServer = nullptr;

class CdLookup : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        testing::TempDir dir;
        const testing::CdImage img = testing::WriteCdImage(dir.Path().string(), {80, 50, 37});
        LCdDisc disc;
        disc.Open(img.cue);
        const LCdDiscIds ids = ComputeDiscIds(CdOffsets(disc.Toc()));
        gServer = new LookupServer(ids.musicBrainz, ids.CddbHex());
    }
    static void TearDownTestSuite() {
        delete gServer;
        gServer = nullptr;
    }
    void SetUp() override {
        ASSERT_GT(gServer->Port(), 0);
        img_ = testing::WriteCdImage(dir_.Path().string(), {80, 50, 37}, false);
        ASSERT_TRUE(disc_.Open(img_.cue));
        ids_ = ComputeDiscIds(CdOffsets(disc_.Toc()));
        settings_.cacheFolder = dir_.File("cache");
        settings_.timeoutMs = 5000;
    }
    testing::TempDir dir_;
    testing::CdImage img_;
    LCdDisc disc_;
    LCdDiscIds ids_;
    LCdLookupSettings settings_;
};

TEST_F(CdLookup, MusicBrainzMatchesAreOfferedAndCached) {
    settings_.server = gServer->Url();
    LCdLookupResult r = LookupDisc(disc_.Toc(), settings_);
    ASSERT_EQ(r.status, LCdLookupStatus::kFound) << r.message;
    ASSERT_EQ(r.matches.size(), 2u);
    const LCdRelease a = r.matches[0];
    EXPECT_EQ(a.Label(), "Test Band - Test Disc & More (1999)");
    // The tracks of the medium that holds this disc, not of the release's other disc.
    EXPECT_EQ(a.trackTitles, (std::vector<std::string>{"Opening", "Middle", "Closing (edit)"}));
    EXPECT_EQ(a.TrackArtist(1), "Test Band");
    EXPECT_EQ(a.TrackArtist(2), "Guest feat. Test Band");
    EXPECT_EQ(r.matches[1].Label(), "Test Band - Test Disc (reissue) (2005)");

    // Asked again with the server gone: the cache answers.
    settings_.server = "http://127.0.0.1:9";
    r = LookupDisc(disc_.Toc(), settings_);
    EXPECT_TRUE(r.fromCache);
    ASSERT_EQ(r.matches.size(), 2u);
    EXPECT_EQ(r.matches[0].trackTitles, a.trackTitles);
    EXPECT_EQ(r.matches[0].TrackArtist(2), "Guest feat. Test Band");
}

TEST_F(CdLookup, CddbQueryThenReadEachMatch) {
    settings_.cddb = true;
    settings_.server = gServer->Url() + "/cddb.cgi";
    const LCdLookupResult r = LookupDisc(disc_.Toc(), settings_);
    ASSERT_EQ(r.status, LCdLookupStatus::kFound) << r.message;
    ASSERT_EQ(r.matches.size(), 1u);  // the second entry is not readable
    EXPECT_EQ(r.matches[0].Label(), "Test Band - Test Disc (1999)");
    EXPECT_EQ(r.matches[0].TrackTitle(2),
              "Middle of a very long title that the server continues on a second line");
    EXPECT_EQ(r.matches[0].TrackTitle(3), "Closing");
}

TEST_F(CdLookup, UnknownDiscOffSwitchAndNoAnswerGiveAClearLine) {
    testing::TempDir other;
    LCdDisc unknown;
    ASSERT_TRUE(unknown.Open(testing::WriteCdImage(other.Path().string(), {60, 40}).cue));
    settings_.server = gServer->Url();
    EXPECT_EQ(LookupDisc(unknown.Toc(), settings_).status, LCdLookupStatus::kNotFound);
    settings_.cddb = true;
    settings_.server = gServer->Url() + "/cddb.cgi";
    EXPECT_EQ(LookupDisc(unknown.Toc(), settings_).status, LCdLookupStatus::kNotFound);

    settings_.enabled = false;
    EXPECT_EQ(LookupDisc(disc_.Toc(), settings_).status, LCdLookupStatus::kDisabled);
    settings_.enabled = true;

    // A server that accepts the connection and never answers.
    const int sock = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(bind(sock, reinterpret_cast<sockaddr*>(&addr), sizeof addr), 0);
    listen(sock, 4);
    socklen_t len = sizeof addr;
    getsockname(sock, reinterpret_cast<sockaddr*>(&addr), &len);
    settings_.cddb = false;
    settings_.server = "http://127.0.0.1:" + std::to_string(ntohs(addr.sin_port));
    settings_.timeoutMs = 1000;
    const auto t0 = std::chrono::steady_clock::now();
    const LCdLookupResult r = LookupDisc(disc_.Toc(), settings_);
    EXPECT_EQ(r.status, LCdLookupStatus::kFailed);
    EXPECT_EQ(r.message, "The disc database did not answer within 1 second.");
    EXPECT_LT(std::chrono::steady_clock::now() - t0, std::chrono::seconds(3));

    // In the background: the result comes through the dispatcher; destroying a job whose
    // server does not answer returns at once and drops the result.
    LQueueDispatcher dispatcher;
    int calls = 0;
    {
        LCdLookupJob job(dispatcher, [&](const LCdLookupResult&) { ++calls; });
        job.Start(disc_.Toc(), settings_);
    }
    EXPECT_EQ(dispatcher.Pump(), 1);
    EXPECT_EQ(calls, 0);
    LCdLookupResult got;
    LCdLookupJob job(dispatcher, [&](const LCdLookupResult& res) { got = res, ++calls; });
    settings_.server = gServer->Url();
    job.Start(unknown.Toc(), settings_);
    for (int i = 0; i < 50 && calls == 0; ++i)
        dispatcher.WaitAndPump(100);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(got.status, LCdLookupStatus::kNotFound);
    close(sock);
}

}  // namespace
}  // namespace osmera
