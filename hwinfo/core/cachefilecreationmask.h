#ifndef QORHWINFO_CORE_CACHEFILECREATIONMASK_H
#define QORHWINFO_CORE_CACHEFILECREATIONMASK_H

#include <sys/stat.h>

namespace hmi {

/**
 * The file-creation mask with which the serials cache file is created, by discovery or by the tool that
 * repairs it: the file is shared with the group that runs the instrument's services, so it is created
 * rw-rw-r--. The process's previous mask comes back however the write ends.
 */
class CacheFileCreationMask
{
public:
    CacheFileCreationMask()
        : m_previous(::umask(003))
    { }
    ~CacheFileCreationMask() { ::umask(m_previous); }

private:
    mode_t m_previous;
};

} // namespace hmi

#endif
