#ifndef QORHWINFO_HWINFOHELPER_H
#define QORHWINFO_HWINFOHELPER_H

#include <qorhwinfo/qorhwinfo_export.h>
#include <qorutils/devicedescriptor.h>

#include <QtCore/QFlags>
#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QMetaEnum>
#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QVariantMap>

class QIODevice;

namespace hmi {

class HwInfoHelperPrivate;

/**
 * Tells the instrument who it is.
 *
 * \headerfile hwinfohelper.h <qorhwinfo/hwinfohelper.h>
 *
 * The unit's identity record (Serials: unit serial, board serials, FPGA id, COM serial, MAC) is kept in
 * five identity stores, each an EEPROM value in the table that eeproms() shows:
 *
 * | key      | label                | device                                    | record at | room      |
 * |----------|----------------------|-------------------------------------------|-----------|-----------|
 * | "com"    | "COM Module"         | "/sys/bus/i2c/devices/0-0050/eeprom"      | 256       | 384 bytes |
 * | "cb"     | "Carrier Board"      | PicIODevice ("/dev/qorpic0")              | 0         | no limit  |
 * | "bf"     | "Beamformer Board"   | "/sys/bus/i2c/devices/0-0051/eeprom"      | 0         | no limit  |
 * | "ut"     | "Mono-Element Board" | "/sys/bus/i2c/devices/0-0055/eeprom"      | 0         | no limit  |
 * | "file"   | "Serials File"       | "/var/local/qorhwinfo/serial.cache"       | 0         | no limit  |
 *
 * An application constructs one helper, which reads the hardware facts (mac(), comSerial(), fpgaUid())
 * and reads no store. discover() then reads every store, lets "bf", "cb", "com" and "file" vote on the unit
 * serial, adopts it when exactly one candidate results and writes the cache file when it held no record;
 * the queries (unitSerial(), probableSerials(), status(), globalStatus()) report the last discovery.
 * quickNonValidatedSerial() answers from the cache file alone, without a helper. The paths are fixed: the
 * library reads no configuration and no environment.
 *
 * <b>Ownership.</b> The helper is created without a QObject parent (it may be given one later). It owns
 * its private data, and the stores' I/O devices are its QObject children: destroying the helper deletes
 * them. Everything it returns is a value, except eeproms(), a reference valid as long as the helper.
 *
 * <b>Threads.</b> The library starts no thread, takes no lock and keeps no timer: every call runs on the
 * caller's thread. Use a helper from one thread at a time; callers that share one serialise their calls.
 * discover() blocks on device and file I/O (the i2c EEPROMs are slow buses) and emits its signals
 * synchronously from inside the call. While it saves the cache file it sets the process-wide file-creation
 * mask to 003 and then restores it, so a file that another thread creates at that moment gets that mask too.
 *
 * <b>Files.</b> discover() writes "/var/local/qorhwinfo/serial.cache", created with mode 0664 (the services
 * of the instrument share it through their group) and synced to storage before the call returns. The library
 * never creates the directory "/var/local/qorhwinfo": the installation must (the Debian package does).
 * Without it the cache can be neither read nor written; discovery still works from the boards.
 *
 * <b>Log messages.</b> The library logs through Qt's message handler, at two levels, and nothing else.
 * Every item of a message is followed by one space, the last one included, and quoted items stand between
 * plain double quotes without any escaping:
 * - QtDebugMsg, from discover(), for each store that it could not load, with the text that EEPROM::load()
 *   threw: <tt>void hmi::HwInfoHelper::discover() "Carrier Board: is blank" </tt>
 * - QtDebugMsg, from discover(), when writing the cache file failed (status() is then ERROR), with the
 *   text that ROMStorage::saveTo() threw, such as
 *   <tt>error while saving .serial file: "could not write record: No space left on device" </tt>
 * - QtCriticalMsg, from EEPROM::save(), when the device cannot be opened for writing, with the store's
 *   label and the device's error string, such as for a missing cache directory
 *   <tt>Error opening "Serials File" eeprom ioDev: "No such file or directory" </tt>
 * - QtCriticalMsg, from EEPROM::save(), when the device cannot be positioned at the record: the same
 *   with "Error seeking" in front.
 *
 * The texts are the same under Qt 4, 5 and 6. A discovery of a new unit logs a debug message per store that
 * holds nothing yet. To silence or route the messages, an application installs its own message handler and
 * recognises them by their beginnings: qInstallMsgHandler() under Qt 4 (handler <tt>void (QtMsgType, const
 * char *)</tt>), qInstallMessageHandler() under Qt 5 and 6 (handler <tt>void (QtMsgType, const
 * QMessageLogContext &, const QString &)</tt>, category "default"). The main page shows such a handler.
 */
class QORHWINFO_EXPORT HwInfoHelper : public QObject
{
    Q_OBJECT
    Q_ENUMS(StatusFlag)

public:
    /**
     * The status of one store or of the unit. The values are bits: a status is OK or has ERROR set.
     * The enumeration is registered with the meta-object (statusMetaEnum()), so its keys can be shown.
     */
    enum StatusFlag {
        OK = 0, ///< nothing went wrong
        ERROR = 8 ///< the store could not be read, or the cache file could not be written
    };
    /** Every status of the library: StatusFlag values combined by OR. unitSerial() throws one. */
    Q_DECLARE_FLAGS(StatusFlags, StatusFlag)

