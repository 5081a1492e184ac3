// Sending by mail and upload against real servers on 127.0.0.1: what arrives is exactly
// what was encoded, and each way a server can fail ends in its own clear line, in seconds,
// with no temporary file left behind.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>

#include "core/generator_sources.h"
#include "devices/file_uploader.h"
#include "devices/mail_sender.h"
#include "devices/send_attachment.h"
#include "tests/devices/send_servers.h"

namespace osmera {
namespace {

using testing::ReadText;
using testing::SendServers;
using testing::TempDir;

// Points the temporary folder of the attachments at a folder of the test's own, so that a
// leftover file shows.
class SendTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_NE(servers_.Port("ftp"), 0) << "the loopback servers did not start";
        oldTmp_ = std::getenv("TMPDIR") ? std::getenv("TMPDIR") : "";
        setenv("TMPDIR", tmp_.Path().c_str(), 1);
    }
    void TearDown() override {
        if (oldTmp_.empty())
            unsetenv("TMPDIR");
        else
            setenv("TMPDIR", oldTmp_.c_str(), 1);
    }
    bool TempIsEmpty() const { return std::filesystem::is_empty(tmp_.Path()); }

    // Half a second of stereo tone encoded as `format`.
    void Encode(LSendAttachment& attachment, const std::string& format) {
        LWriteOptions options;
        options.format = format;
        std::string message;
        ASSERT_EQ(attachment.Encode(MakeRef<LSRCTone>(44100, 2, 22050, 440.0, 200000), "Tönë take",
                                    options, nullptr, &message),
                  kJobDone)
            << message;
    }

    LMailRequest Mail(const std::string& url, const LSendAttachment& attachment) {
        LMailRequest r;
        r.url = url;
        r.from = "me@example.org";
        r.to = {"you@example.org", "them@example.org"};
        r.cc = {"boss@example.org"};
        r.subject = "Take 3 — the good one (ü)";
        r.message = "Here it is. Grüße";
        r.attachmentPath = attachment.Path();
        r.attachmentName = attachment.FileName();
        r.contentType = attachment.ContentType();
        r.limits.caFile = servers_.cert;
        r.limits.connectTimeoutMs = 500;
        r.limits.stallSeconds = 1;
        return r;
    }

    SendServers& servers_ = SendServers::Get();
    TempDir tmp_;
    TempDir work_;
    std::string oldTmp_;
};

// Plain, STARTTLS with a login, and TLS from the first byte with a login.
TEST_F(SendTest, MailArrivesAsMimeWithTheEncodedFileIntact) {
    const struct {
        const char* server;
        const char* scheme;
        bool login;
    } cases[] = {{"smtp", "smtp", false}, {"starttls", "smtp", true}, {"smtps", "smtps", true}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.server);
        LSendAttachment attachment;
        Encode(attachment, "mp3");
        LMailRequest r = Mail(servers_.Url(c.scheme, c.server), attachment);
        r.plain = std::string(c.server) == "smtp";
        if (c.login) {
            r.user = "sam";
            r.password = "s3cret";
        }
        const std::string before = servers_.LastMail();
        testing::RecordingProgress progress;
        const LTransferOutcome out = SendMail(r, &progress);
        ASSERT_EQ(out.result, kJobDone) << out.message;
        EXPECT_EQ(out.message, "Sent to you@example.org, them@example.org, boss@example.org.");
        ASSERT_FALSE(progress.fractions.empty());
        EXPECT_DOUBLE_EQ(progress.fractions.back(), 1.0);

        const std::string received = servers_.LastMail();
        ASSERT_NE(received, before);
        const std::string extracted = work_.File("attachment");
        const auto parsed = testing::RunParse(received + ".eml", extracted);
        EXPECT_NE(parsed.find("subject=Take 3 — the good one (ü)\n"), std::string::npos) << parsed;
        EXPECT_NE(parsed.find("to=you@example.org, them@example.org\n"), std::string::npos);
        EXPECT_NE(parsed.find("cc=boss@example.org\n"), std::string::npos);
        EXPECT_NE(parsed.find("text=Here it is. Grüße\n"), std::string::npos);
        EXPECT_NE(parsed.find("content-type=audio/mpeg\n"), std::string::npos);
        EXPECT_NE(parsed.find("filename=Tönë take.mp3\n"), std::string::npos);
        EXPECT_NE(parsed.find("encoding=base64\n"), std::string::npos);
        EXPECT_EQ(ReadText(extracted), ReadText(attachment.Path()));
        EXPECT_GT(attachment.Size(), 1000);
        EXPECT_EQ(ReadText(received + ".rcpt"),
                  "me@example.org\nyou@example.org\nthem@example.org\nboss@example.org\n");
        attachment.Remove();
        EXPECT_TRUE(TempIsEmpty());
    }
}

