#include "serialentrywindow.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QLineEdit>
#include <QPixmap>
#include <QTest>

#include <cstdio>

namespace {

// Types the sample digits as key presses, so the picture shows what the validator made of them.
bool saveScreenshot(SerialEntryWindow &window, const QString &path, const QString &keys)
{
    window.show();
    if (!QTest::qWaitForWindowExposed(&window)) {
        return false;
    }
    window.serialField()->setFocus();
    QTest::keyClicks(window.serialField(), keys);
    QApplication::processEvents();
    return window.grab().save(path, "PNG");
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("serialentry"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Type a unit serial into a validated field."));
    parser.addHelpOption();
    const QCommandLineOption screenshot(
        QStringLiteral("screenshot"),
        QStringLiteral("Type a sample serial, save the window as PNG to <file> "
                       "and quit."),
        QStringLiteral("file"));
    const QCommandLineOption keys(QStringLiteral("keys"),
                                  QStringLiteral("Keys typed for --screenshot (default: 123)."),
                                  QStringLiteral("keys"), QStringLiteral("123"));
    parser.addOption(screenshot);
    parser.addOption(keys);
    parser.process(app);

    SerialEntryWindow window;
    window.resize(460, window.sizeHint().height());
    if (parser.isSet(screenshot)) {
        if (!saveScreenshot(window, parser.value(screenshot), parser.value(keys))) {
            std::fprintf(stderr, "serialentry: could not save %s\n", qPrintable(parser.value(screenshot)));
            return 1;
        }
        return 0;
    }
    window.show();
    return app.exec();
}
