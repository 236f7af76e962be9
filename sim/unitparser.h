#ifndef QORSIMUNIT_UNITPARSER_H
#define QORSIMUNIT_UNITPARSER_H

#include "linetokenizer.h"
#include "unitdescription.h"

#include <QSet>

/**
 * Reads a unit file: one directive per line (mac, board_serial, fpga, store, cache_dir), '#' comments.
 * Every mistake is reported with its line number; nothing is guessed.
 */
class UnitParser
{
public:
    /** @throws ParseError */
    static UnitDescription parse(const QString &text);

    /** Largest image a store line may ask for; simulated memories are small. */
    static const qint64 MaxImageSize = 16 * 1024 * 1024;

private:
    UnitParser() = default;

    void parseLine(const QList<Token> &tokens, int line);
    void claimDirective(const QString &name, int line);
    TextAttribute parseAttribute(const QList<Token> &tokens, int line) const;
    FpgaSpec parseFpga(const QList<Token> &tokens, int line) const;
    void parseStore(QList<Token> tokens, int line);
    StoreImage parseStoreContent(const QList<Token> &tokens, int line) const;
    UnitDescription::CacheDir parseCacheDir(const QList<Token> &tokens, int line) const;
    void checkCacheFileHasADirectory() const;

    UnitDescription m_unit;
    QSet<QString> m_seen;
};

#endif