// Each way a mail can fail ends in its own line, in seconds, with nothing left behind.
TEST_F(SendTest, MailFailuresEndWithTheirOwnLineAndLeaveNothingBehind) {
    const struct {
        const char* server;
        const char* password;
        const char* to;
        const char* expected;  // in the message
    } cases[] = {
        {"starttls", "guess", "you@example.org",
         "refused the user name or password (the server said: 535"},
        {"starttls", "s3cret", "who@nowhere.test",
         "refused the recipient (the server said: 550 5.1.1 <who@nowhere.test>"},
        {"small", "", "you@example.org", "the message is too large for 127.0.0.1"},
        {"smtp-drop", "", "you@example.org", "Sending failed: the connection to 127.0.0.1"},
        {"silent", "", "you@example.org", "did not answer within 1 seconds"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.expected);
        const std::string before = servers_.LastMail();
        const auto start = std::chrono::steady_clock::now();
        LTransferOutcome out;
        {
            LSendAttachment attachment;
            Encode(attachment, "wav");
            LMailRequest r = Mail(servers_.Url("smtp", c.server), attachment);
            r.plain = std::string(c.server) != "starttls";
            r.user = "sam";
            r.password = c.password;
            r.to = {c.to};
            out = SendMail(r, nullptr);
        }
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
        EXPECT_EQ(out.result, kJobFailed);
        EXPECT_NE(out.message.find(c.expected), std::string::npos) << out.message;
        EXPECT_EQ(out.message.find('\n'), std::string::npos);
        EXPECT_TRUE(TempIsEmpty());
        EXPECT_EQ(servers_.LastMail(), before);
    }
}

TEST(SendFields, AreCheckedBeforeAnyConnection) {
    LMailRequest r;
    r.url = "smtp://127.0.0.1:1";
    r.from = "me@example.org";
    r.to = {"you at example.org"};
    EXPECT_NE(SendMail(r, nullptr).message.find("is not a mail address"), std::string::npos);
    r.to = {"you@example.org"};
    r.subject = "two\r\nBcc: spy@example.org";
    EXPECT_NE(SendMail(r, nullptr).message.find("one line"), std::string::npos);
    EXPECT_EQ(SplitAddresses(" a@b.c, d@e.f;g@h.i "),
              (std::vector<std::string>{"a@b.c", "d@e.f", "g@h.i"}));
}

class UploadTest : public SendTest {
  protected:
    LUploadRequest Upload(const std::string& server, const std::string& path,
                          const std::string& file) {
        LUploadRequest r;
        r.url = servers_.Url("ftp", server, path);
        r.user = "sam";
        r.password = "s3cret";
        r.localPath = file;
        r.limits.connectTimeoutMs = 500;
        r.limits.stallSeconds = 1;
        return r;
    }
    // A file of 3 MB that differs everywhere, so a misplaced resume shows.
    std::string BigFile() {
        const std::string path = work_.File("big take.wav");
        std::string bytes(3 << 20, 0);
        uint32_t x = 12345;
        for (char& b : bytes) {
            x = x * 1664525u + 1013904223u;
            b = static_cast<char>(x >> 24);
        }
        FILE* f = std::fopen(path.c_str(), "wb");
        std::fwrite(bytes.data(), 1, bytes.size(), f);
        std::fclose(f);
        return path;
    }
    std::string Remote(const std::string& path) const { return servers_.ftpRoot.File(path); }
};

TEST_F(UploadTest, ArrivesWholeFailsClearlyAndResumes) {
    const std::string file = BigFile();
    LUploadRequest r = Upload("ftp", "/music/2026/", file);
    LTransferOutcome out = UploadFile(r, nullptr);
    EXPECT_EQ(out.result, kJobFailed);  // the folders are missing
    EXPECT_NE(out.message.find("(the server said: 550"), std::string::npos) << out.message;

    r.createFolders = true;
    testing::RecordingProgress progress;
    out = UploadFile(r, &progress);
    ASSERT_EQ(out.result, kJobDone) << out.message;
    EXPECT_EQ(out.message,
              "Uploaded " + servers_.Url("ftp", "ftp", "/music/2026/big%20take.wav") + ".");
    EXPECT_EQ(ReadText(Remote("music/2026/big take.wav")), ReadText(file));
    ASSERT_FALSE(progress.fractions.empty());
    EXPECT_DOUBLE_EQ(progress.fractions.back(), 1.0);

    r.password = "guess";
    out = UploadFile(r, nullptr);
    EXPECT_NE(out.message.find("refused the user name or password (the server said: 530"),
              std::string::npos)
        << out.message;

    r.password = "s3cret";
    testing::RecordingProgress cancel(3);
    EXPECT_EQ(UploadFile(r, &cancel).result, kJobCancelled);

    const auto start = std::chrono::steady_clock::now();
    out = UploadFile(Upload("silent", "/", file), nullptr);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    EXPECT_EQ(out.message, "Upload failed: 127.0.0.1:" + std::to_string(servers_.Port("silent")) +
                               " did not answer within 1 seconds");

    // A server that goes away in the middle; the next upload resumes where it stopped.
    r = Upload("ftp", "/", file);
    r.remoteName = "broken.wav";
    out = UploadFile(r, nullptr);
    ASSERT_EQ(out.result, kJobFailed);
    EXPECT_NE(out.message.find("Upload failed: "), std::string::npos) << out.message;
    const auto partial = std::filesystem::file_size(Remote("broken.wav"));
    EXPECT_GE(partial, 1000000u);
    EXPECT_LT(partial, 3u << 20);

    r.resume = true;
    out = UploadFile(r, nullptr);
    ASSERT_EQ(out.result, kJobDone) << out.message;
    EXPECT_NE(out.message.find("(resumed)"), std::string::npos);
    EXPECT_EQ(ReadText(Remote("broken.wav")), ReadText(file));
    EXPECT_EQ(UploadFile(r, nullptr).message,
              "The server already holds all of " + servers_.Url("ftp", "ftp", "/broken.wav") + ".");
}

}  // namespace
}  // namespace osmera
