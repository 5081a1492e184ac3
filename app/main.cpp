// osmera: the editor. Decides whether this run is the editor or hands its request to the
// editor already running, prepares the cut tank's working folder, builds the frame and its
// controller, runs the event loop and empties the working folder at the end (also after
// SIGTERM, SIGINT or SIGHUP, and when the desktop session ends).
#include <QApplication>
#include <QSessionManager>
#include <QTimer>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "app/background_picture.h"
#include "app/desktop_integration.h"
#include "app/document_journal_keeper.h"
#include "app/main_dialog.h"
#include "app/mdi_main_window.h"
#include "app/run_arguments.h"
#include "app/splash_window.h"
#include "app/start_up_recovery.h"
#include "app/user_prompts.h"
#include "devices/dispatcher.h"
#include "edit/audio_cut_tank.h"
#include "platform/qt_clipboard_exchange.h"
#include "platform/qt_dispatcher.h"
#include "platform/qt_settings_store.h"
#include "platform/single_instance.h"
#include "platform/unix_signal_notifier.h"

using namespace osmera;

namespace {

QStringList ArgumentsOf(int argc, char** argv) {
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    return arguments;
}

// True when Qt can show windows here: a platform was chosen, or a display exists.
bool HasDisplay() {
    for (const char* name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"}) {
        const char* value = std::getenv(name);
        if (value && *value)
            return true;
    }
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    const LRunArguments arguments = ParseRunArguments(ArgumentsOf(argc, argv));
    if (arguments.help) {
        std::fputs(RunArgumentsHelp().toLocal8Bit().constData(), stdout);
        return 0;
    }
    if (arguments.version) {
        std::printf("osmera %s\n", OSMERA_VERSION);
        return 0;
    }
    // Installing into the user's desktop needs no display: "--install" and "--uninstall"
    // run here and end, "/install" too when there is no display for the editor.
    if (arguments.uninstall || (arguments.install && (arguments.installNow || !HasDisplay()))) {
        const LDesktopIntegrationResult result =
            arguments.uninstall ? UninstallForUser() : InstallForUser();
        std::fprintf(result.ok ? stdout : stderr, "osmera: %s\n",
                     result.message.toLocal8Bit().constData());
        return result.ok ? 0 : 1;
    }
    if (!HasDisplay()) {
        std::fprintf(stderr,
                     "osmera: no display to show the editor on; osmera-cli does the "
                     "same work from the command line (osmera-cli --help).\n");
        return 1;
    }

    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Quillon"));
    QApplication::setApplicationName(QStringLiteral("Osmera"));
    QApplication::setApplicationDisplayName(QStringLiteral("Osmera"));
    QApplication::setApplicationVersion(QStringLiteral(OSMERA_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("com.quillon.Osmera"));
    QApplication::setWindowIcon(ProgramIcon());

    LSingleInstance instance;
    switch (instance.Start(ArgumentsOf(argc, argv))) {
        case LSingleInstance::LRole::kForwarded:
            return 0;
        case LSingleInstance::LRole::kFailed:
            std::fprintf(stderr,
                         "osmera: cannot listen on %s; later starts will open their own "
                         "window.\n",
                         instance.SocketName().toLocal8Bit().constData());
            break;
        case LSingleInstance::LRole::kEditor:
            break;
    }

    LQtSettingsStore settings;
    // The first start of all (nothing stored yet, so no recent files either) shows a demo
    // when no file was asked for.
    const bool showDemo = settings.IsEmpty() && arguments.files.isEmpty() &&
                          arguments.projects.isEmpty() && arguments.batchScript.isEmpty();
    LQtDispatcher dispatcher;
    SetGuiDispatcher(&dispatcher);
    std::string tankMessage;
    const std::string workingFolder = ChooseWorkingFolder(settings, UserAppDataFolder());
    const bool tankReady = LAudioCutTank::Instance().OpenFolderIn(workingFolder, &tankMessage);

    int status = 0;
    bool keptUnsaved = false;  // journals of unsaved documents stay for the next start
    {
        LMDIMainWindow frame;
        LQtUserPrompts prompts(&frame);
        LQtClipboardExchange clipboard;
        MainDialog controller(frame, settings, prompts, clipboard);
        QApplication::setQuitOnLastWindowClosed(false);  // the splash may outlive the frame
        QObject::connect(&frame, &LMDIMainWindow::frameClosed, &app, &QApplication::quit);
        frame.show();
        instance.ReleaseRunLock();
        if (!tankReady)
            prompts.Warn(QStringLiteral("File Error"),
                         QStringLiteral("Osmera cannot prepare its working folder, so no file "
                                        "can be opened or recorded:\n%1")
                             .arg(QString::fromStdString(tankMessage)));

        QObject::connect(&instance, &LSingleInstance::showRequested, &frame, [&frame]() {
            if (frame.isMinimized())
                frame.showNormal();
            frame.raise();
            frame.activateWindow();
        });
        QObject::connect(&instance, &LSingleInstance::openFileRequested, &controller,
                         [&controller](const QString& path) { controller.OpenFile(path); });
        QObject::connect(&instance, &LSingleInstance::runBatchRequested, &controller,
                         &MainDialog::RunBatchScript);

        // A termination signal closes the frame from the event loop, without questions; the
        // journals of unsaved documents stay for the next start to offer.
        LUnixSignalNotifier terminations;
        QObject::connect(
            &terminations, &LUnixSignalNotifier::terminationRequested, &frame,
            [&frame, &controller, &keptUnsaved](int) {
                keptUnsaved = controller.Journal().KeepUnsaved() || keptUnsaved;
                // While a question is open the frame is already closing and refuses a
                // second close: then the event loops end directly.
                frame.CloseWithoutAsking();
                if (frame.isVisible())
                    QCoreApplication::exit(0);
            },
            Qt::QueuedConnection);
        // The session is ending: ask about modified documents while the user can answer;
        // when it cannot, their journals stay as after a termination signal.
        QObject::connect(&app, &QGuiApplication::commitDataRequest, &controller,
                         [&controller, &keptUnsaved](QSessionManager& manager) {
                             if (!manager.allowsInteraction())
                                 keptUnsaved = controller.Journal().KeepUnsaved() || keptUnsaved;
                             else if (!controller.QueryCloseAll())
                                 manager.cancel();
                             manager.release();
                         });

        // Unsaved work of a run that died comes first. OSMERA_RECOVERY_ANSWER ("recover",
        // "discard", "later") answers without asking, for tests and scripted starts.
        controller.Journal().SetEnabled(tankReady);
        if (tankReady)
            OfferRecovery(workingFolder, controller, prompts, [&frame](const QString& text) {
                const auto given = RecoveryAnswerFromEnvironment();
                return given ? *given : AskRecovery(&frame, text);
            });

        const bool opened = controller.EvRunArguments(arguments);
        if (showDemo && tankReady)
            controller.OpenDemoFile();
        if (!(arguments.runEdit && opened) && LOMSplashWindow::IsWanted(settings)) {
            auto* splash = new LOMSplashWindow;
            splash->show();
        }
        status = app.exec();
    }
    SetGuiDispatcher(nullptr);
    if (keptUnsaved)
        LAudioCutTank::Instance().KeepReferencedCutFiles();
    else
        LAudioCutTank::Instance().DeleteAllCutFiles();
    return status;
}
