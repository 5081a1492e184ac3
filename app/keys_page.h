#pragma once
// LKeysPage: the "Keys" page of the settings dialog. It lists each key macro with its key
// text and its commands, adds one by capturing a key (LKeyChangeDlg) and choosing commands
// (AddKeysCommandDlg; commands chosen for a key that already has a macro are added to
// it), and removes the selected ones after "Remove selected key(s)?" ("Confirm Remove").
//
// The page edits its own copy of the macros: Load fills it from "keys.dat" when the page
// is set up (a damaged file is reported once and gives no macros), Save writes it when
// the dialog ends with OK (a file that cannot be created is reported; false then).
//
// Ownership: Qt parent/child; borrows the prompts, which outlive it. Threads: GUI thread.

#include <QWidget>
#include <string>

#include "app/user_prompts.h"
#include "effects/key_macro_file.h"

class QTreeWidget;

namespace osmera {

class LKeysPage : public QWidget {
    Q_OBJECT
  public:
    LKeysPage(LUserPrompts& prompts, std::string path, QWidget* parent = nullptr);

    void Load();
    bool Save();

    const LKeyMacroList& Macros() const { return macros_; }
    // Adds `commands` to the macro of `key` (a new one at the end when there is none).
    void AddMacro(uint32_t key, const std::vector<uint32_t>& commands);
    // Asks, then removes the macros selected in the list.
    void RemoveSelected();
    QTreeWidget* List() const { return list_; }

  private:
    void CmAdd();
    void Fill();

    LUserPrompts& prompts_;
    std::string path_;
    LKeyMacroList macros_;
    QTreeWidget* list_;
};

}  // namespace osmera
