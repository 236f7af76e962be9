#include "linetokenizer.h"
#include "qtcompat.h"

#include "parseerror.h"

QList<Token> LineTokenizer::split(const QString &line, int lineNumber)
{
    QList<Token> tokens;
    Token current;
    bool inWord = false;
    bool inQuotes = false;
    for (int i = 0; i < line.size(); ++i) {
        const QChar c = line.at(i);
        if (inQuotes) {
            if (c == QLatin1Char('\\') && i + 1 < line.size()) {
                current.text += line.at(++i);
            } else if (c == QLatin1Char('"')) {
                inQuotes = false;
            } else {
                current.text += c;
            }
        } else if (c.isSpace()) {
            if (inWord)
                tokens.append(current);
            current = Token();
            inWord = false;
        } else if (c == QLatin1Char('#') && !inWord) {
            break;
        } else if (c == QLatin1Char('"')) {
            inWord = true;
            inQuotes = true;
            current.quoted = true;
        } else {
            inWord = true;
            current.text += c;
        }
    }
    if (inQuotes)
        throw ParseError(lineNumber, QStringLiteral("unterminated quote"));
    if (inWord)
        tokens.append(current);
    return tokens;
}
