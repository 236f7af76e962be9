#include "serialentrywindow.h"

#include <QApplication>
#include <QLineEdit>
#include <QPixmap>
#include <QTest>

#include <cstdio>
#include <cstring>

namespace {

// Shows the window, waits until the window system has shown it and types the sample digits as key presses,
// so the picture shows what the validator made of them.
bool saveScreenshot(SerialEntryWindow &window, const QString &path, const QString &keys)
{
    window.show();
#if QT_VERSION < 0x050000
    if (!QTest::qWaitForWindowShown(&window))
        return false;
#else
    if (!QTest::qWaitForWindowExposed(&window))
        return false;
#endif
    window.serialField()->setFocus();
    QTest::keyClicks(window.serialField(), keys);
    QApplication::processEvents();
#if QT_VERSION < 0x050000
    return QPixmap::grabWidget(&window).save(path, "PNG");
#else
    return window.grab().save(path, "PNG");
#endif
}

void printUsage()
{
    std::printf("Usage: serialentry [--screenshot FILE [--keys KEYS]]\n"
                "Type a unit serial into a validated field.\n\n"
                "  --screenshot FILE  type a sample serial, save the window as PNG to FILE and quit\n"
                "  --keys KEYS        keys typed for --screenshot (default: 123)\n");
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QString screenshot;
    QString keys = QLatin1String("123");
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--screenshot") == 0 && i + 1 < argc) {
            screenshot = QString::fromLocal8Bit(argv[++i]);
        } else if (std::strcmp(argv[i], "--keys") == 0 && i + 1 < argc) {
            keys = QString::fromLocal8Bit(argv[++i]);
        } else {
            printUsage();
            return std::strcmp(argv[i], "--help") == 0 ? 0 : 2;
        }
    }

    SerialEntryWindow window;
    window.resize(460, window.sizeHint().height());
    if (!screenshot.isEmpty()) {
        if (!saveScreenshot(window, screenshot, keys)) {
            std::fprintf(stderr, "serialentry: could not save %s\n", qPrintable(screenshot));
            return 1;
        }
        return 0;
    }
    window.show();
    return app.exec();
}
