#include "platform/linux/CurlTransport.h"

#include "platform/foundation/NSError.h"
#include "platform/foundation/NSURLSession.h"
#include "platform/process/Lock.h"
#include "platform/process/SignalsBlocked.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <curl/curl.h>
#include <map>
#include <new>
#include <optional>
#include <stop_token>
#include <thread>

namespace lumora {

namespace {

constexpr long mostRedirects = 20;
constexpr long mostConnectionsPerHost = 6;
// Bytes a second that a slow radio sends.
constexpr double slowUpload = 32 << 10;

int errorCodeOf(CURLcode result)
{
    switch (result) {
    case CURLE_ABORTED_BY_CALLBACK:
        return NSURLErrorCancelled;
    case CURLE_OPERATION_TIMEDOUT:
        return NSURLErrorTimedOut;
    case CURLE_URL_MALFORMAT:
        return NSURLErrorBadURL;
    case CURLE_UNSUPPORTED_PROTOCOL:
        return NSURLErrorUnsupportedURL;
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
        return NSURLErrorCannotFindHost;
    case CURLE_COULDNT_CONNECT:
        return NSURLErrorCannotConnectToHost;
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
        return NSURLErrorNetworkConnectionLost;
    case CURLE_TOO_MANY_REDIRECTS:
        return NSURLErrorHTTPTooManyRedirects;
    case CURLE_PEER_FAILED_VERIFICATION:
        return NSURLErrorServerCertificateUntrusted;
    case CURLE_SSL_CONNECT_ERROR:
        return NSURLErrorSecureConnectionFailed;
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_BAD_CONTENT_ENCODING:
        return NSURLErrorBadServerResponse;
    default:
        return NSURLErrorUnknown;
    }
}

struct FreeList {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
struct FreeEasy {
    void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};
struct FreeMulti {
    void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
};

/// One exchange under way. Belongs to the transport's thread once it has started.
class Exchange {
public:
    Exchange(HTTPExchangeRequest request, HTTPTransport::Completion completion)
        : m_request(std::move(request))
        , m_completion(std::move(completion))
        , m_collector(m_request.longestBody)
    {
    }

    /// The handle to run in `multi`, which is woken when the exchange is cancelled and has to outlive it;
    /// null when there is no memory for one.
    CURL* prepared(CURLM* multi);
    bool isCancelled() const { return m_request.cancellation.stop_requested(); }
    void finish(CURLcode result);

private:
    struct Wake {
        void operator()() const { curl_multi_wakeup(multi); }
        CURLM* multi;
    };

    static size_t bodyArrived(char* bytes, size_t size, size_t count, void* exchange);
    static size_t headerArrived(char* bytes, size_t size, size_t count, void* exchange);
    void addHeaders();
    void setMethod(CURL* easy);
    void setTimeout(CURL* easy);

    HTTPExchangeRequest m_request;
    HTTPTransport::Completion m_completion;
    HTTPAnswerCollector m_collector;
    std::unique_ptr<CURL, FreeEasy> m_easy;
    std::unique_ptr<curl_slist, FreeList> m_headers;
    std::array<char, CURL_ERROR_SIZE> m_errorText {};
    std::optional<std::stop_callback<Wake>> m_wakeWhenCancelled;
};

void Exchange::addHeaders()
{
    auto append = [&](std::string line) {
        // A line break would begin a header of its own.
        std::replace_if(
            line.begin(), line.end(), [](char c) { return c == '\r' || c == '\n' || c == '\0'; }, ' ');
        if (curl_slist* longer = curl_slist_append(m_headers.get(), line.c_str())) {
            static_cast<void>(m_headers.release());
            m_headers.reset(longer);
        }
    };
    // An empty one is written with a semicolon; with a colon it would remove the library's own.
    for (const auto& [name, value] : m_request.headers)
        append(value.empty() ? name + ";" : std::string { name }.append(": ").append(value));
    // No extra round trip before a large body.
    append("Expect:");
}

void Exchange::setMethod(CURL* easy)
{
    const std::string& method = m_request.method;
    if (!m_request.body.empty() || method == "POST") {
        curl_easy_setopt(easy, CURLOPT_POST, 1L);
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(m_request.body.size()));
        curl_easy_setopt(easy, CURLOPT_POSTFIELDS, m_request.body.data());
    }
    if (method == "HEAD")
        curl_easy_setopt(easy, CURLOPT_NOBODY, 1L);
    else if (method != "POST" && (method != "GET" || !m_request.body.empty()))
        curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, method.c_str());
}

void Exchange::setTimeout(CURL* easy)
{
    const double seconds = std::isnan(m_request.timeout) ? 60 : std::clamp(m_request.timeout, 0.001, 1e6);
    const double upload = static_cast<double>(m_request.body.size()) / slowUpload;
    curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, std::lround((seconds + upload) * 1000));
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, std::lround(seconds * 1000));
}

