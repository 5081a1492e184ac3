#pragma once
// LKeyMacroRunner: runs key macros in the frame. It watches every key press the
// application delivers to a widget of the frame's window (the frame, its menus' shortcut
// handling and the documents' windows); a press whose key value (virtual-key code and the
// modifiers held) is a macro's key dispatches the macro's commands, in stored order, to
// the same dispatch as the menus, and is consumed. A macro's key takes precedence over a
// menu shortcut on the same keys. Presses in other windows (dialogs) are left alone.
//
// The macros come from "keys.dat" in the folder "Folders"/"Current"; Reload reads them
// again (after the settings dialog saved them). Reading here reports nothing: the Keys
// page of the settings dialog reports a damaged file.
//
// Ownership: borrows the frame and the settings, which outlive it. Threads: GUI thread.

#include <QObject>
#include <functional>
#include <string>

#include "core/settings_store.h"
#include "effects/key_macro_file.h"

class QWidget;

namespace osmera {

// "keys.dat" of the folder "Folders"/"Current" (chosen as the cut tank chooses it when
// nothing is remembered yet).
std::string KeyMacroFilePath(LSettingsStore& settings);

class LKeyMacroRunner : public QObject {
    Q_OBJECT
  public:
    using LDispatch = std::function<void(uint16_t id)>;

    LKeyMacroRunner(QWidget& frame, LSettingsStore& settings, LDispatch dispatch,
                    QObject* parent = nullptr);
    ~LKeyMacroRunner() override;

    void Reload();
    const LKeyMacroList& Macros() const { return macros_; }

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    const LKeyMacro* MacroFor(QObject* watched, QEvent* event) const;

    QWidget& frame_;
    LSettingsStore& settings_;
    LDispatch dispatch_;
    LKeyMacroList macros_;
};

}  // namespace osmera
