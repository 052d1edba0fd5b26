#pragma once

#include <condition_variable>
#include <mutex>

// Clang checks at compile time that what a lock guards is touched only while it is held; other compilers see
// nothing.
#if defined(__clang__)
#define LUMORA_ANNOTATION(x) __attribute__((x))
#else
#define LUMORA_ANNOTATION(x)
#endif

#define LUMORA_CAPABILITY(name) LUMORA_ANNOTATION(capability(name))
#define LUMORA_SCOPED_CAPABILITY LUMORA_ANNOTATION(scoped_lockable)
#define LUMORA_GUARDED_BY(lock) LUMORA_ANNOTATION(guarded_by(lock))
#define LUMORA_REQUIRES(...) LUMORA_ANNOTATION(requires_capability(__VA_ARGS__))
#define LUMORA_ACQUIRE(...) LUMORA_ANNOTATION(acquire_capability(__VA_ARGS__))
#define LUMORA_RELEASE(...) LUMORA_ANNOTATION(release_capability(__VA_ARGS__))
#define LUMORA_EXCLUDES(...) LUMORA_ANNOTATION(locks_excluded(__VA_ARGS__))

namespace lumora {

/// A mutex the compiler can check. Not recursive. No callback is ever called while one is held.
class LUMORA_CAPABILITY("mutex") Lock {
public:
    Lock() = default;
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

    void lock() LUMORA_ACQUIRE() { m_mutex.lock(); }
    void unlock() LUMORA_RELEASE() { m_mutex.unlock(); }

private:
    friend class Locker;
    std::mutex m_mutex;
};

/// Holds a Lock for the length of a block.
class LUMORA_SCOPED_CAPABILITY Locker {
public:
    explicit Locker(Lock& lock) LUMORA_ACQUIRE(lock)
        : m_hold(lock.m_mutex)
    {
    }
    ~Locker() LUMORA_RELEASE() = default;
    Locker(const Locker&) = delete;
    Locker& operator=(const Locker&) = delete;

    /// Gives the lock up while waiting for a notification, and holds it again on return.
    void wait(std::condition_variable& condition) { condition.wait(m_hold); }

    template <typename Duration> void waitFor(std::condition_variable& condition, Duration duration)
    {
        condition.wait_for(m_hold, duration);
    }

private:
    std::unique_lock<std::mutex> m_hold;
};

} // namespace lumora
