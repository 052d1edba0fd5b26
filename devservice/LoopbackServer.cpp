#include "devservice/LoopbackServer.h"

#include "devservice/LocalServices.h"

#include <boost/asio.hpp>
#include <boost/beast.hpp>
#include <chrono>
#include <fcntl.h>
#include <iostream>
#include <optional>
#include <system_error>
#include <thread>

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using boost::asio::ip::tcp;

namespace lumora {

namespace {

constexpr std::chrono::seconds silenceLimit { 30 };
constexpr std::chrono::seconds farewellLimit { 5 };
constexpr std::chrono::milliseconds acceptPause { 100 };
constexpr size_t drainSize = 65536; // bytes

/// A program that ours starts would keep the socket open after us, and its port taken.
template <typename Socket> void keepFromChildren(Socket& socket)
{
    fcntl(socket.native_handle(), F_SETFD, FD_CLOEXEC);
}

/// One connection. It lives in the handlers of its pending operation and goes with the last of them.
class Session : public std::enable_shared_from_this<Session> {
public:
    Session(tcp::socket socket, LocalServices& services)
        : m_stream(std::move(socket))
        , m_delay(m_stream.get_executor())
        , m_services(services)
    {
    }

    void readHeader()
    {
        m_parser.emplace();
        m_parser->body_limit(LoopbackServer::bodyLimit);
        m_stream.expires_after(silenceLimit);
        http::async_read_header(
            m_stream, m_buffer, *m_parser, [self = shared_from_this()](auto error, size_t) {
                if (error)
                    self->refuse(error);
                else if (beast::iequals(self->m_parser->get()[http::field::expect], "100-continue"))
                    self->inviteBody();
                else
                    self->readBody();
            });
    }

private:
    void inviteBody()
    {
        static constexpr std::string_view invitation = "HTTP/1.1 100 Continue\r\n\r\n";
        asio::async_write(
            m_stream, asio::buffer(invitation), [self = shared_from_this()](auto error, size_t) {
                if (!error)
                    self->readBody();
            });
    }

    void readBody()
    {
        m_stream.expires_after(silenceLimit);
        http::async_read(m_stream, m_buffer, *m_parser, [self = shared_from_this()](auto error, size_t) {
            if (error)
                self->refuse(error);
            else
                self->answerRequest();
        });
    }

    void refuse(beast::error_code error)
    {
        if (error == http::error::body_limit)
            sendError(413, "the body is larger than 8 MiB");
        else if (error == http::error::header_limit)
            sendError(431, "the header is too long");
        else if (error.category() == http::make_error_code(http::error::bad_method).category()
            && error != http::error::end_of_stream && error != http::error::partial_message)
            sendError(400, "this is not HTTP: " + error.message());
    }

    void sendError(int status, const std::string& message) { send(errorAnswer(status, message), false); }

    void answerRequest()
    {
        auto& message = m_parser->get();
        ServiceRequest request { std::string(message.method_string()), std::string(message.target()), {},
            std::move(message.body()),
            std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count() };
        for (const auto& field : message)
            request.headers.emplace(field.name_string(), field.value());
        ServiceAnswer answer = m_services.handle(request);
        m_delay.expires_after(std::chrono::duration_cast<std::chrono::steady_clock::duration>(
            std::chrono::duration<double>(answer.delaySeconds)));
        m_delay.async_wait([self = shared_from_this(), answer = std::move(answer)](auto error) mutable {
            if (!error)
                self->send(std::move(answer), self->m_parser->keep_alive());
        });
    }

