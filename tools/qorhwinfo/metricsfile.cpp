#include "metricsfile.h"

#include "terminaltext.h"

#include <QFile>
#include <QFileInfo>
#include <ctime>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

namespace MetricsFile {

namespace {

// Label values carry text from the stores and the hardware: no control character, and the three characters
// the format escapes.
QByteArray labelValue(const QString &value)
{
    QByteArray text = TerminalText::escaped(value).toUtf8();
    text.replace('\\', "\\\\");
    text.replace('"', "\\\"");
    return text;
}

void metric(QByteArray &out, const char *name, const char *type, const char *help)
{
    out += QByteArray("# HELP ") + name + ' ' + help + "\n# TYPE " + name + ' ' + type + '\n';
}

QByteArray number(qint64 value)
{
    return QByteArray::number(value);
}

QString systemError()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

} // namespace

QByteArray text(const Unit &unit, qint64 unixTime)
{
    QByteArray out;
    metric(out, "qorhwinfo_unit_info", "gauge",
           "The unit serial the voting stores agree on and the hardware identities.");
    out += "qorhwinfo_unit_info{unit_serial=\"" + labelValue(unit.serial) + "\",mac=\"" + labelValue(unit.mac)
        + "\",com_serial=\"" + labelValue(unit.comSerial) + "\",fpga_uid=\"" + labelValue(unit.fpgaUid)
        + "\",cb_serial=\"" + number(unit.cbSerial) + "\",bf_serial=\"" + number(unit.bfSerial) + "\"} 1\n";
    metric(out, "qorhwinfo_store_error", "gauge", "1 when discovery marks the store ERROR, 0 when OK.");
    for (const Store &store : unit.stores)
        out += "qorhwinfo_store_error{store=\"" + labelValue(store.key) + "\"} " + number(store.error) + '\n';
    metric(out, "qorhwinfo_store_record", "gauge", "1 when the store holds an identity record.");
    for (const Store &store : unit.stores)
        out += "qorhwinfo_store_record{store=\"" + labelValue(store.key) + "\"} " + number(store.holdsRecord)
            + '\n';
    metric(out, "qorhwinfo_store_verdict", "gauge", "What the store holds, as the verdict label; always 1.");
    for (const Store &store : unit.stores)
        out += "qorhwinfo_store_verdict{store=\"" + labelValue(store.key) + "\",verdict=\""
            + labelValue(store.verdict) + "\"} 1\n";
    metric(out, "qorhwinfo_candidates", "gauge",
           "The number of different unit serials the voting stores name.");
    out += "qorhwinfo_candidates " + number(unit.candidates) + '\n';
    metric(out, "qorhwinfo_stores_disagree", "gauge",
           "1 when the voting stores name more than one unit serial.");
    out += "qorhwinfo_stores_disagree " + number(unit.candidates > 1) + '\n';
    metric(out, "qorhwinfo_other_hardware_fields", "gauge",
           "Record fields that name other hardware than the unit's.");
    out += "qorhwinfo_other_hardware_fields " + number(unit.otherHardware) + '\n';
    metric(out, "qorhwinfo_problems", "gauge", "The number of problems the check found.");
    out += "qorhwinfo_problems " + number(unit.problems) + '\n';
    metric(out, "qorhwinfo_repair_unfinished", "gauge",
           "1 while a repair of the identity stores did not finish.");
    out += "qorhwinfo_repair_unfinished " + number(unit.unfinishedRepair) + '\n';
    metric(out, "qorhwinfo_check_timestamp_seconds", "gauge",
           "When the check ran, in seconds since the epoch.");
    out += "qorhwinfo_check_timestamp_seconds " + number(unixTime) + '\n';
    return out;
}

bool write(const QString &path, const Unit &unit, QString *error)
{
    const QFileInfo info(path);
    const QByteArray directory = QFile::encodeName(info.absolutePath());
    const QByteArray name = QFile::encodeName(info.fileName());
    const int dir = ::open(directory.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dir < 0) {
        *error = QString::fromLatin1("cannot write the metrics into %1: %2")
                     .arg(info.absolutePath(), systemError());
        return false;
    }
    unsigned char random[8] = {};
    const bool named = ::getrandom(random, sizeof random, 0) == qint64(sizeof random);
    const QByteArray temporary
        = "." + name + "." + QByteArray(reinterpret_cast<const char *>(random), sizeof random).toHex();
    const QByteArray bytes = text(unit, qint64(::time(nullptr)));
    const int fd = named
        ? ::openat(dir, temporary.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644)
        : -1;
    bool ok
        = fd >= 0 && ::write(fd, bytes.constData(), size_t(bytes.size())) == bytes.size() && ::fsync(fd) == 0;
    if (fd >= 0)
        ok = ::close(fd) == 0 && ok;
    ok = ok && ::renameat(dir, temporary.constData(), dir, name.constData()) == 0;
    if (!ok) {
        *error = QString::fromLatin1("cannot write the metrics to %1: %2").arg(path, systemError());
        if (fd >= 0)
            ::unlinkat(dir, temporary.constData(), 0);
    }
    ::close(dir);
    return ok;
}

} // namespace MetricsFile
