#include "jsonvariant.h"

#include <QtCore/QStringList>
#include <QtCore/QVariantList>
#include <QtCore/QVariantMap>

#include <jansson.h>

#include <climits>
#include <cstdlib>

namespace {

/** Owns one reference to a jansson value. */
class JsonRef
{
public:
    explicit JsonRef(json_t *value)
        : m_value(value)
    { }
    ~JsonRef() { json_decref(m_value); }
    json_t *get() const { return m_value; }

private:
    JsonRef(const JsonRef &);
    JsonRef &operator=(const JsonRef &);
    json_t *m_value;
};

json_t *textValue(const QString &text)
{
    const QByteArray utf8 = text.toUtf8();
    return json_stringn(utf8.constData(), size_t(utf8.size()));
}

json_t *toValue(const QVariant &value)
{
    if (!value.isValid())
        return json_null();
    switch (value.userType()) {
    case QMetaType::Bool:
        return json_boolean(value.toBool());
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
        return json_integer(value.toLongLong());
    case QMetaType::ULongLong:
        if (value.toULongLong() > quint64(LLONG_MAX))
            return json_real(double(value.toULongLong()));
        return json_integer(value.toLongLong());
    case QMetaType::Double:
        return json_real(value.toDouble());
    case QMetaType::QByteArray:
        return textValue(QString::fromLatin1(value.toByteArray().toHex()));
    case QMetaType::QVariantMap: {
        json_t *object = json_object();
        const QVariantMap map = value.toMap();
        for (QVariantMap::const_iterator it = map.constBegin(); it != map.constEnd(); ++it)
            json_object_set_new(object, it.key().toUtf8().constData(), toValue(it.value()));
        return object;
    }
    case QMetaType::QVariantList:
    case QMetaType::QStringList: {
        json_t *array = json_array();
        const QVariantList list = value.toList();
        for (int i = 0; i < list.size(); ++i)
            json_array_append_new(array, toValue(list.at(i)));
        return array;
    }
    default:
        break;
    }
    const QString text = value.toString();
    return text.isNull() ? json_null() : textValue(text);
}

QVariant fromValue(const json_t *value)
{
    switch (json_typeof(value)) {
    case JSON_OBJECT: {
        QVariantMap map;
        const char *key;
        json_t *member;
        json_object_foreach(const_cast<json_t *>(value), key, member)
            map.insert(QString::fromUtf8(key), fromValue(member));
        return map;
    }
    case JSON_ARRAY: {
        QVariantList list;
        for (size_t i = 0; i < json_array_size(value); ++i)
            list.append(fromValue(json_array_get(value, i)));
        return list;
    }
    case JSON_STRING:
        return QString::fromUtf8(json_string_value(value), int(json_string_length(value)));
    case JSON_INTEGER:
        return qlonglong(json_integer_value(value));
    case JSON_REAL:
        return json_real_value(value);
    case JSON_TRUE:
        return true;
    case JSON_FALSE:
        return false;
    case JSON_NULL:
        break;
    }
    return QVariant();
}

} // namespace

QByteArray JsonVariant::toJson(const QVariant &value, bool compact)
{
    const JsonRef root(toValue(value));
    const size_t flags = JSON_ENCODE_ANY | (compact ? JSON_COMPACT : JSON_INDENT(2));
    char *text = json_dumps(root.get(), flags);
    QByteArray json(text);
    std::free(text);
    if (!compact)
        json.append('\n');
    return json;
}

QVariant JsonVariant::fromJson(const QByteArray &json, QString *error)
{
    json_error_t parseError;
    const JsonRef root(json_loadb(json.constData(), size_t(json.size()), JSON_DECODE_ANY, &parseError));
    if (!root.get()) {
        if (error)
            *error = QString::fromUtf8(parseError.text);
        return QVariant();
    }
    if (error)
        error->clear();
    return fromValue(root.get());
}