    /**
     * The identity record of a unit, and its map form under the keys "unit", "cb", "bf", "fpgaUid", "com"
     * and "mac": how it is stored in every identity store. A plain value.
     */
    class QORHWINFO_EXPORT Serials
    {
    public:
        /** An empty record: null strings and zero serials. */
        Serials();
        /** A record of the six values, taken as they are. */
        Serials(const QString &unit, uint cb, uint bf, const QString &fpgaUid, const QString &com,
                const QString &mac);
        /** Reads a record from its map form; absent or unconvertible entries give null strings and 0. */
        Serials(const QVariantMap &map);

        /** Inserts or replaces the six record entries of @p map and leaves every other entry alone. */
        void writeTo(QVariantMap &map) const;

        QString unit; ///< the unit serial, "I" and six digits, such as I000123 (not checked here)
        uint cb; ///< the carrier board's serial
        uint bf; ///< the beamformer board's serial
        QString fpgaUid; ///< the FPGA's identifier, four lowercase hexadecimal digits (see fpgaUid())
        QString com; ///< the COM module's serial (see comSerial())
        QString mac; ///< the Ethernet MAC address (see mac())
    };

    /**
     * One identity store: a framed record (ROMStorage) at @c offset of @c ioDev. A plain value whose copies
     * share the device; the store never owns or deletes it. Use a store, and every store on the same
     * device, from one thread at a time.
     */
    class QORHWINFO_EXPORT EEPROM
    {
    public:
        /** The store that a lookup of an unknown key yields: no device, an empty record, status ERROR. */
        EEPROM();
        /** A store on @p ioDev, which the caller keeps alive and owns, with an empty record and status OK. */
        EEPROM(const QString &name, QIODevice *ioDev, int offset, int maxSize);

        /**
         * Reads the record into @c descriptor, replacing what it held: the device is opened read-only and
         * unbuffered, read from @c offset and closed again.
         * @throws QString when there is no good record; @c descriptor is then empty and the text is one of
         *   "<name>: could not open io device for reading: <error>",
         *   "<name>: could not seek io device to specified offset(<offset>): <error>",
         *   "<name>: is blank" (the memory was never written), "<name>: empty file" or "<name>: corrupted"
         *   (anything else, a memory that fails to read among it). Exceptions of the device or of Qt pass
         *   through unchanged. The device is closed afterwards, except after a failed open.
         */
        void load();
        /**
         * Writes @c descriptor to the device at @c offset, in at most @c maxSize bytes; a file is
         * truncated first and synced to storage. Failures to open or seek the device are logged at
         * QtCriticalMsg ("Error opening" or "Error seeking", see HwInfoHelper) and not reported otherwise.
         * @throws QString from ROMStorage::saveTo() when the record does not fit or the device does not
         *   take it.
         */
        void save() const;

        QString name; ///< the store's label, used in messages only, such as "Carrier Board"
        QIODevice *ioDev; ///< the device holding the record; not owned
        int offset; ///< where in the device the framed record begins
        int maxSize; ///< the room the framed record may take from @c offset on; 2147483647 for no limit
        hmi::DeviceDescriptor descriptor; ///< the record in map form: empty until a good load()
        StatusFlags status; ///< set by discover(); see HwInfoHelper::status(const QString &)
    };

    /**
     * Builds the store table (eepromsInit()) and reads the hardware facts once: the MAC address, the COM
     * module's serial and the FPGA identifier. Reads no store and logs nothing. A missing sysfs attribute
     * gives an empty text and an unusable UIO device a null fpgaUid(); neither is an error.
     * @throws std::bad_alloc and whatever else the device layer throws, except hmi::Exception from the UIO
     *   device, which is swallowed; no helper exists then.
     */
    HwInfoHelper();
    /** Deletes the private data and then, as QObject children, the stores' I/O devices. */
    ~HwInfoHelper() QORHWINFO_OVERRIDE;

    /** The text of "/sys/class/net/eth0/address" as read at construction, without its trailing newline;
     * empty when the attribute cannot be read. */
    QString mac() const;
    /** The text of "/sys/devices/virtual/dmi/id/board_serial" as read at construction, without its
     * trailing newline; empty when the attribute cannot be read. */
    QString comSerial() const;
    /**
     * The FPGA's identifier, read at construction from the 32-bit register at byte offset 0x1D8 of the
     * first memory map of UIO device 0: its low 16 bits as four lowercase hexadecimal digits (0x12340A5F
     * gives "0a5f"). A null QString when the device cannot be opened or mapped or has no map.
     */
    QString fpgaUid() const;
    /** The carrier board's serial, the "serial" entry of its store's record after discover(); 0 before
     * the first discovery and when the board could not be read. */
    uint cbSerial() const;
    /** The beamformer board's serial, the "serial" entry of its store's record after discover(); 0 before
     * the first discovery and when the board could not be read. */
    uint bfSerial() const;
    /**
     * The store table itself (see the table above): every store's record and status as the last
     * discover() left them. The reference stays valid as long as the helper.
     */
    const QHash<QString, EEPROM> &eeproms() const;

