// The Batch Converter window: a small run through the window writes what the command-line
// program writes, shows each file's end and logs the file that failed.
#include <gtest/gtest.h>

#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <cstdlib>
#include <fstream>

#include "app/batch_converter_window.h"
#include "tests/app/app_fixture.h"

namespace osmera {
namespace {

using Editor = testing::EditorTest;
using testing::ReadBytes;

constexpr const char* kChain = "normalize 98\nselect 0.5 1\nfade-out\n";

TEST_F(Editor, BatchConverterWindowConvertsFilesAndLogsTheBadOne) {
    const std::string a = MakeWave("a.wav", 16000), b = MakeWave("b.wav", 12000);
    std::ofstream(dir.File("broken.wav")) << "not audio at all";
    std::ofstream(dir.File("cli.txt")) << "open a.wav\n" << kChain << "save cli.flac\n";
    const std::string command = std::string(OSMERA_CLI) + " run '" + dir.File("cli.txt") +
                                "' --work-dir '" + dir.File("") + "' >/dev/null 2>&1";
    ASSERT_EQ(std::system(command.c_str()), 0);

    ASSERT_TRUE(main->Dispatch(kIdBatchConverter));
    auto* window = frame->findChild<LOMBatchConverter*>();
    ASSERT_NE(window, nullptr);
    EXPECT_TRUE(window->isVisible());
    window->AddFiles({QString::fromStdString(a), QString::fromStdString(dir.File("broken.wav")),
                      QString::fromStdString(b), QString::fromStdString(a)});

    // The command list goes through a script file and back.
    window->SetCommands(kChain);
    ASSERT_TRUE(window->SaveCommands(QString::fromStdString(dir.File("chain.osm"))));
    window->SetCommands({});
    ASSERT_TRUE(window->LoadCommands(QString::fromStdString(dir.File("chain.osm"))));
    EXPECT_EQ(window->Commands().toStdString(), kChain);

    window->SetOutputFolder(QString::fromStdString(dir.File("out")));
    window->SetFormat(QStringLiteral("flac"));
    QSignalSpy finished(window, &LOMBatchConverter::finished);
    QTest::mouseClick(window->findChild<QPushButton*>(QStringLiteral("run")), Qt::LeftButton);
    EXPECT_TRUE(window->IsRunning());
    ASSERT_TRUE(finished.count() > 0 || finished.wait(30000));

    EXPECT_EQ(window->LastResult(), LBatchRunner::kSomeFailed);
    EXPECT_EQ(window->FileState(0), QStringLiteral("Done"));  // a listed once only
    EXPECT_EQ(window->FileState(1), QStringLiteral("Failed"));
    EXPECT_EQ(window->FileState(2), QStringLiteral("Done"));
    EXPECT_EQ(window->FileState(3), QString());
    EXPECT_TRUE(window->LogText().contains(QStringLiteral("broken.wav: ")))
        << window->LogText().toStdString();
    const auto expected = ReadBytes(dir.File("cli.flac"));
    ASSERT_FALSE(expected.empty());
    EXPECT_EQ(ReadBytes(dir.File("out/a.flac")), expected);
    EXPECT_FALSE(ReadBytes(dir.File("out/b.flac")).empty());
    EXPECT_TRUE(main->Controller().GetDocuments().empty());  // the editor's own files untouched
}

}  // namespace
}  // namespace osmera
