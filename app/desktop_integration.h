#pragma once
// Installing the editor into the desktop for the current user: "osmera --install" (and
// "/install") writes the desktop entries, the icon in the hicolor theme's sizes and the
// file types of projects and batch scripts under the user's data folder ($XDG_DATA_HOME,
// else ~/.local/share), with the entries starting the program from where it runs now (a
// build folder or an unpacked archive). "osmera --uninstall" removes them again. An
// installed package has put the same files under /usr/share for every user; then there is
// nothing to install per user.
//
// After writing or removing, the user's MIME and desktop databases are refreshed with
// update-mime-database and update-desktop-database when those programs exist. Uninstalling
// also removes what those programs generated when no other file type or desktop entry
// remains, and the folders the installation made once they are empty, so an install and an
// uninstall leave the data folder as it was.
//
// Threads: any thread, one call at a time (plain file operations and child processes).
// Needs no display.

#include <QIcon>
#include <QString>

namespace osmera {

// The identifier of the desktop entry, the icon, the AppStream data and the MIME package.
inline constexpr const char* kDesktopId = "com.quillon.Osmera";

struct LDesktopIntegrationResult {
    bool ok = false;
    QString message;  // one line saying what was done, or why nothing was
};

// Installs for the user whose data folder is `dataHome`, with entries that start
// `programPath` (an absolute path). When `systemFolder` (the share folder beside the
// program's bin folder) already holds the desktop entry, the program is installed for
// every user and nothing is written.
LDesktopIntegrationResult InstallDesktopIntegration(const QString& programPath,
                                                    const QString& dataHome,
                                                    const QString& systemFolder);

// Removes what InstallDesktopIntegration wrote under `dataHome`.
LDesktopIntegrationResult UninstallDesktopIntegration(const QString& dataHome);

// The program's icon as the desktop shows it, in the hicolor theme's sizes. GUI thread.
QIcon DesktopIcon();

// The two above for the program that runs and the user's data folder (UserAppDataFolder).
LDesktopIntegrationResult InstallForUser();
LDesktopIntegrationResult UninstallForUser();

// The share folder that belongs to a program at `programPath` (its bin folder's sibling).
QString ShareFolderOf(const QString& programPath);

// The desktop entry `entry` made to start `programPath`: its Exec= program is replaced by the
// path (quoted as desktop entries quote) and its TryExec= by the plain path.
QString DesktopEntryFor(const QString& entry, const QString& programPath);

}  // namespace osmera
