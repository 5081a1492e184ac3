#include "app/desktop_integration.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <map>

#include "tests/support/test_support.h"

namespace osmera {
namespace {

// Every file and folder under `root` with the bytes of the files.
std::map<QString, QByteArray> Snapshot(const QString& root) {
    std::map<QString, QByteArray> entries;
    QDirIterator it(root, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        QFile file(path);
        entries[QDir(root).relativeFilePath(path)] =
            it.fileInfo().isFile() && file.open(QIODevice::ReadOnly) ? file.readAll() : "<dir>";
    }
    return entries;
}

QString ReadAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

// Installing writes valid desktop entries that start the program from where it is (a path
// that needs quoting here), the file types and every icon size; uninstalling brings the
// data folder back to what it held before, also the databases the refreshers generated.
TEST(DesktopIntegration, InstallThenUninstallLeavesTheFolderAsBefore) {
    testing::TempDir dir;
    const QString home = QString::fromStdString(dir.Path().string()) + "/data";
    ASSERT_TRUE(QDir().mkpath(home + "/fonts"));
    QFile keep(home + "/fonts/keep.txt");
    ASSERT_TRUE(keep.open(QIODevice::WriteOnly));
    keep.write("the user's own");
    keep.close();
    const auto before = Snapshot(home);

    const QString program = "/opt/My Apps/osmera$1";
    const LDesktopIntegrationResult installed =
        InstallDesktopIntegration(program, home, home + "/no-share");
    ASSERT_TRUE(installed.ok) << installed.message.toStdString();
    EXPECT_FALSE(installed.message.contains('\n'));
    const QString entry = ReadAll(home + "/applications/com.quillon.Osmera.desktop");
    EXPECT_TRUE(entry.contains("\nExec=\"/opt/My Apps/osmera\\\\$1\" %F\n")) << entry.toStdString();
    EXPECT_TRUE(entry.contains("\nTryExec=/opt/My Apps/osmera$1\n"));
    EXPECT_TRUE(ReadAll(home + "/applications/com.quillon.Osmera.batch.desktop")
                    .contains("\" -batch %f\n"));
    EXPECT_TRUE(QFile::exists(home + "/mime/packages/com.quillon.Osmera.xml"));
    for (const char* size : {"16x16", "48x48", "256x256"})
        EXPECT_TRUE(QFile::exists(home + "/icons/hicolor/" + size + "/apps/com.quillon.Osmera.png"))
            << size;
    const QString validator = QStandardPaths::findExecutable("desktop-file-validate");
    if (!validator.isEmpty()) {
        for (const char* name :
             {"com.quillon.Osmera.desktop", "com.quillon.Osmera.batch.desktop"}) {
            QProcess check;
            check.setProcessChannelMode(QProcess::MergedChannels);
            check.start(validator, {home + "/applications/" + name});
            ASSERT_TRUE(check.waitForFinished(30000));
            EXPECT_EQ(check.exitCode(), 0) << name << ": " << check.readAll().toStdString();
            EXPECT_TRUE(check.readAll().isEmpty());
        }
    }

    const LDesktopIntegrationResult removed = UninstallDesktopIntegration(home);
    ASSERT_TRUE(removed.ok) << removed.message.toStdString();
    EXPECT_EQ(Snapshot(home), before);
    const LDesktopIntegrationResult again = UninstallDesktopIntegration(home);
    EXPECT_TRUE(again.ok);
    EXPECT_TRUE(again.message.contains("nothing to remove"));
}

// A program whose share folder has the desktop entry (an installed package) writes nothing
// for the user; an unwritable data folder is a failure with a message, not a half install
// that uninstall could not clean.
TEST(DesktopIntegration, InstalledPackageAndUnwritableFolder) {
    testing::TempDir dir;
    const QString root = QString::fromStdString(dir.Path().string());
    ASSERT_TRUE(QDir().mkpath(root + "/usr/share/applications"));
    QFile system(root + "/usr/share/applications/com.quillon.Osmera.desktop");
    ASSERT_TRUE(system.open(QIODevice::WriteOnly));
    system.close();
    EXPECT_EQ(ShareFolderOf(root + "/usr/bin/osmera"), root + "/usr/share");
    const LDesktopIntegrationResult result = InstallDesktopIntegration(
        root + "/usr/bin/osmera", root + "/home", ShareFolderOf(root + "/usr/bin/osmera"));
    EXPECT_TRUE(result.ok);
    EXPECT_TRUE(result.message.contains("every user"));
    EXPECT_FALSE(QFile::exists(root + "/home"));

    QFile blocker(root + "/file");
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    const LDesktopIntegrationResult failed =
        InstallDesktopIntegration("/usr/bin/osmera", root + "/file/data", root + "/none");
    EXPECT_FALSE(failed.ok);
    EXPECT_TRUE(failed.message.startsWith("Cannot install")) << failed.message.toStdString();
}

}  // namespace
}  // namespace osmera
