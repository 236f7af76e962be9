#include "exception.h"

namespace hmi {

Exception::Exception(const QString &message)
    : m_message(message)
    , m_utf8(message.toUtf8())
{ }

Exception::Exception(const Exception &other)
    : std::exception(other)
    , m_message(other.m_message)
    , m_utf8(other.m_utf8)
{ }

Exception &Exception::operator=(const Exception &other)
{
    m_message = other.m_message;
    m_utf8 = other.m_utf8;
    return *this;
}

Exception::~Exception() QORUTILS_NOEXCEPT { }

QString Exception::message() const
{
    return m_message;
}

const char *Exception::what() const QORUTILS_NOEXCEPT
{
    return m_utf8.constData();
}

} // namespace hmi
