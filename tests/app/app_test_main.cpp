// The editor's tests run with a QApplication on the offscreen platform: no display needed.
#include <gtest/gtest.h>

#include <QApplication>
#include <cstdlib>

int main(int argc, char** argv) {
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("OsmeraTest"));
    QApplication::setApplicationVersion(QStringLiteral("0.1.0"));
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
