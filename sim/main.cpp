// qorsimunit: builds the file tree of a simulated unit from a unit file, for the sandbox to mount.

#include "linetokenizer.h"
#include "parseerror.h"
#include "qtcompat.h"
#include "recordfields.h"
#include "unitbuilder.h"
#include "unitparser.h"

#include <qorutils/romstorage.h>

#include <QCoreApplication>
#include <QFile>
#include <QStringList>
#include <QTextStream>

namespace {

enum ExitStatus { Success = 0, Failure = 1, UsageError = 2 };

QTextStream &err()
{
    static QTextStream stream(stderr);
    return stream;
}

int usage()
{
    err() << "usage: qorsimunit build UNITFILE ROOTDIR   write the unit's files under ROOTDIR\n"
             "       qorsimunit check UNITFILE           only check the unit file\n"
             "       qorsimunit frame [NAME=VALUE...]    print the framed record as hexadecimal\n";
    err().flush();
    return UsageError;
}

int fail(const QString &message, int status)
{
    err() << "qorsimunit: " << message << '\n';
    err().flush();
    return status;
}

/** @throws ParseError (line 0) when the file cannot be read */
UnitDescription readUnit(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw ParseError(0, QStringLiteral("cannot read: %1").arg(file.errorString()));
    return UnitParser::parse(QString::fromUtf8(file.readAll()));
}

int parseFailure(const QString &path, const ParseError &error)
{
    const QString where = error.line() > 0 ? QStringLiteral("%1:%2").arg(path).arg(error.line()) : path;
    return fail(where + QStringLiteral(": ") + error.message(), UsageError);
}

int build(const QString &unitPath, const QString &rootPath)
{
    UnitDescription unit;
    try {
        unit = readUnit(unitPath);
    } catch (const ParseError &error) {
        return parseFailure(unitPath, error);
    }
    try {
        UnitBuilder(rootPath).build(unit);
    } catch (const QString &message) {
        return fail(message, Failure);
    }
    return Success;
}

int check(const QString &unitPath)
{
    try {
        readUnit(unitPath);
    } catch (const ParseError &error) {
        return parseFailure(unitPath, error);
    }
    return Success;
}

int printFrame(const QStringList &fields)
{
    QList<Token> tokens;
    for (const QString &field : fields) {
        Token token;
        token.text = field;
        tokens.append(token);
    }
    try {
        const QVariantMap record = RecordFields::parse(tokens, 0);
        QTextStream(stdout) << ROMStorage(QVariant(record)).frame().toHex() << '\n';
    } catch (const ParseError &error) {
        return fail(error.message(), UsageError);
    } catch (const QString &message) {
        return fail(message, Failure);
    }
    return Success;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments().mid(1);
    const QString command = args.value(0);
    if (command == QLatin1String("build") && args.size() == 3)
        return build(args.at(1), args.at(2));
    if (command == QLatin1String("check") && args.size() == 2)
        return check(args.at(1));
    if (command == QLatin1String("frame"))
        return printFrame(args.mid(1));
    return usage();
}
