#include "jsonvalue.h"

#include "serialform.h"

#include <cstdio>
#include <cstdlib>

namespace Json {

json_t *document()
{
    json_t *root = json_object();
    set(root, "version", text(QLatin1String(QORHWINFO_VERSION)));
    return root;
}

json_t *text(const QString &text)
{
    if (text.isNull())
        return json_null();
    const QByteArray utf8 = text.toUtf8();
    return json_stringn(utf8.constData(), size_t(utf8.size()));
}

json_t *number(qint64 number)
{
    return json_integer(json_int_t(number));
}

json_t *boolean(bool value)
{
    return value ? json_true() : json_false();
}

json_t *texts(const QStringList &list)
{
    json_t *array = json_array();
    for (const QString &item : list)
        append(array, text(item));
    return array;
}

json_t *value(const QVariant &variant)
{
    switch (variant.userType()) {
    case QMetaType::QString:
        return text(variant.toString());
    case QMetaType::Bool:
        return boolean(variant.toBool());
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
        return number(variant.toLongLong());
    case QMetaType::ULongLong:
        return json_integer(json_int_t(variant.toULongLong()));
    case QMetaType::Double:
        return json_real(variant.toDouble());
    case QMetaType::QByteArray:
        return text(QString::fromLatin1(variant.toByteArray().toHex()));
    case QMetaType::QVariantMap:
        return record(variant.toMap());
    case QMetaType::QVariantList: {
        json_t *array = json_array();
        const QVariantList list = variant.toList();
        for (const QVariant &item : list)
            append(array, value(item));
        return array;
    }
    default:
        break;
    }
    return variant.isValid() ? text(variant.toString()) : json_null();
}

json_t *candidates(const QList<hmi::SerialVote::Candidate> &candidates)
{
    json_t *list = json_array();
    for (const hmi::SerialVote::Candidate &candidate : candidates) {
        json_t *entry = json_object();
        set(entry, "serial", text(candidate.serial));
        set(entry, "votes", number(candidate.voters.size()));
        set(entry, "stores", texts(candidate.voters));
        set(entry, "tied", boolean(candidate.tied));
        set(entry, "wellFormed", boolean(SerialForm::isWellFormed(candidate.serial)));
        append(list, entry);
    }
    return list;
}

json_t *record(const QVariantMap &map)
{
    json_t *object = json_object();
    for (QVariantMap::const_iterator it = map.constBegin(); it != map.constEnd(); ++it)
        set(object, it.key(), value(it.value()));
    return object;
}

void set(json_t *object, const char *key, json_t *value)
{
    json_object_set_new(object, key, value ? value : json_null());
}

void set(json_t *object, const QString &key, json_t *value)
{
    const QByteArray utf8 = key.toUtf8();
    json_object_setn_new(object, utf8.constData(), size_t(utf8.size()), value ? value : json_null());
}

json_t *mismatches(const QList<IdentityCheck::Mismatch> &mismatches)
{
    json_t *list = json_array();
    for (const IdentityCheck::Mismatch &mismatch : mismatches) {
        json_t *entry = json_object();
        set(entry, "store", text(mismatch.store));
        set(entry, "field", text(mismatch.field));
        set(entry, "recorded", text(mismatch.recorded));
        set(entry, "actual", text(mismatch.actual));
        set(entry, "problem", text(mismatch.sentence));
        append(list, entry);
    }
    return list;
}

json_t *unfinishedRepair(const RepairJournal::Entry &entry)
{
    if (!entry.exists())
        return json_null();
    json_t *object = json_object();
    set(object, "command", text(entry.command));
    set(object, "backup", text(entry.backup));
    set(object, "time", text(entry.time));
    set(object, "stores", texts(entry.stores));
    return object;
}

void append(json_t *array, json_t *value)
{
    json_array_append_new(array, value ? value : json_null());
}

void print(json_t *document)
{
    char *dumped = json_dumps(document, JSON_INDENT(2));
    json_decref(document);
    if (!dumped)
        return;
    std::fputs(dumped, stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
    std::free(dumped);
}

QString textOf(json_t *object, const char *key)
{
    json_t *member = json_object_get(object, key);
    return json_is_string(member) ? QString::fromUtf8(json_string_value(member)) : QString();
}

qint64 numberOf(json_t *object, const char *key)
{
    json_t *member = json_object_get(object, key);
    return json_is_integer(member) ? qint64(json_integer_value(member)) : -1;
}

} // namespace Json
