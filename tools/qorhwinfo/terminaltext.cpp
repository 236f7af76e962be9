#include "terminaltext.h"

#include <QStringList>

#include <cstdio>

namespace TerminalText {

namespace {

bool isPrintable(uint codePoint)
{
    if (codePoint < 0x20 || (codePoint >= 0x7f && codePoint < 0xa0))
        return false;
    if (codePoint > 0xffff)
        return QChar::category(codePoint) != QChar::Other_NotAssigned
            && QChar::category(codePoint) != QChar::Other_PrivateUse
            && QChar::category(codePoint) != QChar::Other_Format;
    switch (QChar(ushort(codePoint)).category()) {
    case QChar::Other_Control:
    case QChar::Other_Format:
    case QChar::Other_Surrogate:
    case QChar::Other_PrivateUse:
    case QChar::Other_NotAssigned:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return false;
    default:
        break;
    }
    return true;
}

QString escapeOf(uint codePoint)
{
    if (codePoint < 0x100)
        return QString::fromLatin1("\\x%1").arg(codePoint, 2, 16, QLatin1Char('0'));
    return QString::fromLatin1("\\u{%1}").arg(codePoint, 0, 16);
}

} // namespace

QString escaped(const QString &text)
{
    QString result;
    result.reserve(text.size());
    for (int i = 0; i < text.size(); ++i) {
        uint codePoint = text.at(i).unicode();
        const bool pair = QChar(ushort(codePoint)).isHighSurrogate() && i + 1 < text.size()
            && text.at(i + 1).isLowSurrogate();
        if (pair)
            codePoint = QChar::surrogateToUcs4(text.at(i), text.at(i + 1));
        if (codePoint == '\\')
            result += QLatin1String("\\\\");
        else if (!isPrintable(codePoint))
            result += escapeOf(codePoint);
        else if (pair)
            result += text.mid(i, 2);
        else
            result += text.at(i);
        if (pair)
            ++i;
    }
    return result;
}

void printError(const QString &text)
{
    QStringList lines = text.split(QLatin1Char('\n'));
    for (QString &line : lines)
        line = escaped(line);
    std::fprintf(stderr, "qorhwinfo: %s\n", lines.join(QLatin1String("\n")).toLocal8Bit().constData());
    std::fflush(stderr);
}

} // namespace TerminalText
