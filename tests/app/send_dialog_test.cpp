// Send... in the editor: the selection mailed and the whole file uploaded, in the
// background, to the loopback servers of the send tests.

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <chrono>
#include <thread>

#include "app/send_dialog.h"
#include "tests/app/app_fixture.h"
#include "tests/cli/cli_runner.h"
#include "tests/devices/send_servers.h"

namespace osmera {
namespace {

class SendDialogTest : public testing::EditorTest {
  protected:
    LOMSendDialog* OpenDialog() {
        EXPECT_TRUE(main->Dispatch(kIdSend));
        return frame->findChild<LOMSendDialog*>();
    }
    // Runs the event loop until the send ends (at most ten seconds).
    void Wait(LOMSendDialog& dialog) {
        for (int i = 0; i < 1000 && dialog.IsSending(); ++i) {
            QCoreApplication::processEvents();
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
    testing::SendServers& servers = testing::SendServers::Get();
};

TEST_F(SendDialogTest, MailsTheSelectionAndUploadsTheWholeFile) {
    ASSERT_NE(servers.Port("ftp"), 0);
    LOMFile& doc = Open("take.wav");
    doc.SetSelection(100, 900);
    LOMSendDialog* dialog = OpenDialog();
    ASSERT_NE(dialog, nullptr);
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_TRUE(dialog->SelectionOnly()->isChecked());
    dialog->Format()->setCurrentText("wav");
    EXPECT_EQ(dialog->SizeLabel()->text(), "About 1 KB");  // 800 frames of 16-bit mono

    dialog->SmtpServer()->setText(QString::fromStdString(servers.Url("smtp", "smtp")));
    dialog->Plain()->setChecked(true);
    dialog->From()->setText("me@example.org");
    dialog->To()->setText("you@example.org");
    const std::string before = servers.LastMail();
    dialog->CmSend();
    EXPECT_TRUE(dialog->IsSending());
    Wait(*dialog);
    ASSERT_EQ(dialog->OutcomeText(), "Sent to you@example.org.");
    ASSERT_NE(servers.LastMail(), before);
    const std::string wav = dir.File("got.wav");
    const std::string parsed = testing::RunParse(servers.LastMail() + ".eml", wav);
    EXPECT_NE(parsed.find("filename=take.wav\n"), std::string::npos) << parsed;
    EXPECT_NE(parsed.find("content-type=audio/wav\n"), std::string::npos);
    EXPECT_EQ(testing::ReadAll(wav).size(), 800u);
    EXPECT_EQ(settings.GetText("Send", "SmtpServer", ""), servers.Url("smtp", "smtp"));

    dialog->Tabs()->setCurrentIndex(1);
    dialog->WholeFile()->setChecked(true);
    dialog->UploadServer()->setText(QString::fromStdString(servers.Url("ftp", "ftp")));
    dialog->Folder()->setText("gui/takes");
    dialog->UploadUser()->setText("sam");
    dialog->UploadPassword()->setText("guess");
    dialog->CmSend();
    Wait(*dialog);
    EXPECT_TRUE(dialog->OutcomeText().contains("refused the user name or password"))
        << dialog->OutcomeText().toStdString();
    dialog->UploadPassword()->setText("s3cret");
    dialog->CmSend();
    Wait(*dialog);
    EXPECT_TRUE(dialog->OutcomeText().startsWith("Uploaded ftp://"))
        << dialog->OutcomeText().toStdString();
    EXPECT_EQ(testing::ReadAll(servers.ftpRoot.File("gui/takes/take.wav")).size(), 8000u);
    // Cancel stops a send that is waiting on a server that never answers.
    dialog->UploadServer()->setText(QString::fromStdString(servers.Url("ftp", "silent")));
    dialog->CmSend();
    for (int i = 0; i < 20; ++i) {
        QCoreApplication::processEvents();
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    const auto start = std::chrono::steady_clock::now();
    dialog->CmCancel();
    Wait(*dialog);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
    EXPECT_EQ(dialog->OutcomeText(), "Cancelled.");
    // The password went nowhere but the keyring.
    EXPECT_EQ(settings.GetText("Send", "UploadUser", ""), "sam");
    for (const char* key : {"SmtpPassword", "UploadPassword", "Password"})
        EXPECT_EQ(settings.GetText("Send", key, "none"), "none");
}

}  // namespace
}  // namespace osmera
