// MainDialog: "LV2 Effects..." and "LADSPA Plugins...". The installed plug-ins are scanned
// once per run (in child processes, from the cache when nothing changed; the plug-ins the
// scan skipped are named once), the browser picks one, its parameter dialog sets and
// previews its values, and the effect driver applies it to the selection ("Applying ...
// effect FAILED." titled "Process Audio" when it cannot run). The values are remembered per
// plug-in.
#include <QApplication>
#include <QStatusBar>

#include "app/main_dialog.h"
#include "app/mdi_main_window.h"
#include "app/plugin_dialogs.h"
#include "effects/effect_driver.h"
#include "effects/plugin_scan.h"
#include "effects/plugin_settings.h"

namespace osmera {

void MainDialog::CmPluginEffects() {
    RunPluginCommand(LPluginKind::kLv2);
}

void MainDialog::CmPlugins() {
    RunPluginCommand(LPluginKind::kLadspa);
}

void MainDialog::RunPluginCommand(LPluginKind kind) {
    LOMFile* doc = controller_.GetCurrent();
    if (!doc)
        return;
    const QString kindName =
        kind == LPluginKind::kLv2 ? QStringLiteral("LV2") : QStringLiteral("LADSPA");
    frame_.statusBar()->showMessage(QStringLiteral("Looking for %1 plug-ins...").arg(kindName));
    QApplication::setOverrideCursor(Qt::WaitCursor);
    const std::shared_ptr<const LPluginCatalog> catalog =
        InstalledPlugins(PluginScanSettings(settings_));
    QApplication::restoreOverrideCursor();
    frame_.statusBar()->clearMessage();
    if (!pluginFailuresShown_ && !catalog->failures.empty()) {
        pluginFailuresShown_ = true;
        QStringList names;
        for (const std::string& f : catalog->failures)
            names << QString::fromStdString(f);
        prompts_.Inform(QStringLiteral("Plug-ins"),
                        QStringLiteral("These plug-ins failed when they were loaded and are "
                                       "left out:\n\n") +
                            names.join(QLatin1Char('\n')));
    }
    auto run = [this](QDialog& dialog) {
        return pluginDialogRunner_ ? pluginDialogRunner_(dialog) : dialog.exec();
    };

    LPluginBrowserDialog browser(*catalog, kind, settings_, &frame_);
    if (browser.Listed().empty()) {
        prompts_.Inform(QStringLiteral("Osmera"),
                        QStringLiteral("No %1 plug-ins are installed.").arg(kindName));
        return;
    }
    if (run(browser) != QDialog::Accepted || !browser.Chosen())
        return;
    const LPluginInfo info = *browser.Chosen();
    NoteRecentPlugin(settings_, info);

    // The parameters' preview plays what the effect will change: the selection, or the
    // whole file when there is none.
    doc->ClampSelection();
    if (!doc->HasSelection())
        doc->SetSelection(0, doc->audio.GetLength());
    LPluginParamDialog params(info, RememberedPluginValues(settings_, info), transport_.get(), *doc,
                              &frame_);
    if (run(params) != QDialog::Accepted)
        return;
    const LPluginChoice choice{info, params.Values()};
    RememberPluginValues(settings_, info, choice.values);
    RunEffect(PluginEffectId(kind), nullptr, [&choice](LEffectDriver& d) { d.SetPlugin(&choice); });
}

}  // namespace osmera