CURL* Exchange::prepared(CURLM* multi)
{
    m_wakeWhenCancelled.emplace(m_request.cancellation, Wake { multi });
    m_easy.reset(curl_easy_init());
    CURL* easy = m_easy.get();
    if (!easy)
        return nullptr;
    curl_easy_setopt(easy, CURLOPT_URL, m_request.url.c_str());
    curl_easy_setopt(easy, CURLOPT_PATH_AS_IS, 1L);
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    // What began encrypted is not sent again in the clear.
    const bool isEncrypted = curl_strnequal(m_request.url.c_str(), "https:", 6);
    curl_easy_setopt(easy, CURLOPT_REDIR_PROTOCOLS_STR, isEncrypted ? "https" : "http,https");
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, 1L);
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, 2L);
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(easy, CURLOPT_MAXREDIRS, mostRedirects);
    setTimeout(easy);
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    // Stopping does not wait for a name server.
    curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);
    // What a proxy says about its tunnel is no answer of the service.
    curl_easy_setopt(easy, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, "gzip, deflate");
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, m_errorText.data());
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &bodyArrived);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &headerArrived);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(easy, CURLOPT_PRIVATE, this);
    addHeaders();
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, m_headers.get());
    setMethod(easy);
    return easy;
}

size_t Exchange::bodyArrived(char* bytes, size_t size, size_t count, void* exchange)
{
    return static_cast<Exchange*>(exchange)->m_collector.addBody({ bytes, size * count }) ? size * count : 0;
}

size_t Exchange::headerArrived(char* bytes, size_t size, size_t count, void* exchange)
{
    auto& collector = static_cast<Exchange*>(exchange)->m_collector;
    return collector.addHeaderLine({ bytes, size * count }) ? size * count : 0;
}

void Exchange::finish(CURLcode result)
{
    HTTPExchangeAnswer answer;
    long status = 0;
    curl_easy_getinfo(m_easy.get(), CURLINFO_RESPONSE_CODE, &status);
    // The library calls a header line beyond its own 100 KiB out of memory.
    const bool isTooLong = m_collector.isFull() || (result == CURLE_OUT_OF_MEMORY && status > 0);
    // One that is too long has been answered, unless all that came was interim.
    if (result == CURLE_OK || (isTooLong && status >= 200)) {
        answer = m_collector.take();
        answer.status = static_cast<int>(status);
        long redirects = 0;
        const char* url = nullptr;
        if (curl_easy_getinfo(m_easy.get(), CURLINFO_REDIRECT_COUNT, &redirects) == CURLE_OK && redirects > 0
            && curl_easy_getinfo(m_easy.get(), CURLINFO_EFFECTIVE_URL, &url) == CURLE_OK && url)
            answer.url = url;
        answer.bodyIsLeftOut |= isTooLong;
    } else {
        answer.error = isTooLong ? "the answer is too long"
            : m_errorText[0]     ? m_errorText.data()
                                 : curl_easy_strerror(result);
        answer.errorCode = isTooLong ? NSURLErrorDataLengthExceedsMaximum : errorCodeOf(result);
    }
    m_completion(std::move(answer));
}

class CurlTransport final : public HTTPTransport {
public:
    ~CurlTransport() override { CurlTransport::stop(); }

