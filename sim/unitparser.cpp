#include "unitparser.h"
#include "qtcompat.h"

#include "numbertext.h"
#include "parseerror.h"
#include "recordfields.h"
#include "storelayout.h"

#include <QStringList>

namespace {

void expectArgumentCount(const QList<Token> &tokens, int count, int line)
{
    if (tokens.size() != count + 1) {
        throw ParseError(line,
                         QStringLiteral("\"%1\" takes %2 argument(s), %3 given")
                             .arg(tokens.first().text)
                             .arg(count)
                             .arg(tokens.size() - 1));
    }
}

bool isKeyword(const Token &token, const char *keyword)
{
    return !token.quoted && token.text == QLatin1String(keyword);
}

/** A trailing "size=<bytes>" word, which sets the image size; -1 when there is none. */
qint64 takeImageSize(QList<Token> *tokens, int line)
{
    if (tokens->isEmpty() || tokens->last().quoted)
        return -1;
    const QString text = tokens->last().text;
    if (!text.startsWith(QLatin1String("size=")))
        return -1;
    const QString number = text.mid(5);
    if (number.isEmpty() || !number.at(0).isDigit())
        return -1; // a record field that happens to be called "size"
    tokens->removeLast();
    return qint64(NumberText::toUnsigned(number, quint64(UnitParser::MaxImageSize), line));
}

} // namespace

UnitDescription UnitParser::parse(const QString &text)
{
    UnitParser parser;
    const QStringList lines = text.split(QLatin1Char('\n'));
    for (int i = 0; i < lines.size(); ++i) {
        const QList<Token> tokens = LineTokenizer::split(lines.at(i), i + 1);
        if (!tokens.isEmpty())
            parser.parseLine(tokens, i + 1);
    }
    parser.checkCacheFileHasADirectory();
    return parser.m_unit;
}

void UnitParser::parseLine(const QList<Token> &tokens, int line)
{
    const QString directive = tokens.first().text;
    if (directive == QLatin1String("store")) {
        parseStore(tokens, line);
        return;
    }
    claimDirective(directive, line);
    if (directive == QLatin1String("mac"))
        m_unit.mac = parseAttribute(tokens, line);
    else if (directive == QLatin1String("board_serial"))
        m_unit.boardSerial = parseAttribute(tokens, line);
    else if (directive == QLatin1String("fpga"))
        m_unit.fpga = parseFpga(tokens, line);
    else if (directive == QLatin1String("cache_dir"))
        m_unit.cacheDir = parseCacheDir(tokens, line);
}

void UnitParser::claimDirective(const QString &name, int line)
{
    static const QStringList known = { QStringLiteral("mac"), QStringLiteral("board_serial"),
                                       QStringLiteral("fpga"), QStringLiteral("cache_dir") };
    if (!known.contains(name))
        throw ParseError(line, QStringLiteral("unknown directive \"%1\"").arg(name));
    if (m_seen.contains(name))
        throw ParseError(line, QStringLiteral("\"%1\" given twice").arg(name));
    m_seen.insert(name);
}

TextAttribute UnitParser::parseAttribute(const QList<Token> &tokens, int line) const
{
    expectArgumentCount(tokens, 1, line);
    TextAttribute attribute;
    if (isKeyword(tokens.at(1), "missing"))
        return attribute;
    attribute.present = true;
    attribute.text = tokens.at(1).text;
    return attribute;
}

FpgaSpec UnitParser::parseFpga(const QList<Token> &tokens, int line) const
{
    FpgaSpec fpga;
    fpga.readOnly = tokens.size() == 3 && isKeyword(tokens.at(2), "readonly");
    expectArgumentCount(tokens.mid(0, fpga.readOnly ? 2 : tokens.size()), 1, line);
    if (isKeyword(tokens.at(1), "none"))
        return fpga;
    if (isKeyword(tokens.at(1), "nomaps")) {
        fpga.kind = FpgaSpec::NoMaps;
        return fpga;
    }
    fpga.kind = FpgaSpec::Register;
    fpga.value = quint32(NumberText::toUnsigned(tokens.at(1).text, 0xffffffffULL, line));
    return fpga;
}

