#include "app/plugin_dialogs.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QSlider>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>

#include "edit/src_cut_list_audio.h"
#include "effects/plugin_settings.h"
#include "effects/plugin_source.h"

namespace osmera {

namespace {

QString Q(const std::string& s) {
    return QString::fromStdString(s);
}

constexpr int kSteps = 1000;

}  // namespace

// ---- the browser ----

LPluginBrowserDialog::LPluginBrowserDialog(const LPluginCatalog& catalog, LPluginKind kind,
                                           LSettingsStore& settings, QWidget* parent)
    : QDialog(parent), catalog_(catalog), kind_(kind), settings_(settings) {
    setWindowTitle(kind == LPluginKind::kLv2 ? tr("LV2 Effects") : tr("LADSPA Plugins"));
    resize(640, 480);
    auto* layout = new QVBoxLayout(this);
    search_ = new QLineEdit(this);
    search_->setObjectName("search");
    search_->setPlaceholderText(tr("Search by name, category or maker"));
    search_->setClearButtonEnabled(true);
    layout->addWidget(search_);
    list_ = new QTreeWidget(this);
    list_->setObjectName("plugins");
    list_->setHeaderLabels({tr("Name"), tr("Category"), tr("Maker")});
    list_->setRootIsDecorated(false);
    list_->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    layout->addWidget(list_, 1);
    auto* row = new QHBoxLayout();
    auto* favourite = new QPushButton(tr("&Favourite"), this);
    favourite->setObjectName("favourite");
    favouritesOnly_ = new QCheckBox(tr("Favourites &only"), this);
    row->addWidget(favourite);
    row->addWidget(favouritesOnly_);
    row->addStretch();
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    row->addWidget(buttons);
    layout->addLayout(row);

    connect(search_, &QLineEdit::textChanged, this, [this] { Fill(); });
    connect(favouritesOnly_, &QCheckBox::toggled, this, [this] { Fill(); });
    connect(favourite, &QPushButton::clicked, this, [this] { ToggleFavourite(); });
    connect(list_, &QTreeWidget::itemDoubleClicked, this, [this] { accept(); });
    connect(buttons, &QDialogButtonBox::accepted, this, [this] {
        if (Chosen())
            accept();
    });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    Fill();
    search_->setFocus();
}

void LPluginBrowserDialog::Fill() {
    const std::string current = Chosen() ? Chosen()->id : std::string();
    const std::vector<std::string> recent = RecentPlugins(settings_);
    const std::vector<std::string> favourites = FavouritePlugins(settings_);
    const QString text = search_->text().trimmed();
    struct LRow {
        int rank;  // 0..: place in the recent list; then favourites; then the rest
        const LPluginInfo* info;
    };
    std::vector<LRow> rows;
    const int others = static_cast<int>(recent.size()) + 1;
    for (const LPluginInfo& p : catalog_.plugins) {
        if (p.kind != kind_)
            continue;
        const std::string key = PluginKey(p);
        const bool favourite =
            std::find(favourites.begin(), favourites.end(), key) != favourites.end();
        if (favouritesOnly_->isChecked() && !favourite)
            continue;
        if (!text.isEmpty() && !Q(p.name).contains(text, Qt::CaseInsensitive) &&
            !Q(p.category).contains(text, Qt::CaseInsensitive) &&
            !Q(p.maker).contains(text, Qt::CaseInsensitive) &&
            !Q(p.id).contains(text, Qt::CaseInsensitive))
            continue;
        const auto used = std::find(recent.begin(), recent.end(), key);
        const int rank = used != recent.end() ? static_cast<int>(used - recent.begin())
                         : favourite          ? others - 1
                                              : others;
        rows.push_back({rank, &p});
    }
    std::stable_sort(rows.begin(), rows.end(),
                     [](const LRow& a, const LRow& b) { return a.rank < b.rank; });
    list_->clear();
    for (const LRow& r : rows) {
        const bool favourite =
            std::find(favourites.begin(), favourites.end(), PluginKey(*r.info)) != favourites.end();
        auto* item = new QTreeWidgetItem(
            list_, {(favourite ? QStringLiteral("\u2605 ") : QString()) + Q(r.info->name),
                    Q(r.info->category), Q(r.info->maker)});
        item->setData(0, Qt::UserRole,
                      QVariant::fromValue<quintptr>(reinterpret_cast<quintptr>(r.info)));
        item->setToolTip(0, Q(r.info->id));
        if (r.info->id == current)
            list_->setCurrentItem(item);
    }
    if (!list_->currentItem() && list_->topLevelItemCount() > 0)
        list_->setCurrentItem(list_->topLevelItem(0));
}

const LPluginInfo* LPluginBrowserDialog::Chosen() const {
    const QTreeWidgetItem* item = list_->currentItem();
    return item
               ? reinterpret_cast<const LPluginInfo*>(item->data(0, Qt::UserRole).value<quintptr>())
               : nullptr;
}

bool LPluginBrowserDialog::Select(const std::string& id) {
    for (int i = 0; i < list_->topLevelItemCount(); ++i) {
        QTreeWidgetItem* item = list_->topLevelItem(i);
        if (reinterpret_cast<const LPluginInfo*>(item->data(0, Qt::UserRole).value<quintptr>())
                ->id == id) {
            list_->setCurrentItem(item);
            return true;
        }
    }
    return false;
}

std::vector<std::string> LPluginBrowserDialog::Listed() const {
    std::vector<std::string> out;
    for (int i = 0; i < list_->topLevelItemCount(); ++i)
        out.push_back(reinterpret_cast<const LPluginInfo*>(
                          list_->topLevelItem(i)->data(0, Qt::UserRole).value<quintptr>())
                          ->id);
    return out;
}

void LPluginBrowserDialog::ToggleFavourite() {
    const LPluginInfo* p = Chosen();
    if (!p)
        return;
    const std::vector<std::string> favourites = FavouritePlugins(settings_);
    const bool is =
        std::find(favourites.begin(), favourites.end(), PluginKey(*p)) != favourites.end();
    SetFavouritePlugin(settings_, *p, !is);
    Fill();
}

// ---- the parameters ----

LPluginParamDialog::LPluginParamDialog(const LPluginInfo& info, const std::vector<float>& values,
                                       LEditorTransport* transport, const LOMFile& doc,
                                       QWidget* parent)
    : LOMPreviewDialog(parent, transport, doc),
      info_(info),
      ports_(info_.Controls()),
      values_(values) {
    values_.resize(ports_.size());
    setWindowTitle(Q(info_.name));
    auto* layout = new QVBoxLayout(this);
    auto* top = new QHBoxLayout();
    if (!info_.presets.empty()) {
        auto* presets = new QComboBox(this);
        presets->setObjectName("presets");
        presets->addItem(tr("Presets..."));
        for (const LPluginPreset& p : info_.presets)
            presets->addItem(Q(p.name));
        connect(presets, &QComboBox::activated, this, [this, presets](int index) {
            if (index > 0)
                ApplyPreset(presets->itemText(index).toStdString());
            presets->setCurrentIndex(0);
        });
        top->addWidget(presets, 1);
    }
    auto* defaults = new QPushButton(tr("&Defaults"), this);
    defaults->setObjectName("defaults");
    connect(defaults, &QPushButton::clicked, this, [this] {
        const std::vector<float> d = info_.DefaultValues();
        for (size_t i = 0; i < d.size(); ++i)
            SetValue(i, d[i]);
    });
    top->addStretch();
    top->addWidget(defaults);
    layout->addLayout(top);

    auto* page = new QWidget();
    auto* form = new QFormLayout(page);
    controls_.resize(ports_.size());
    for (size_t i = 0; i < ports_.size(); ++i) {
        const LPluginPort& port = *ports_[i];
        LControl& c = controls_[i];
        QString label = Q(port.name);
        if (!port.unit.empty())
            label += " (" + Q(port.unit) + ")";
        if (port.toggled) {
            c.toggle = new QCheckBox(page);
            connect(c.toggle, &QCheckBox::toggled, this, [this, i](bool on) {
                if (!updating_)
                    SetValue(i, on ? 1.0f : 0.0f);
            });
            form->addRow(label, c.toggle);
        } else if (!port.scalePoints.empty()) {
            c.choice = new QComboBox(page);
            for (const auto& [v, name] : port.scalePoints)
                c.choice->addItem(Q(name), v);
            connect(c.choice, &QComboBox::activated, this, [this, i](int index) {
                SetValue(i, controls_[i].choice->itemData(index).toFloat());
            });
            form->addRow(label, c.choice);
        } else {
            auto* row = new QWidget(page);
            auto* h = new QHBoxLayout(row);
            h->setContentsMargins(0, 0, 0, 0);
            c.slider = new QSlider(Qt::Horizontal, row);
            c.slider->setRange(0, kSteps);
            c.number = new QDoubleSpinBox(row);
            c.number->setDecimals(port.integer ? 0 : 3);
            c.number->setRange(std::min(port.min, values_[i]), std::max(port.max, values_[i]));
            c.number->setSingleStep(port.integer ? 1.0 : (port.max - port.min) / 100.0);
            c.number->setObjectName(Q(port.symbol));
            h->addWidget(c.slider, 1);
            h->addWidget(c.number);
            connect(c.slider, &QSlider::valueChanged, this, [this, i](int pos) {
                if (!updating_)
                    SetValue(i, FromSlider(i, pos));
            });
            connect(c.number, &QDoubleSpinBox::valueChanged, this, [this, i](double v) {
                if (!updating_)
                    SetValue(i, static_cast<float>(v));
            });
            form->addRow(label, row);
        }
        ShowValue(i);
    }
    if (ports_.empty())
        form->addRow(new QLabel(tr("This plug-in has no settings."), page));
    auto* scroll = new QScrollArea(this);
    scroll->setWidget(page);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    layout->addWidget(scroll, 1);

    QDialogButtonBox* buttons = OkCancelButtons();
    layout->addWidget(buttons);
    resize(520, std::min(160 + 40 * static_cast<int>(ports_.size()), 640));
}

int LPluginParamDialog::ToSlider(size_t i, float value) const {
    const LPluginPort& p = *ports_[i];
    if (p.max <= p.min)
        return 0;
    double t = (value - p.min) / (p.max - p.min);
    if (p.logarithmic && p.min > 0 && value > 0)
        t = std::log(value / p.min) / std::log(p.max / p.min);
    return static_cast<int>(std::lround(std::clamp(t, 0.0, 1.0) * kSteps));
}

float LPluginParamDialog::FromSlider(size_t i, int position) const {
    const LPluginPort& p = *ports_[i];
    const double t = static_cast<double>(position) / kSteps;
    double v = p.min + t * (p.max - p.min);
    if (p.logarithmic && p.min > 0)
        v = p.min * std::pow(p.max / p.min, t);
    return static_cast<float>(p.integer ? std::round(v) : v);
}

void LPluginParamDialog::ShowValue(size_t i) {
    updating_ = true;
    const LControl& c = controls_[i];
    const float v = values_[i];
    if (c.toggle)
        c.toggle->setChecked(v > 0.5f);
    if (c.choice) {
        int best = 0;
        for (int k = 1; k < c.choice->count(); ++k) {
            if (std::abs(c.choice->itemData(k).toFloat() - v) <
                std::abs(c.choice->itemData(best).toFloat() - v))
                best = k;
        }
        c.choice->setCurrentIndex(best);
    }
    if (c.slider) {
        c.slider->setValue(ToSlider(i, v));
        c.number->setValue(v);
    }
    updating_ = false;
}

void LPluginParamDialog::SetValue(size_t i, float value) {
    if (i >= values_.size())
        return;
    values_[i] = value;
    ShowValue(i);
    ParameterChanged();
}

bool LPluginParamDialog::ApplyPreset(const std::string& name) {
    for (const LPluginPreset& preset : info_.presets) {
        if (preset.name != name)
            continue;
        for (const auto& [symbol, value] : preset.values) {
            for (size_t i = 0; i < ports_.size(); ++i) {
                if (ports_[i]->symbol == symbol)
                    SetValue(i, value);
            }
        }
        return true;
    }
    return false;
}

LSourceRef LPluginParamDialog::BuildPreviewSource() {
    int32_t length = 0;
    const LCutListAudio copy = SelectionCopy(length);
    std::string error;
    return MakePluginSource(LPluginChoice{info_, values_}, LSourceRef(new LSRCCutListAudio(copy)),
                            error);
}

}  // namespace osmera
