#include <gtest/gtest.h>
#include <unistd.h>

#include <QDir>
#include <QImage>
#include <QSignalSpy>

#include "app/background_picture.h"
#include "app/mdi_main_window.h"
#include "app/run_arguments.h"
#include "platform/single_instance.h"
#include "tests/support/test_support.h"

namespace osmera {
namespace {

// A second start hands its file, or its batch script, to the running editor over the real
// local socket and learns that it should end; with no editor left it becomes one.
TEST(SingleInstance, SecondStartForwardsFileAndBatchScript) {
    testing::TempDir dir;
    const QString name = QStringLiteral("OsmeraTest%1").arg(getpid());
    auto editor = std::make_unique<LSingleInstance>(name, dir.Path().string());
    ASSERT_EQ(editor->Start({}), LSingleInstance::LRole::kEditor);
    editor->ReleaseRunLock();
    QSignalSpy opened(editor.get(), &LSingleInstance::openFileRequested);
    QSignalSpy batch(editor.get(), &LSingleInstance::runBatchRequested);
    QSignalSpy shown(editor.get(), &LSingleInstance::showRequested);

    LSingleInstance second(name, dir.Path().string());
    EXPECT_EQ(second.Start({"-runedit", "take 1.wav"}), LSingleInstance::LRole::kForwarded);
    ASSERT_TRUE(opened.wait(5000));
    EXPECT_EQ(opened.at(0).at(0).toString(), QDir::current().absoluteFilePath("take 1.wav"));

    LSingleInstance third(name, dir.Path().string());
    EXPECT_EQ(third.Start({"-batch", "/tmp/job.txt", "ignored.wav"}),
              LSingleInstance::LRole::kForwarded);
    ASSERT_TRUE(batch.wait(5000));
    EXPECT_EQ(batch.at(0).at(0).toString(), "/tmp/job.txt");
    EXPECT_EQ(opened.size(), 1);
    EXPECT_EQ(shown.size(), 2);

    editor.reset();
    LSingleInstance next(name, dir.Path().string());
    EXPECT_EQ(next.Start({"a.wav"}), LSingleInstance::LRole::kEditor);
}

TEST(RunArguments, ReadLeftToRight) {
    const LRunArguments a =
        ParseRunArguments({"-runedit", "a.wav", "set.OMP", "noext", "-batch", "s.txt", "b.wav"});
    EXPECT_TRUE(a.runEdit);
    EXPECT_EQ(a.files, QStringList({"a.wav", "noext"}));
    EXPECT_EQ(a.projects, QStringList({"set.OMP"}));
    EXPECT_EQ(a.batchScript, "s.txt");
    const LRunArguments b = ParseRunArguments({"/install", "a.wav"});
    EXPECT_TRUE(b.install);
    EXPECT_TRUE(b.files.isEmpty());
}

// The empty client area shows the picture centred; a smaller area shows its middle part.
TEST(Frame, BackgroundPictureIsCentredAndClipped) {
    LMDIMainWindow frame;
    frame.resize(800, 600);
    frame.show();
    LMDIClientArea* area = frame.ClientArea();
    const QImage picture = BackgroundPicture().toImage();
    for (QSize size : {QSize(640, 480), QSize(200, 100)}) {
        area->setFixedSize(size);
        const QImage shot = area->viewport()->grab().toImage();
        const QPoint origin = BackgroundOrigin(shot.width(), shot.height());
        const QPoint centre(shot.width() / 2, shot.height() / 2);
        EXPECT_EQ(shot.pixel(centre), picture.pixel(centre - origin)) << size.width();
    }
    EXPECT_EQ(BackgroundOrigin(200, 100), QPoint(-50, -59));
}

}  // namespace
}  // namespace osmera
