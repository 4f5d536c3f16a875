#pragma once

#include <utility>

#include <unistd.h>

namespace rhi {

/// Owns a file descriptor; -1 is none.
class FileHandle
{
public:
    FileHandle() = default;
    explicit FileHandle(int fd)
        : m_fd(fd)
    {}
    FileHandle(FileHandle &&other) noexcept
        : m_fd(other.release())
    {}
    FileHandle &operator=(FileHandle &&other) noexcept
    {
        std::swap(m_fd, other.m_fd);
        return *this;
    }
    ~FileHandle()
    {
        if (isValid())
            close(m_fd);
    }

    bool isValid() const { return m_fd >= 0; }
    FileHandle duplicate() const { return FileHandle(isValid() ? dup(m_fd) : -1); }
    int get() const { return m_fd; }
    /// Gives it to somebody who closes it.
    int release() { return std::exchange(m_fd, -1); }

private:
    int m_fd = -1;
};

} // namespace rhi
