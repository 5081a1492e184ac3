#include "app/key_macro_runner.h"

#include <QApplication>
#include <QKeyEvent>
#include <QWidget>

#include "app/key_codes.h"
#include "core/trace.h"
#include "edit/audio_cut_tank.h"

namespace osmera {

std::string KeyMacroFilePath(LSettingsStore& settings) {
    std::string folder = settings.GetText("Folders", "Current", "");
    if (folder.empty()) {
        ChooseWorkingFolder(settings, UserAppDataFolder());  // stores "Folders"/"Current"
        folder = settings.GetText("Folders", "Current", "");
    }
    return KeysFilePath(folder);
}

LKeyMacroRunner::LKeyMacroRunner(QWidget& frame, LSettingsStore& settings, LDispatch dispatch,
                                 QObject* parent)
    : QObject(parent), frame_(frame), settings_(settings), dispatch_(std::move(dispatch)) {
    Reload();
    qApp->installEventFilter(this);
}

LKeyMacroRunner::~LKeyMacroRunner() {
    qApp->removeEventFilter(this);
}

void LKeyMacroRunner::Reload() {
    if (LoadKeyMacros(KeyMacroFilePath(settings_), macros_) == LKeysLoad::kWrongVersion)
        LTrace("LKeyMacroRunner::Reload keys.dat has a wrong version");
}

const LKeyMacro* LKeyMacroRunner::MacroFor(QObject* watched, QEvent* event) const {
    if (macros_.empty() || !watched->isWidgetType())
        return nullptr;
    const QWidget* widget = static_cast<QWidget*>(watched);
    if (widget->window() != &frame_)
        return nullptr;
    const auto* key = static_cast<QKeyEvent*>(event);
    const uint32_t value = KeyValueOf(*key);
    return value == 0 ? nullptr : FindKeyMacro(macros_, value);
}

bool LKeyMacroRunner::eventFilter(QObject* watched, QEvent* event) {
    const QEvent::Type type = event->type();
    if (type != QEvent::ShortcutOverride && type != QEvent::KeyPress)
        return false;
    const LKeyMacro* macro = MacroFor(watched, event);
    if (!macro)
        return false;
    if (type == QEvent::ShortcutOverride) {
        // Accepting the override keeps a menu shortcut on the same keys from firing: the
        // press then comes here as a key press.
        event->accept();
        return true;
    }
    // A command may change the macros (the settings dialog): run from a copy.
    const std::vector<uint32_t> commands = macro->commands;
    for (uint32_t id : commands) {
        if (id <= 0xffff)
            dispatch_(static_cast<uint16_t>(id));
    }
    return true;
}

}  // namespace osmera
