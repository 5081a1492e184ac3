#include "app/desktop_integration.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSaveFile>
#include <QStandardPaths>
#include <QStringList>

#include "edit/audio_cut_tank.h"

// Resources of a static library are registered by name from code that is linked in.
static void InitDesktopResources() {
    Q_INIT_RESOURCE(desktop);
}

namespace osmera {

namespace {

const int kIconSizes[] = {16, 22, 24, 32, 48, 64, 128, 256};

struct LInstalledFile {
    QString resource;  // under ":/desktop/"
    QString target;    // under the data folder
};

QList<LInstalledFile> InstalledFiles() {
    const QString id = QString::fromLatin1(kDesktopId);
    QList<LInstalledFile> files{
        {id + ".desktop", "applications/" + id + ".desktop"},
        {id + ".batch.desktop", "applications/" + id + ".batch.desktop"},
        {id + ".mime.xml", "mime/packages/" + id + ".xml"},
        {id + ".svg", "icons/hicolor/scalable/apps/" + id + ".svg"},
    };
    for (int size : kIconSizes) {
        const QString square = QStringLiteral("%1x%1").arg(size);
        files.append(
            {"icons/" + square + ".png", "icons/hicolor/" + square + "/apps/" + id + ".png"});
    }
    return files;
}

// The argument quoted as the Exec key wants it, then escaped as a desktop entry string.
QString ExecArgument(const QString& path) {
    static const QString reserved = QStringLiteral(" \t\n\"'\\><~|&;$*?#()`");
    bool quote = false;
    for (QChar c : path)
        quote = quote || reserved.contains(c);
    QString argument = path;
    argument.replace(QLatin1String("%"), QLatin1String("%%"));
    if (quote) {
        QString quoted;
        for (QChar c : argument) {
            if (c == '"' || c == '`' || c == '$' || c == '\\')
                quoted += '\\';
            quoted += c;
        }
        argument = '"' + quoted + '"';
    }
    return argument.replace(QLatin1String("\\"), QLatin1String("\\\\"));
}

QByteArray ReadResource(const QString& name) {
    QFile file(":/desktop/" + name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool WriteFile(const QString& path, const QByteArray& bytes, QString* error) {
    if (!QDir().mkpath(QFileInfo(path).absolutePath())) {
        *error = QStringLiteral("cannot create the folder %1").arg(QFileInfo(path).absolutePath());
        return false;
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        *error = QStringLiteral("cannot write %1: %2").arg(path, file.errorString());
        return false;
    }
    return true;
}

// Runs a database refresher when it is installed; a missing one is no failure, as the
// desktop then reads the files themselves.
void Refresh(const QString& program, const QStringList& arguments) {
    const QString path = QStandardPaths::findExecutable(program);
    if (path.isEmpty())
        return;
    QProcess process;
    // Their notes (such as a data folder outside the search path) are not for this user.
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(path, arguments);
    process.waitForFinished(30000);
}

void RefreshDatabases(const QString& dataHome) {
    const QDir home(dataHome);
    if (home.exists(QStringLiteral("mime/packages")))
        Refresh(QStringLiteral("update-mime-database"), {home.filePath(QStringLiteral("mime"))});
    if (home.exists(QStringLiteral("applications")))
        Refresh(QStringLiteral("update-desktop-database"),
                {home.filePath(QStringLiteral("applications"))});
}

// Removes generated databases that describe nothing any more: the MIME database is made
// only from mime/packages, and mimeinfo.cache only from the desktop entries beside it.
void RemoveEmptyDatabases(const QString& dataHome) {
    const QDir home(dataHome);
    QDir packages(home.filePath(QStringLiteral("mime/packages")));
    if (!packages.exists() || packages.isEmpty())
        QDir(home.filePath(QStringLiteral("mime"))).removeRecursively();
    const QString applications = home.filePath(QStringLiteral("applications"));
    if (!QDirIterator(applications, {QStringLiteral("*.desktop")}, QDir::Files,
                      QDirIterator::Subdirectories)
             .hasNext())
        QDir(applications).remove(QStringLiteral("mimeinfo.cache"));
}

// Removes `folder` and its parents up to (not including) `dataHome` while they are empty.
void RemoveEmptyFolders(const QString& dataHome, QString folder) {
    const QString root = QDir::cleanPath(dataHome);
    while (folder.startsWith(root + '/') && QFileInfo(folder).isDir() && QDir(folder).isEmpty() &&
           QDir().rmdir(folder))
        folder = QFileInfo(folder).absolutePath();
}

// The running program's own file (no QCoreApplication is needed for it).
QString RunningProgramPath() {
    return QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath();
}

}  // namespace

QIcon DesktopIcon() {
    InitDesktopResources();
    QIcon icon;
    for (int size : kIconSizes)
        icon.addFile(QStringLiteral(":/desktop/icons/%1x%1.png").arg(size), QSize(size, size));
    return icon;
}

LDesktopIntegrationResult InstallForUser() {
    const QString program = RunningProgramPath();
    return InstallDesktopIntegration(program, QString::fromStdString(UserAppDataFolder()),
                                     ShareFolderOf(program));
}

LDesktopIntegrationResult UninstallForUser() {
    return UninstallDesktopIntegration(QString::fromStdString(UserAppDataFolder()));
}

QString ShareFolderOf(const QString& programPath) {
    return QDir::cleanPath(QFileInfo(programPath).absolutePath() + QStringLiteral("/../share"));
}

QString DesktopEntryFor(const QString& entry, const QString& programPath) {
    QStringList lines = entry.split('\n');
    for (QString& line : lines) {
        if (line.startsWith(QLatin1String("Exec="))) {
            const qsizetype space = line.indexOf(' ');
            line = "Exec=" + ExecArgument(programPath) + (space < 0 ? QString() : line.mid(space));
        } else if (line.startsWith(QLatin1String("TryExec="))) {
            QString path = programPath;
            line = "TryExec=" + path.replace(QLatin1String("\\"), QLatin1String("\\\\"));
        }
    }
    return lines.join('\n');
}

LDesktopIntegrationResult InstallDesktopIntegration(const QString& programPath,
                                                    const QString& dataHome,
                                                    const QString& systemFolder) {
    InitDesktopResources();
    const QString id = QString::fromLatin1(kDesktopId);
    const QString systemEntry = systemFolder + "/applications/" + id + ".desktop";
    if (QFileInfo::exists(systemEntry))
        return {true, QStringLiteral("Osmera is installed for every user already (%1); nothing "
                                     "to install for this user.")
                          .arg(systemEntry)};
    if (dataHome.isEmpty())
        return {false, QStringLiteral("Cannot install: neither XDG_DATA_HOME nor HOME is set.")};

    const QDir home(dataHome);
    for (const LInstalledFile& file : InstalledFiles()) {
        QByteArray bytes = ReadResource(file.resource);
        if (file.resource.endsWith(QLatin1String(".desktop")))
            bytes = DesktopEntryFor(QString::fromUtf8(bytes), programPath).toUtf8();
        QString error;
        if (bytes.isEmpty() || !WriteFile(home.filePath(file.target), bytes, &error))
            return {false, QStringLiteral("Cannot install Osmera for this user: %1.")
                               .arg(error.isEmpty() ? file.resource : error)};
    }
    RefreshDatabases(dataHome);
    return {true, QStringLiteral("Installed Osmera for this user under %1 (menu entry, icon, "
                                 "file types), starting %2.")
                      .arg(dataHome, programPath)};
}

LDesktopIntegrationResult UninstallDesktopIntegration(const QString& dataHome) {
    if (dataHome.isEmpty())
        return {false, QStringLiteral("Cannot uninstall: neither XDG_DATA_HOME nor HOME is set.")};
    const QDir home(dataHome);
    int removed = 0;
    QStringList failed;
    for (const LInstalledFile& file : InstalledFiles()) {
        const QString path = home.filePath(file.target);
        if (!QFileInfo::exists(path))
            continue;
        if (QFile::remove(path))
            ++removed;
        else
            failed << path;
    }
    if (!failed.isEmpty())
        return {false, QStringLiteral("Cannot remove %1.").arg(failed.join(QLatin1String(", ")))};
    if (removed == 0)
        return {true, QStringLiteral("Osmera was not installed for this user under %1; nothing "
                                     "to remove.")
                          .arg(dataHome)};
    RefreshDatabases(dataHome);
    RemoveEmptyDatabases(dataHome);
    for (const LInstalledFile& file : InstalledFiles())
        RemoveEmptyFolders(dataHome, QFileInfo(home.filePath(file.target)).absolutePath());
    return {true, QStringLiteral("Removed Osmera's menu entry, icon and file types for this user "
                                 "from %1.")
                      .arg(dataHome)};
}

}  // namespace osmera
