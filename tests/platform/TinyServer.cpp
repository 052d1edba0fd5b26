#include "tests/platform/TinyServer.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace lumora::test {

TinyServer::TinyServer(std::string answer)
    : TinyServer(whole(std::move(answer)))
{
}

TinyServer::TinyServer(Pieces pieces, int pause)
    : m_pause(pause)
    , m_listener(socket(AF_INET, SOCK_STREAM, 0))
    , m_pieces(std::move(pieces))
{
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (bind(m_listener, reinterpret_cast<sockaddr*>(&address), size) != 0)
        throw std::runtime_error("no port is free");
    getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &size);
    listen(m_listener, 8);
    url = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port));
    m_thread = std::thread([this] { run(); });
}

TinyServer::~TinyServer()
{
    shutdown(m_listener, SHUT_RDWR);
    m_thread.join();
    close(m_listener);
    for (const int connection : m_silent)
        close(connection);
}

std::string TinyServer::request() const
{
    Locker hold(m_lock);
    return m_request;
}

void TinyServer::setAnswer(Pieces pieces)
{
    Locker hold(m_lock);
    m_pieces = std::move(pieces);
}

TinyServer::Pieces TinyServer::whole(std::string answer)
{
    return [answer = std::move(answer)](size_t number) { return number == 0 ? answer : ""; };
}

TinyServer::Pieces TinyServer::repeated(std::string head, std::string piece, size_t times)
{
    return [head = std::move(head), piece = std::move(piece), times](size_t number) {
        return number == 0 ? head : number <= times ? piece : "";
    };
}

void TinyServer::run()
{
    for (int connection = accept(m_listener, nullptr, nullptr); connection >= 0;
         connection = accept(m_listener, nullptr, nullptr)) {
        read(connection);
        answer(connection);
    }
}

void TinyServer::answer(int connection)
{
    Pieces pieces;
    {
        Locker hold(m_lock);
        pieces = m_pieces;
    }
    std::string piece = pieces(0);
    if (piece.empty()) {
        m_silent.push_back(connection);
        return;
    }
    // The client is told not to come back on the same connection.
    if (const size_t end = piece.find("\r\n"); piece.starts_with("HTTP/") && end != std::string::npos)
        piece.insert(end, "\r\nConnection: close");
    if (const size_t self = piece.find("SELF"); self != std::string::npos)
        piece.replace(self, 4, url);
    for (size_t number = 1; !piece.empty(); piece = pieces(number++)) {
        size_t sent = 0;
        while (sent < piece.size()) {
            const ssize_t more = send(connection, piece.data() + sent, piece.size() - sent, MSG_NOSIGNAL);
            if (more <= 0)
                break;
            sent += static_cast<size_t>(more);
        }
        pollfd gone { connection, POLLIN | POLLRDHUP, 0 };
        if (sent < piece.size() || (m_pause > 0 && poll(&gone, 1, m_pause) != 0))
            break;
    }
    close(connection);
}

void TinyServer::read(int connection)
{
    std::string text;
    size_t length = std::string::npos;
    for (char buffer[4096]; text.size() < length;) {
        const ssize_t count = recv(connection, buffer, sizeof buffer, 0);
        if (count <= 0)
            break;
        text.append(buffer, static_cast<size_t>(count));
        if (const size_t end = text.find("\r\n\r\n"); end != std::string::npos) {
            const size_t field = text.find("Content-Length: ");
            length = end + 4 + (field == std::string::npos ? 0 : std::stoul(text.substr(field + 16)));
        }
    }
    Locker hold(m_lock);
    m_request = text;
}

} // namespace lumora::test
