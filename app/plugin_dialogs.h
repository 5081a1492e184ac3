#pragma once
// The plug-in effects' dialogs.
//
// LPluginBrowserDialog lists the installed plug-ins of one kind (LV2 or LADSPA) with their
// category and maker; typing in the search field keeps those whose name, category, maker
// or URI/label hold the text. The plug-ins used last come first (most recent first), then
// the favourites (marked with a star), then the rest by name. "Favourite" marks or unmarks
// the selected one; "Favourites only" hides the others. Favourites and the recent list live
// in the settings store (effects/plugin_settings.h).
//
// LPluginParamDialog is built from the plug-in's control inputs: a slider with a number
// field and the unit for a range, a check box for an on/off port, a list for a port whose
// values have labels; the plug-in's presets and "Defaults" set them all. Its preview plays
// the plug-in over the selection with the values shown (LOMPreviewDialog).
//
// Ownership: the catalog, settings, transport and document are borrowed and outlive the
// dialogs. Threads: GUI thread only.

#include <QDialog>
#include <vector>

#include "app/preview_dialog.h"
#include "core/settings_store.h"
#include "effects/plugin_scan.h"

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QSlider;
class QLineEdit;
class QTreeWidget;

namespace osmera {

class LPluginBrowserDialog : public QDialog {
    Q_OBJECT
  public:
    LPluginBrowserDialog(const LPluginCatalog& catalog, LPluginKind kind, LSettingsStore& settings,
                         QWidget* parent);

    // The selected plug-in, or null.
    const LPluginInfo* Chosen() const;
    // Selects the listed plug-in whose URI or label is `id`; false when none is listed.
    bool Select(const std::string& id);
    // The plug-ins listed now, in order (URI or label).
    std::vector<std::string> Listed() const;
    QLineEdit* SearchField() const { return search_; }
    // Marks or unmarks the selected plug-in as a favourite.
    void ToggleFavourite();

  private:
    void Fill();

    const LPluginCatalog& catalog_;
    LPluginKind kind_;
    LSettingsStore& settings_;
    QLineEdit* search_;
    QCheckBox* favouritesOnly_;
    QTreeWidget* list_;
};

class LPluginParamDialog : public LOMPreviewDialog {
    Q_OBJECT
  public:
    // `values` in LPluginInfo::Controls() order. `transport` null: no preview.
    LPluginParamDialog(const LPluginInfo& info, const std::vector<float>& values,
                       LEditorTransport* transport, const LOMFile& doc, QWidget* parent);

    const std::vector<float>& Values() const { return values_; }
    // Sets control `i` (Controls() order) and its widget.
    void SetValue(size_t i, float value);
    // Applies the preset named `name`; false when the plug-in has none of that name.
    bool ApplyPreset(const std::string& name);

  protected:
    LSourceRef BuildPreviewSource() override;

  private:
    // The widgets of one control input: a slider with its number field, a check box or a
    // list (the others null). Children of the dialog.
    struct LControl {
        QSlider* slider = nullptr;
        QDoubleSpinBox* number = nullptr;
        QCheckBox* toggle = nullptr;
        QComboBox* choice = nullptr;
    };
    void ShowValue(size_t i);
    // The slider's position (0 to kSteps) for a value of port `i`, and back.
    int ToSlider(size_t i, float value) const;
    float FromSlider(size_t i, int position) const;

    LPluginInfo info_;
    std::vector<const LPluginPort*> ports_;
    std::vector<float> values_;
    std::vector<LControl> controls_;
    bool updating_ = false;
};

}  // namespace osmera