UnitDescription::CacheDir UnitParser::parseCacheDir(const QList<Token> &tokens, int line) const
{
    expectArgumentCount(tokens, 1, line);
    if (isKeyword(tokens.at(1), "present"))
        return UnitDescription::CachePresent;
    if (isKeyword(tokens.at(1), "missing"))
        return UnitDescription::CacheMissing;
    if (isKeyword(tokens.at(1), "readonly"))
        return UnitDescription::CacheReadOnly;
    if (isKeyword(tokens.at(1), "full"))
        return UnitDescription::CacheFull;
    throw ParseError(
        line,
        QStringLiteral("cache_dir is present, missing, readonly or full, not \"%1\"").arg(tokens.at(1).text));
}

void UnitParser::parseStore(QList<Token> tokens, int line)
{
    if (tokens.size() < 3)
        throw ParseError(line, QStringLiteral("usage: store <com|cb|bf|ut|file> <content> [size=<bytes>]"));
    const QString key = tokens.at(1).text;
    if (!StoreLayout::isKnown(key)) {
        throw ParseError(line,
                         QStringLiteral("unknown store \"%1\" (known: %2)")
                             .arg(key, StoreLayout::keys().join(QStringLiteral(", "))));
    }
    if (m_unit.stores.contains(key))
        throw ParseError(line, QStringLiteral("store \"%1\" given twice").arg(key));
    const qint64 size = takeImageSize(&tokens, line);
    StoreImage image = parseStoreContent(tokens.mid(2), line);
    if (size >= 0) {
        if (image.kind == StoreImage::Empty || image.kind == StoreImage::Missing
            || image.kind == StoreImage::Unreadable || image.kind == StoreImage::Device) {
            throw ParseError(line, QStringLiteral("size= does not apply to \"%1\"").arg(tokens.at(2).text));
        }
        image.size = size;
    }
    image.line = line;
    m_unit.stores.insert(key, image);
}

StoreImage UnitParser::parseStoreContent(const QList<Token> &tokens, int line) const
{
    static const QList<QPair<QString, StoreImage::Kind> > plainKinds = {
        { QStringLiteral("blank-ff"), StoreImage::BlankFF },
        { QStringLiteral("blank-00"), StoreImage::Blank00 },
        { QStringLiteral("empty"), StoreImage::Empty },
        { QStringLiteral("missing"), StoreImage::Missing },
        { QStringLiteral("unreadable"), StoreImage::Unreadable },
    };
    const QString content = tokens.first().text;
    const QList<Token> arguments = tokens.mid(1);
    StoreImage image;
    for (const auto &plain : plainKinds) {
        if (content == plain.first) {
            if (!arguments.isEmpty())
                throw ParseError(line, QStringLiteral("\"%1\" takes no arguments").arg(content));
            image.kind = plain.second;
            return image;
        }
    }
    if (content == QLatin1String("record")) {
        image.kind = StoreImage::Record;
        image.record = RecordFields::parse(arguments, line);
    } else if (content == QLatin1String("corrupt")) {
        image.kind = StoreImage::Corrupt;
        image.record = arguments.isEmpty() ? RecordFields::reference() : RecordFields::parse(arguments, line);
    } else if (content == QLatin1String("raw")) {
        image.kind = StoreImage::Raw;
        QStringList words;
        for (const Token &token : arguments)
            words.append(token.text);
        if (!NumberText::toBytes(words.join(QString()), &image.raw))
            throw ParseError(line, QStringLiteral("raw takes hexadecimal bytes"));
    } else if (content == QLatin1String("device") && arguments.size() == 1
               && arguments.first().text.startsWith(QLatin1String("/dev/"))) {
        image.kind = StoreImage::Device;
        image.device = arguments.first().text;
    } else {
        throw ParseError(line,
                         QStringLiteral("unknown store content \"%1\" (known: record, corrupt, raw, "
                                        "blank-ff, blank-00, empty, missing, unreadable, device /dev/...)")
                             .arg(content));
    }
    return image;
}

void UnitParser::checkCacheFileHasADirectory() const
{
    if (m_unit.cacheDir != UnitDescription::CacheMissing || !m_unit.stores.contains(QStringLiteral("file")))
        return;
    const StoreImage &file = m_unit.stores.value(QStringLiteral("file"));
    if (file.kind != StoreImage::Missing)
        throw ParseError(file.line,
                         QStringLiteral("the cache file needs a cache directory (cache_dir missing)"));
}
