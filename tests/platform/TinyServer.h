#pragma once

#include "platform/process/Lock.h"

#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace lumora::test {

/// Listens on 127.0.0.1 and answers each connection with raw bytes once its request has come, then closes it;
/// one connection after the other, on a thread of its own. "SELF" in an answer stands for the server's own
/// address; an empty answer keeps the connection open and silent.
class TinyServer {
public:
    /// The pieces of an answer that is too long to hold, asked for until one is empty or the client has gone.
    using Pieces = std::function<std::string(size_t number)>;

    explicit TinyServer(std::string answer = {});
    /// `pause` is the number of milliseconds between two pieces.
    explicit TinyServer(Pieces pieces, int pause = 0);
    ~TinyServer();
    TinyServer(const TinyServer&) = delete;
    TinyServer& operator=(const TinyServer&) = delete;

    std::string url;
    /// The last request, headers and body.
    std::string request() const;
    /// What the next connections are answered.
    void setAnswer(Pieces pieces);
    /// The same, from one text.
    static Pieces whole(std::string answer);
    /// A piece again and again after a head; for ever, or that often.
    static Pieces repeated(std::string head, std::string piece, size_t times = SIZE_MAX);

private:
    void run();
    void read(int connection);
    void answer(int connection);

    int m_pause;
    int m_listener;
    mutable Lock m_lock;
    Pieces m_pieces LUMORA_GUARDED_BY(m_lock);
    std::string m_request LUMORA_GUARDED_BY(m_lock);
    std::vector<int> m_silent;
    std::thread m_thread;
};

} // namespace lumora::test
