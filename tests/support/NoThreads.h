// A system that starts no further thread, or one more, whoever asks for it. Needs nothing.
#pragma once

#include <cstddef>
#include <cstdio>
#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

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

    friend class OneThread;
    std::size_t m_before = 0;
};

/// As long as it lives one thread more can run in this process: there is room for a single stack.
class OneThread
{
public:
    explicit OneThread(bool isWanted = true)
        : m_stacks(false)
    {
        getrlimit(RLIMIT_AS, &m_before);
        if (!isWanted)
            return;
        constexpr std::size_t stack = std::size_t(1) << 30;
        NoThreads::setStackSize(stack);
        rlimit limit = m_before;
        limit.rlim_cur = usedSpace() + stack + stack / 2;
        setrlimit(RLIMIT_AS, &limit);
    }
    ~OneThread() { setrlimit(RLIMIT_AS, &m_before); }
    OneThread(const OneThread &) = delete;
    OneThread &operator=(const OneThread &) = delete;

private:
    static rlim_t usedSpace()
    {
        unsigned long pages = 0;
        if (std::FILE *const file = std::fopen("/proc/self/statm", "r")) {
            if (std::fscanf(file, "%lu", &pages) != 1)
                pages = 0;
            std::fclose(file);
        }
        return rlim_t(pages) * rlim_t(sysconf(_SC_PAGESIZE));
    }

    NoThreads m_stacks; ///< puts their size back
    rlimit m_before = {};
};

} // namespace support
