#include "platform/dispatch/DispatchApply.h"

#include "platform/process/Lock.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <thread>

namespace lumora {

namespace {

/// What the threads of one call share. It outlives the call: a queue may get to it when all is done.
class Application {
public:
    Application(size_t iterations, const std::function<void(size_t)>& block)
        : m_iterations(iterations)
        , m_block(block)
    {
    }

    /// Takes numbers until there are none left. The block is touched only with a number in hand, while the
    /// caller still waits.
    void work()
    {
        for (size_t i = m_next++; i < m_iterations; i = m_next++) {
            std::exception_ptr error;
            try {
                m_block(i);
            } catch (...) {
                error = std::current_exception();
            }
            Locker hold(m_lock);
            if (!m_error)
                m_error = error;
            if (++m_done == m_iterations)
                m_allDone.notify_all();
        }
    }

    void wait()
    {
        Locker hold(m_lock);
        while (m_done < m_iterations)
            hold.wait(m_allDone);
        if (m_error)
            std::rethrow_exception(m_error);
    }

private:
    const size_t m_iterations;
    const std::function<void(size_t)>& m_block;
    std::atomic<size_t> m_next { 0 };
    Lock m_lock;
    std::condition_variable m_allDone;
    size_t m_done LUMORA_GUARDED_BY(m_lock) { 0 };
    std::exception_ptr m_error LUMORA_GUARDED_BY(m_lock);
};

} // namespace

void dispatch_apply(size_t iterations, DispatchQueue& queue, const std::function<void(size_t)>& block)
{
    const auto application = std::make_shared<Application>(iterations, block);
    // One helper at least: calls may wait for each other.
    const size_t threads = std::min<size_t>(std::max(2U, std::thread::hardware_concurrency()), iterations);
    try {
        for (size_t i = 1; i < threads; i++)
            queue.async([application] { application->work(); });
    } catch (...) { // NOLINT(bugprone-empty-catch): no memory for another helper; those that were posted need
                    // the block
    }
    application->work();
    application->wait();
}

} // namespace lumora
