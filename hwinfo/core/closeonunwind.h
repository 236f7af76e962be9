#ifndef QORHWINFO_CORE_CLOSEONUNWIND_H
#define QORHWINFO_CORE_CLOSEONUNWIND_H

#include <QtCore/QIODevice>

namespace hmi {

/**
 * Closes a device when reading or writing a frame throws: left open, it could not be opened by the next
 * load or save, and a store with a good record would fail every later discovery of the same helper.
 */
class CloseOnUnwind
{
public:
    explicit CloseOnUnwind(QIODevice *device)
        : m_device(device)
    { }
    ~CloseOnUnwind()
    {
        if (m_device)
            m_device->close();
    }

    void closeNow()
    {
        m_device->close();
        m_device = 0;
    }

private:
    Q_DISABLE_COPY(CloseOnUnwind)
    QIODevice *m_device;
};

} // namespace hmi

#endif
