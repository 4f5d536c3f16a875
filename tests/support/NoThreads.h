// A system that starts no further thread, whoever asks for one. Needs nothing.
#pragma once

#include <cstddef>
#include <pthread.h>

namespace support {

/// As long as it lives no thread starts in this process: each would need a stack that no machine
/// has room for.
class NoThreads
{
public:
    explicit NoThreads(bool isWanted = true)
    {
        pthread_attr_t attributes;
        pthread_getattr_default_np(&attributes);
        pthread_attr_getstacksize(&attributes, &m_before);
        pthread_attr_destroy(&attributes);
        if (isWanted)
            setStackSize(std::size_t(1) << 50);
    }
    ~NoThreads() { setStackSize(m_before); }
    NoThreads(const NoThreads &) = delete;
    NoThreads &operator=(const NoThreads &) = delete;

private:
    static void setStackSize(std::size_t bytes)
    {
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        pthread_attr_setstacksize(&attributes, bytes);
        pthread_setattr_default_np(&attributes);
        pthread_attr_destroy(&attributes);
    }

    std::size_t m_before = 0;
};

} // namespace support
