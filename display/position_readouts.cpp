#include "display/position_readouts.h"

#include <QHBoxLayout>

#include "core/sound_time.h"

namespace osmera {

LPositionReadouts::LPositionReadouts(LDocumentModel& model, QWidget* parent)
    : QWidget(parent), model_(model) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(4, 2, 4, 2);
    const char* captions[5] = {"Position", "Start", "End", "Length", "File length"};
    for (int i = 0; i < 5; ++i) {
        row->addWidget(new QLabel(tr(captions[i]), this));
        fields_[i] = new QLabel(this);
        fields_[i]->setFrameStyle(QFrame::Panel | QFrame::Sunken);
        fields_[i]->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        fields_[i]->setMinimumWidth(fields_[i]->fontMetrics().horizontalAdvance("00:00:00.00") +
                                    10);
        fields_[i]->setTextInteractionFlags(Qt::TextSelectableByMouse);
        row->addWidget(fields_[i]);
        row->addSpacing(6);
    }
    row->addStretch(1);
    connect(&model_, &LDocumentModel::cursorChanged, this, &LPositionReadouts::Refresh);
    connect(&model_, &LDocumentModel::selectionChanged, this, &LPositionReadouts::Refresh);
    connect(&model_, &LDocumentModel::audioChanged, this, &LPositionReadouts::Refresh);
    Refresh();
}

void LPositionReadouts::Refresh() {
    const LOMFile& doc = model_.Document();
    const int32_t rate = static_cast<int32_t>(doc.audio.GetSampleRate());
    auto form = [rate](int32_t frames) {
        return QString::fromStdString(
            LSoundTime::FormatHundredths(LSoundTime(frames, rate).GetMilliseconds()));
    };
    const int32_t values[5] = {doc.cursor, doc.selStart, doc.selEnd, doc.selEnd - doc.selStart,
                               doc.audio.GetLength()};
    for (int i = 0; i < 5; ++i)
        fields_[i]->setText(form(values[i]));
}

}  // namespace osmera
