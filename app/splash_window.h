#pragma once
// LOMSplashWindow: the start-up window centred on the screen, showing the product's name,
// version and picture. It closes itself after 7000 ms, or at once when clicked, and
// deletes itself when closed. The user can turn it off ("Settings"/"ShowSplash").
//
// Threads: GUI thread only.

#include <QWidget>

#include "core/settings_store.h"

namespace osmera {

class LOMSplashWindow : public QWidget {
    Q_OBJECT
  public:
    static constexpr int kShowMs = 7000;

    explicit LOMSplashWindow(QWidget* parent = nullptr);

    // True unless the user turned the splash window off.
    static bool IsWanted(LSettingsStore& settings);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
};

}  // namespace osmera
