#include "platform/linux/XvfbDisplay.h"

#include "platform/linux/OwnFile.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>

namespace lumora {

namespace {

constexpr int longestStart = 5000; // milliseconds
constexpr int longestEnd = 1000;
constexpr int numberFile = 3;

/// In the child of a program with threads: nothing but system calls until the server runs.
[[noreturn]] void becomeServer(const char* program, pid_t parent, int numbers, int nowhere)
{
    sigset_t none;
    sigemptyset(&none);
    pthread_sigmask(SIG_SETMASK, &none, nullptr);
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    dup2(nowhere, STDIN_FILENO);
    dup2(nowhere, STDOUT_FILENO);
    dup2(nowhere, STDERR_FILENO);
    dup2(numbers, numberFile);
    fcntl(numberFile, F_SETFD, 0);
    close_range(numberFile + 1, ~0U, 0);
    if (getppid() == parent)
        execl(program, program, "-displayfd", "3", "-screen", "0", "1280x1280x24", "-nolisten", "tcp",
            static_cast<char*>(nullptr));
    _exit(1);
}

/// The line in which the server says its display's number; empty when it ends or is silent.
std::string readNumber(int file)
{
    std::string line;
    pollfd ready { file, POLLIN, 0 };
    while (!line.ends_with('\n')) {
        const int found = poll(&ready, 1, longestStart);
        if (found < 0 && errno == EINTR)
            continue;
        std::array<char, 16> buffer {};
        const ssize_t count = found > 0 ? read(file, buffer.data(), buffer.size()) : 0;
        if (count <= 0)
            return {};
        line.append(buffer.data(), static_cast<size_t>(count));
    }
    line.pop_back();
    return line;
}

} // namespace

XvfbDisplay::XvfbDisplay()
{
    for (const char* program : { "/usr/bin/Xvfb", "/usr/local/bin/Xvfb" }) {
        if (m_name.empty() && access(program, X_OK) == 0)
            start(program);
    }
}

XvfbDisplay::~XvfbDisplay() { stop(); }

void XvfbDisplay::start(const char* program)
{
    std::array<int, 2> ends {};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        return;
    const OwnFile numbers { ends[0] };
    OwnFile numbersToWrite { ends[1] };
    const OwnFile nowhere { open("/dev/null", O_RDWR | O_CLOEXEC) };
    const pid_t parent = getpid();
    m_server = fork();
    if (m_server == 0)
        becomeServer(program, parent, numbersToWrite.number(), nowhere.number());
    {
        const OwnFile closed { std::move(numbersToWrite) };
    }
    const std::string number = m_server > 0 ? readNumber(numbers.number()) : std::string {};
    if (number.empty())
        stop();
    else
        m_name = ":" + number;
}

void XvfbDisplay::stop()
{
    if (m_server <= 0)
        return;
    kill(m_server, SIGTERM);
    const OwnFile process { static_cast<int>(syscall(SYS_pidfd_open, m_server, 0)) };
    pollfd ended { process.number(), POLLIN, 0 };
    if (process.number() < 0 || poll(&ended, 1, longestEnd) != 1)
        kill(m_server, SIGKILL);
    waitpid(m_server, nullptr, 0);
    m_server = -1;
}

} // namespace lumora
