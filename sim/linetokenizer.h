#ifndef QORSIMUNIT_LINETOKENIZER_H
#define QORSIMUNIT_LINETOKENIZER_H

#include <QList>
#include <QString>

/** One word of a unit file line; quoted tells that quotes were used, so keywords lose their meaning. */
struct Token
{
    QString text;
    bool quoted = false;
};

/**
 * Splits a unit file line into words: blanks separate words, double quotes keep blanks inside a word
 * (a backslash escapes the next character there), and '#' at the start of a word begins a comment.
 */
class LineTokenizer
{
public:
    /** @throws ParseError on an unterminated quote. */
    static QList<Token> split(const QString &line, int lineNumber);
};

#endif