    void send(ServiceAnswer answer, bool keepAlive)
    {
        if (answer.ending == Ending::CloseWithoutAnswer)
            return farewell();
        m_response = {};
        m_response.result(static_cast<unsigned>(answer.status));
        for (const auto& [name, value] : answer.headers)
            m_response.insert(name, value);
        m_response.keep_alive(keepAlive);
        m_response.body() = std::move(answer.body);
        m_response.prepare_payload();
        const bool breaksOff = answer.ending == Ending::CloseMidBody;
        if (breaksOff)
            m_response.body().resize(m_response.body().size() / 2);
        if (m_parser->get().method() == http::verb::head)
            m_response.body().clear();
        m_stream.expires_after(silenceLimit);
        http::async_write(m_stream, m_response,
            [self = shared_from_this(), goesOn = keepAlive && !breaksOff](auto error, size_t) {
                if (!error && goesOn)
                    self->readHeader();
                else if (!error)
                    self->farewell();
            });
    }

    /// Ends our side and reads on until the client has ended its own: closing with bytes unread would reset
    /// the connection, and the client could lose an answer it has not looked at yet.
    void farewell()
    {
        beast::error_code ignored;
        m_stream.socket().shutdown(tcp::socket::shutdown_send, ignored);
        m_stream.expires_after(farewellLimit);
        drain();
    }

    void drain()
    {
        m_buffer.clear();
        m_stream.async_read_some(
            m_buffer.prepare(drainSize), [self = shared_from_this()](auto error, size_t) {
                if (!error)
                    self->drain();
            });
    }

    beast::tcp_stream m_stream;
    asio::steady_timer m_delay;
    LocalServices& m_services;
    beast::flat_buffer m_buffer;
    std::optional<http::request_parser<http::string_body>> m_parser;
    http::response<http::string_body> m_response;
};

} // namespace

struct LoopbackServer::Running {
    Running(LocalServices& services, uint16_t port)
        : m_services(services)
        , m_acceptor(m_context)
        , m_pause(m_context)
    {
        const tcp::endpoint endpoint(asio::ip::address_v4::loopback(), port);
        m_acceptor.open(endpoint.protocol());
        keepFromChildren(m_acceptor);
        m_acceptor.set_option(tcp::acceptor::reuse_address(true));
        m_acceptor.bind(endpoint);
        m_acceptor.listen();
        m_port = m_acceptor.local_endpoint().port();
        accept();
        m_thread = std::thread([this] { run(); });
    }

    ~Running()
    {
        m_context.stop();
        m_thread.join();
    }

    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

    uint16_t port() const { return m_port; }

private:
    void accept()
    {
        m_acceptor.async_accept([this](auto error, tcp::socket socket) {
            if (!error) {
                keepFromChildren(socket);
                std::make_shared<Session>(std::move(socket), m_services)->readHeader();
                return accept();
            }
            m_pause.expires_after(acceptPause); // out of descriptors, say: trying again at once would spin
            m_pause.async_wait([this](auto cancelled) {
                if (!cancelled)
                    accept();
            });
        });
    }

    void run()
    {
        while (!m_context.stopped()) {
            try {
                m_context.run();
            } catch (const std::exception& error) { // ends the connection it came from, no more
                std::cerr << "loopback server: " << error.what() << '\n';
            }
        }
    }

    LocalServices& m_services;
    asio::io_context m_context { 1 };
    tcp::acceptor m_acceptor;
    asio::steady_timer m_pause;
    uint16_t m_port = 0;
    std::thread m_thread;
};

LoopbackServer::LoopbackServer(LocalServices& services, uint16_t port)
    : m_services(services)
    , m_port(port)
{
}

LoopbackServer::~LoopbackServer() = default;

void LoopbackServer::start()
{
    if (m_running)
        return;
    try {
        m_running = std::make_unique<Running>(m_services, m_port);
    } catch (const boost::system::system_error& error) {
        throw std::system_error(error.code(), "cannot listen on 127.0.0.1:" + std::to_string(m_port));
    }
    m_port = m_running->port();
}

void LoopbackServer::stop() { m_running.reset(); }

std::string LoopbackServer::configurationURL() const
{
    return collectorURL() + std::string(ConfigurationService::apiPath);
}

std::string LoopbackServer::collectorURL() const { return "http://127.0.0.1:" + std::to_string(m_port); }

} // namespace lumora
