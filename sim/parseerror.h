#ifndef QORSIMUNIT_PARSEERROR_H
#define QORSIMUNIT_PARSEERROR_H

#include <QString>

/** A mistake in a unit file or on the command line, with the line it was found on (0: none). */
class ParseError
{
public:
    ParseError(int line, const QString &message)
        : m_line(line)
        , m_message(message)
    { }

    int line() const { return m_line; }
    QString message() const { return m_message; }

private:
    int m_line;
    QString m_message;
};

#endif
