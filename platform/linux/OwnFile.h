#pragma once

#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace lumora {

/// A descriptor of our own in a program that is not: a host may close what it did not open (before it forks,
/// say) and then get the number for a file of its own. Tells files apart by their inode, so for sockets and
/// pipes; eventfds all share one. Closes its file if it is still that. One thread at a time; a host that
/// closes between the question and the use is not noticed.
class OwnFile {
public:
    OwnFile() = default;
    explicit OwnFile(int file)
        : m_file(file)
    {
        if (m_file >= 0)
            fstat(m_file, &m_opened);
    }
    OwnFile(OwnFile&& other) noexcept
        : m_file(std::exchange(other.m_file, -1))
        , m_opened(other.m_opened)
    {
    }
    OwnFile& operator=(OwnFile&& other) noexcept
    {
        std::swap(m_file, other.m_file);
        std::swap(m_opened, other.m_opened);
        return *this;
    }
    ~OwnFile()
    {
        if (isOpen())
            close(m_file);
    }

    int number() const { return m_file; }
    bool isOpen() const
    {
        struct stat now { };
        return m_file >= 0 && fstat(m_file, &now) == 0 && now.st_dev == m_opened.st_dev
            && now.st_ino == m_opened.st_ino;
    }

private:
    int m_file { -1 };
    struct stat m_opened { };
};

} // namespace lumora