    /**
     * The unit-level status: OK, or ERROR when the last discover() could not write the cache file (its
     * save threw). The stores' own statuses are not included; see globalStatus(). OK before the first
     * discovery.
     */
    StatusFlags status() const;
    /**
     * The status of the store with the key @p name ("com", "cb", "bf", "ut" or "file") after the last
     * discover(); ERROR for any other name, a label such as "COM Module" included. Before the first
     * discovery every store is OK. After one:
     * - "bf", "cb", "ut": ERROR when the store could not be loaded (not readable, blank, empty or
     *   corrupted): a fitted board must carry its record.
     * - "com": OK whatever its load gave. A blank COM memory is what a new or replaced COM module has; such
     *   a store simply casts no vote, and the debug log says why.
     * - "file": OK when the cache is missing, blank or damaged, because discovery then writes it anew;
     *   ERROR when that write threw. A cache that cannot be opened for writing (a missing directory) is only
     *   logged at QtCriticalMsg and leaves it OK.
     */
    StatusFlags status(const QString &name) const;
    /** The unit-level status combined by OR with the status of every store: ERROR when anything failed. */
    StatusFlags globalStatus() const;
    /**
     * The meta-enum of StatusFlag, named "StatusFlag", with the keys "OK" (0) and "ERROR" (8); not a
     * flag type. For showing statuses: <tt>statusMetaEnum().valueToKey(int(status))</tt>. Needs no helper.
     */
    static QMetaEnum statusMetaEnum();
    /**
     * The unit serial that the last discover() adopted. A null QString when that discovery found no
     * candidate or several (a unit whose stores disagree has no serial until a person resolves it; the
     * candidates are in probableSerials()), and before the first discovery.
     * @throws StatusFlags (by value, the unit-level status()) when it is not OK: the serial was adopted but
     *   the cache file could not be written. Catch <tt>const hmi::HwInfoHelper::StatusFlags &</tt>. The
     *   helper is unchanged; a later discovery may succeed.
     */
    QString unitSerial() const;
    /**
     * The candidate unit serials of the last discover(), each once, most votes first; candidates with equal
     * votes in no particular order. Empty before the first discovery and when no store held a record.
     * A copy: a later discovery does not change it.
     */
    QList<QString> probableSerials() const;

    /**
     * Establishes who the unit is; may be called again at any time, each call starting afresh.
     *
     * Loads every store (see status(const QString &) for the statuses this leaves) and logs at QtDebugMsg
     * each store it could not load; takes cbSerial() and bfSerial() from the board records; lets each of
     * "bf", "cb", "com" and "file" that holds a record vote for its unit serial; orders the candidates by
     * votes (probableSerials()) and adopts the serial when exactly one results (unitSerial()). When one was
     * adopted and the cache file held no record, it writes the current record into the cache file, under
     * the file-creation mask 003 (see the class description). It never writes the boards' memories and does
     * not check the serials' form.
     *
     * It blocks until done and emits the progress signals from inside the call, on the caller's thread:
     * progressStepCountChanged() once with the number of steps (7: one per store, and two more), then
     * progressCurStepChanged() with 0, 1, ... up to stepCount - 1: 0 to 4 right before each store is
     * loaded (in the store table's iteration order), 5 after the last load, 6 when all is done. A step is
     * emitted whether or not its store then fails. Slots connected directly run inside the call and see
     * the helper part-way.
     *
     * Throws nothing of its own: the QString failures of the stores are caught. Any other exception from a
     * device passes to the caller, after the file-creation mask is restored; the remaining steps, the last
     * progress step among them, then do not run.
     */
    void discover();

    /**
     * A new table of the five stores (see the table above), each store's device created with @p parent as
     * its QObject parent, which therefore owns and deletes them. Opens, reads and logs nothing. The
     * constructor calls it with the helper; applications rarely need it.
     */
    static QHash<QString, EEPROM> eepromsInit(QObject *parent);
    /**
     * The unit serial held in the cache file "/var/local/qorhwinfo/serial.cache", read alone and not
     * checked: no board is read, no vote taken, nothing written or logged, and no helper needed. A null
     * QString on any failure (no file, an empty, blank or damaged one, a record without a unit serial),
     * including while a discovery is rewriting the file. Shares no state: callable from any thread.
     */
    static QString quickNonValidatedSerial();

Q_SIGNALS:
    /** Emitted by discover() once, first, with the number of progress steps it takes (7). */
    void progressStepCountChanged(int stepCount);
    /** Emitted by discover() as it reaches each step, 0 to stepCount - 1, in order; see discover(). */
    void progressCurStepChanged(int curStep);

private:
    Q_DISABLE_COPY(HwInfoHelper)
    friend class HwInfoHelperPrivate;
    HwInfoHelperPrivate *d;
};

} // namespace hmi

Q_DECLARE_OPERATORS_FOR_FLAGS(hmi::HwInfoHelper::StatusFlags)

#endif