    void start(HTTPExchangeRequest request, Completion completion) override;
    void stop() override;

private:
    using Exchanges = std::vector<std::unique_ptr<Exchange>>;

    void run();
    void breakOffCancelled();
    void finishDone();
    void finish(CURL* easy, CURLcode result);

    std::unique_ptr<CURLM, FreeMulti> m_multi;
    Lock m_lock;
    Exchanges m_incoming LUMORA_GUARDED_BY(m_lock);
    bool m_isStopped LUMORA_GUARDED_BY(m_lock) { false };
    std::thread m_thread LUMORA_GUARDED_BY(m_lock);
    // The thread's own, and the one's that stopped it.
    std::map<CURL*, std::unique_ptr<Exchange>> m_running;
};

void CurlTransport::start(HTTPExchangeRequest request, Completion completion)
{
    static const CURLcode initialised = curl_global_init(CURL_GLOBAL_DEFAULT);
    static_cast<void>(initialised);
    auto exchange = std::make_unique<Exchange>(std::move(request), std::move(completion));
    Locker hold(m_lock);
    if (m_isStopped)
        return;
    if (!m_thread.joinable()) {
        // Made here, as each takes file descriptors and most processes of a fleet never send.
        m_multi.reset(curl_multi_init());
        if (!m_multi)
            throw std::bad_alloc();
        curl_multi_setopt(m_multi.get(), CURLMOPT_MAX_HOST_CONNECTIONS, mostConnectionsPerHost);
        const SignalsBlocked blocked;
        m_thread = std::thread([this] { run(); });
    }
    // Only now: what raised above has started nothing.
    m_incoming.push_back(std::move(exchange));
    curl_multi_wakeup(m_multi.get());
}

void CurlTransport::stop()
{
    std::thread thread;
    Exchanges dropped;
    {
        Locker hold(m_lock);
        m_isStopped = true;
        dropped.swap(m_incoming);
        thread.swap(m_thread);
    }
    if (!thread.joinable())
        return;
    curl_multi_wakeup(m_multi.get());
    thread.join();
    // What completions hold goes on this thread, inside its process.
    for (const auto& [easy, exchange] : m_running)
        curl_multi_remove_handle(m_multi.get(), easy);
    m_running.clear();
}

void CurlTransport::run()
{
    constexpr int longestWait = 60'000;
    for (;;) {
        Exchanges incoming;
        {
            Locker hold(m_lock);
            if (m_isStopped)
                return;
            incoming.swap(m_incoming);
        }
        for (std::unique_ptr<Exchange>& exchange : incoming) {
            CURL* easy = exchange->prepared(m_multi.get());
            if (!easy || curl_multi_add_handle(m_multi.get(), easy) != CURLM_OK)
                exchange->finish(CURLE_OUT_OF_MEMORY);
            else
                m_running.emplace(easy, std::move(exchange));
        }
        breakOffCancelled();
        int running = 0;
        curl_multi_perform(m_multi.get(), &running);
        finishDone();
        curl_multi_poll(m_multi.get(), nullptr, 0, longestWait, nullptr);
    }
}

// Here and not from a callback of the library's: that would wait for a byte to move, which a stalled upload
// never does.
void CurlTransport::breakOffCancelled()
{
    for (auto next = m_running.begin(); next != m_running.end();) {
        const auto exchange = next++;
        if (exchange->second->isCancelled())
            finish(exchange->first, CURLE_ABORTED_BY_CALLBACK);
    }
}

void CurlTransport::finishDone()
{
    int left = 0;
    while (CURLMsg* message = curl_multi_info_read(m_multi.get(), &left)) {
        if (message->msg == CURLMSG_DONE)
            finish(message->easy_handle, message->data.result);
    }
}

void CurlTransport::finish(CURL* easy, CURLcode result)
{
    auto done = m_running.extract(easy);
    curl_multi_remove_handle(m_multi.get(), easy);
    done.mapped()->finish(result);
}

} // namespace

std::unique_ptr<HTTPTransport> makeCurlTransport() { return std::make_unique<CurlTransport>(); }

} // namespace lumora
