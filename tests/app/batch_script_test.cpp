// Batch scripts run in the editor: the same runner as `osmera-cli run`, on the editor's
// documents, with windows following the files the script opens and closes.
#include <gtest/gtest.h>

#include <QMdiArea>
#include <cstdlib>
#include <fstream>

#include "tests/app/app_fixture.h"

namespace osmera {
namespace {

using Editor = testing::EditorTest;
using testing::Bytes;
using testing::ReadBytes;

std::string Edits(const std::string& saveAs) {
    return "open in.wav\n"
           "select 4000f 12000f\n"
           "cut\n"
           "cursor 20000f\n"
           "paste\n"
           "select 0 8000f\n"
           "amplify 150\n"
           "fade-out\n"
           "undo\n"
           "save " +
           saveAs + " --bits 24\n";
}

TEST_F(Editor, BatchScriptSavesWhatTheCommandLineProgramSaves) {
    MakeWave("in.wav", 32000);
    std::ofstream(dir.File("cli.txt")) << Edits("cli.wav");
    std::ofstream(dir.File("editor.txt")) << Edits("editor.wav");
    const std::string command = std::string(OSMERA_CLI) + " run '" + dir.File("cli.txt") +
                                "' --work-dir '" + dir.File("") + "' >/dev/null 2>&1";
    ASSERT_EQ(std::system(command.c_str()), 0);

    main->RunBatchScript(QString::fromStdString(dir.File("editor.txt")));
    EXPECT_TRUE(prompts.told.isEmpty()) << prompts.told.join('\n').toStdString();
    const Bytes expected = ReadBytes(dir.File("cli.wav"));
    ASSERT_GT(expected.size(), 44u);
    EXPECT_EQ(ReadBytes(dir.File("editor.wav")), expected);

    // The file the script opened is a window of the editor, active, with its edits undoable.
    LOMFile* doc = main->Controller().GetCurrent();
    ASSERT_NE(doc, nullptr);
    EXPECT_NE(main->WindowOf(doc), nullptr);
    EXPECT_EQ(frame->ClientArea()->activeSubWindow(), main->WindowOf(doc));
    EXPECT_EQ(doc->audio.GetLength(), 32000);
}

// A script closing the active file takes its window with it (the view must not outlive its
// document); a failing line is shown as SCRIPT:LINE: message and what ran stays done.
TEST_F(Editor, BatchScriptClosesWindowsAndShowsFailingLines) {
    LOMFile& first = Open("first.wav");
    ASSERT_NE(main->WindowOf(&first), nullptr);
    std::ofstream(dir.File("close.txt")) << "select-all\ncut\nclose\nopen second.wav\n";
    MakeWave("second.wav", 100);
    main->RunBatchScript(QString::fromStdString(dir.File("close.txt")));
    EXPECT_TRUE(prompts.told.isEmpty()) << prompts.told.join('\n').toStdString();
    ASSERT_EQ(main->Controller().GetDocuments().size(), 1u);
    EXPECT_EQ(frame->ClientArea()->subWindowList().size(), 1);
    EXPECT_EQ(main->Controller().GetCurrent()->audio.GetLength(), 100);

    std::ofstream(dir.File("bad.txt")) << "select-all\ncut\nsave missing/folder/x.wav\n";
    main->RunBatchScript(QString::fromStdString(dir.File("bad.txt")));
    ASSERT_EQ(prompts.told.size(), 1);
    EXPECT_TRUE(prompts.told[0].startsWith(QString::fromStdString(dir.File("bad.txt")) + ":3: "))
        << prompts.told[0].toStdString();
    EXPECT_EQ(main->Controller().GetCurrent()->audio.GetLength(), 0);
    EXPECT_TRUE(main->Controller().GetCurrent()->modified);
}

}  // namespace
}  // namespace osmera
