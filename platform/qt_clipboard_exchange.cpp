#include "platform/qt_clipboard_exchange.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

namespace osmera {

namespace {
const char* const kWaveMimeTypes[] = {"audio/wav", "audio/x-wav"};
}

bool LQtClipboardExchange::HasWaveData() {
    const QMimeData* data = QGuiApplication::clipboard()->mimeData();
    if (!data)
        return false;
    for (const char* type : kWaveMimeTypes) {
        if (data->hasFormat(QLatin1String(type)))
            return true;
    }
    return false;
}

bool LQtClipboardExchange::GetWaveData(std::vector<uint8_t>& bytes) {
    const QMimeData* data = QGuiApplication::clipboard()->mimeData();
    if (!data)
        return false;
    for (const char* type : kWaveMimeTypes) {
        if (!data->hasFormat(QLatin1String(type)))
            continue;
        const QByteArray wave = data->data(QLatin1String(type));
        if (wave.isEmpty())
            continue;
        bytes.assign(wave.begin(), wave.end());
        return true;
    }
    return false;
}

bool LQtClipboardExchange::SetWaveData(const std::vector<uint8_t>& bytes) {
    const QByteArray wave(reinterpret_cast<const char*>(bytes.data()),
                          static_cast<qsizetype>(bytes.size()));
    auto* data = new QMimeData;
    for (const char* type : kWaveMimeTypes)
        data->setData(QLatin1String(type), wave);
    QGuiApplication::clipboard()->setMimeData(data);  // the clipboard owns `data`
    return true;
}

}  // namespace osmera
