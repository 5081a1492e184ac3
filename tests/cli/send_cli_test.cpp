// send and upload as a user runs them, against the loopback servers of the send tests.

#include <gtest/gtest.h>

#include "core/generator_sources.h"
#include "core/pr_source_to_sink.h"
#include "formats/wave_file.h"
#include "tests/cli/cli_runner.h"
#include "tests/devices/send_servers.h"

namespace osmera {
namespace {

using testing::Q;
using testing::RunShell;

class SendCliTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_NE(servers.Port("ftp"), 0);
        in = dir.File("take one.wav");
        auto sink = LWaveFile::CreateSink(in, 22050, 0, 2, 1);
        LPRSourceToSink(MakeRef<LSRCTone>(22050, 1, 22050, 441.0, 300000), sink).Process();
    }
    // osmera-cli with `args` and OSMERA_PASSWORD=`password`; stdout and stderr together.
    testing::CliResult Run(const std::string& password, const std::string& args) {
        return RunShell("OSMERA_PASSWORD=" + password + " TMPDIR=" + Q(dir.Path().string()) + " " +
                        OSMERA_CLI + " " + args + " </dev/null 2>&1");
    }
    testing::SendServers& servers = testing::SendServers::Get();
    testing::TempDir dir;
    std::string in;
};

TEST_F(SendCliTest, SendEncodesAndMailsUploadPutsTheFileInNewFolders) {
    const std::string url = servers.Url("smtp", "starttls");
    const auto sent =
        Run("s3cret", "send " + Q(in) + " --smtp " + url + " --to 'a@example.org, b@example.org'" +
                          " --user sam --from me@example.org --format flac" + " --ca-file " +
                          Q(servers.cert) + " --subject Mix");
    ASSERT_EQ(sent.code, 0) << sent.out;
    EXPECT_EQ(sent.out, "Sent to a@example.org, b@example.org.\n");
    const std::string flac = dir.File("got.flac");
    const std::string parsed = testing::RunParse(servers.LastMail() + ".eml", flac);
    EXPECT_NE(parsed.find("filename=take one.flac\n"), std::string::npos) << parsed;
    EXPECT_NE(parsed.find("content-type=audio/flac\n"), std::string::npos);
    EXPECT_EQ(testing::ReadAll(flac), testing::ReadAll(in));

    const auto refused =
        Run("guess", "send " + Q(in) + " --smtp " + url + " --to a@example.org --user sam" +
                         " --from me@example.org --ca-file " + Q(servers.cert));
    EXPECT_EQ(refused.code, 1);
    EXPECT_NE(refused.out.find("refused the user name or password (the server said: 535"),
              std::string::npos)
        << refused.out;
    EXPECT_EQ(Run("", "send " + Q(in) + " --to a@example.org").code, 2);
    EXPECT_EQ(RunShell("ls " + Q(dir.Path().string()) + " | grep -c osmera-send").out, "0\n");

    const auto up = Run("s3cret", "upload " + Q(in) + " " + servers.Url("ftp", "ftp", "/cli/new/") +
                                      " --user sam --create-dirs");
    ASSERT_EQ(up.code, 0) << up.out;
    EXPECT_EQ(testing::ReadText(servers.ftpRoot.File("cli/new/take one.wav")),
              testing::ReadText(in));
}

}  // namespace
}  // namespace osmera
