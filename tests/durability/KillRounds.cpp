// Kills a phone again and again, at random instants, while events are stored, parked, filled, sent and
// removed, and looks each time whether the store opens and holds what it must.
//
//   kill_rounds [rounds] [seed]
//
// A life is a process of its own. It says on a pipe what it is about to do and what it has done:
//   B id   an event is about to be handed over
//   S id   the hand-over has returned: the event is stored
//   D id   the service has it
// An event that was stored, parked ones included, and was not given to the service must be in the store after
// the kill. Every fifth life runs on a disk that fills up: there only what earlier lives stored is asked for.

#include "lumora/Lumora.h"
#include "platform/dispatch/Executor.h"
#include "platform/foundation/NSJSONSerialization.h"
#include "platform/uikit/UIView.h"
#include "service/LMEventsManager.h"
#include "simulator/Phone.h"
#include "tests/platform/TestProcess.h"
#include "tests/service/Events.h"

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <poll.h>
#include <random>
#include <set>
#include <spawn.h>
#include <sstream>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace lumora {
namespace {

namespace fs = std::filesystem;

constexpr const char* key = "a-key-of-the-kill-rounds-that-is-long-enough";
constexpr int saysTo = 3;
constexpr int lastLife = -1;

/// One write, so that a line arrives whole or not at all.
void say(char what, const std::string& id)
{
    const std::string line = std::string { what } + ' ' + id + '\n';
    if (write(saysTo, line.data(), line.size()) != static_cast<ssize_t>(line.size()))
        std::_Exit(3);
}

/// A markup that only this event can have.
std::string markupOf(const std::string& id)
{
    const size_t seed = std::hash<std::string> {}(id);
    return id + std::string(seed % 50 == 0 ? 200'000 : seed % 4000, static_cast<char>('a' + seed % 26));
}

/// A service in the same program that says what it has got, and is away now and then.
class SayingTransport final : public HTTPTransport {
public:
    void start(HTTPExchangeRequest request, Completion completion) override
    {
        dispatch_get_global_queue().asyncAfter(0.001, [this, request = std::move(request), completion] {
            HTTPExchangeAnswer answer;
            answer.status = 200;
            answer.body = R"({"active": true, "ttlConfig": 100000, "retryAfter": 100000, "retryLimit": -1})";
            if (request.method == "POST") {
                const auto body = JSONObjectWithData(request.body);
                const NSArray* reports = body ? body->array() : nullptr;
                if (!m_isReliable && m_count++ % 3 == 0) {
                    answer.error = "the connection was lost";
                    answer.errorCode = -1005;
                } else if (reports) {
                    say('D', (*reports->at(0).dictionary())["video"].stringOrEmpty());
                }
            }
            completion(std::move(answer));
        });
    }
    void stop() override { }
    void beReliable() { m_isReliable = true; }

private:
    std::atomic<int> m_count { 0 };
    std::atomic<bool> m_isReliable { false };
};

class Life {
public:
    Life(const fs::path& home, int number)
        : m_transport(std::make_shared<SayingTransport>())
        , m_phone({ .virtualTime = false, .home = home, .makeTransport = [this] { return m_transport; } })
        , m_number(number)
        , m_random(static_cast<unsigned>(number))
    {
        Lumora::initiateTrackerWithKey(key);
    }

    [[noreturn]] void untilKilled()
    {
        std::thread other([this] {
            Process::Scope scope(m_phone.process());
            for (int i = 0;; i++)
                store("-other-", i);
        });
        for (int i = 0;; i++)
            act(i);
    }

    /// Sends what is there; true when nothing is left.
    bool drain()
    {
        m_transport->beReliable();
        return m_phone.waitUntil(
            [] {
                LMEventsManager::shared().sendBackupEvents();
                return LMEventsSaverUserDefaultsProvider().eventsCount() == 0;
            },
            300);
    }

private:
    std::shared_ptr<TDEventModel> event(const char* who, int count)
    {
        auto event = make<TDEventModel>();
        const std::string id = std::to_string(m_number) + who + std::to_string(count);
        event->setVideo(id);
        event->setHtml(markupOf(id));
        // Filled events share an identifier; their times tell them apart.
        event->setTs(count);
        say('B', id);
        return event;
    }

    void store(const char* who, int count)
    {
        const auto stored = event(who, count);
        LMEventsManager::shared().handleEvent(stored, nullptr);
        say('S', *stored->video());
    }

    void act(int count)
    {
        switch (m_random() % 6) {
        case 0:
            store("-main-", count);
            break;
        case 1: {
            const auto parked = event("-parked-", count);
            LMEventsManager::shared().handleEventAsPending(parked, m_view.get());
            say('S', *parked->video());
            break;
        }
        case 2:
            LMEventsManager::shared().checkProcessorForPendingEvents(*test::Filler::of(m_view));
            break;
        case 3:
            LMEventsManager::shared().sendBackupEvents();
            break;
        default:
            m_phone.wait(0.001);
        }
    }

    std::shared_ptr<SayingTransport> m_transport;
    Phone m_phone;
    int m_number;
    std::mt19937 m_random;
    std::shared_ptr<UIView> m_view { make<UIView>() };
};

int live(const fs::path& home, int number, rlim_t diskLimit)
{
    if (diskLimit > 0) {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit { .rlim_cur = diskLimit, .rlim_max = diskLimit };
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    Life life(home, number);
    if (number == lastLife)
        return life.drain() ? 0 : 1;
    life.untilKilled();
}

/// Watches lives from outside and keeps the account.
class Rounds {
public:
    explicit Rounds(unsigned seed)
        : m_random(seed)
    {
    }

    bool round(int number)
    {
        const bool isDiskFull = number % 5 == 4;
        const auto size = fs::exists(file()) ? fs::file_size(file()) : 0;
        const std::string heard = lifeAndDeath(number, isDiskFull ? size + m_random() % 20'000 + 1 : 0);
        listen(heard, !isDiskFull);
        return check(number);
    }

    /// All that was stored must have come to the service in the end.
    bool finish()
    {
        listen(lifeAndDeath(lastLife, 0), true);
        size_t undelivered = 0;
        for (const std::string& id : m_kept)
            undelivered += m_delivered.contains(id) ? 0 : 1;
        std::printf("%zu events stored, %zu delivered, %zu of the stored ones never\n", m_kept.size(),
            m_delivered.size(), undelivered);
        return undelivered == 0 && !m_kept.empty();
    }

private:
    fs::path file() const { return m_home.path / "Library/Preferences/com.example.daily.plist"; }

    /// Starts a life, kills it after a while, and answers what it said; the last one ends by itself.
    std::string lifeAndDeath(int number, uint64_t diskLimit)
    {
        std::array<int, 2> pipe {};
        if (pipe2(pipe.data(), O_CLOEXEC) != 0)
            std::abort();
        posix_spawn_file_actions_t files;
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_adddup2(&files, pipe[1], saysTo);
        std::array<std::string, 5> words { "kill_rounds", "--life", m_home.path.string(),
            std::to_string(number), std::to_string(diskLimit) };
        std::array<char*, 6> arguments {};
        for (size_t i = 0; i < words.size(); i++)
            arguments[i] = words[i].data();
        pid_t life = 0;
        if (posix_spawn(&life, "/proc/self/exe", &files, nullptr, arguments.data(), environ) != 0)
            std::abort();
        posix_spawn_file_actions_destroy(&files);
        close(pipe[1]);
        std::string heard;
        std::array<char, 65536> chunk {};
        // Mostly in the thick of it, now and then during the start.
        const bool mayStart = m_random() % 8 != 0;
        const std::chrono::microseconds lifetime(m_random() % 150'000);
        auto since = std::chrono::steady_clock::now();
        auto isTime = [&] {
            if (mayStart && heard.empty())
                since = std::chrono::steady_clock::now();
            return number != lastLife && std::chrono::steady_clock::now() >= since + lifetime;
        };
        for (bool isKilled = false;;) {
            if (isTime() && !isKilled) {
                kill(life, SIGKILL);
                isKilled = true;
            }
            pollfd readable { pipe[0], POLLIN, 0 };
            if (poll(&readable, 1, 1) <= 0)
                continue;
            const ssize_t length = read(pipe[0], chunk.data(), chunk.size());
            if (length <= 0)
                break;
            heard.append(chunk.data(), static_cast<size_t>(length));
        }
        close(pipe[0]);
        int status = 0;
        waitpid(life, &status, 0);
        if (WIFEXITED(status) && (number != lastLife || WEXITSTATUS(status) != 0))
            fail("a life ended by itself", std::to_string(WEXITSTATUS(status)));
        return heard;
    }

    void listen(const std::string& heard, bool isDiskGood)
    {
        std::istringstream lines(heard);
        char what = 0;
        for (std::string id; lines >> what >> id;) {
            if (what == 'B') {
                m_begun.insert(id);
            } else if (what == 'D') {
                m_delivered.insert(id);
            } else if (isDiskGood) {
                m_kept.insert(id);
            }
        }
    }

    bool check(int number)
    {
        Phone phone { { .home = m_home.path } };
        std::set<std::string> stored;
        for (const auto& event : LMEventsSaverUserDefaultsProvider().getAllEvents()) {
            const std::string id = event->video().value_or("");
            stored.insert(id);
            if (!m_begun.contains(id))
                fail("nobody stored", id);
            if (event->html() != markupOf(id))
                fail("torn", id);
        }
        if (fs::exists(file().string() + ".damaged"))
            fail("damaged", "the store");
        for (const std::string& id : m_kept) {
            if (!stored.contains(id) && !m_delivered.contains(id))
                fail("lost in round " + std::to_string(number), id);
        }
        return !m_hasFailed;
    }

    void fail(const std::string& how, const std::string& what)
    {
        std::printf("%s: %s\n", how.c_str(), what.c_str());
        m_hasFailed = true;
    }

    std::mt19937 m_random;
    test::TemporaryFolder m_home;
    std::set<std::string> m_begun;
    std::set<std::string> m_kept;
    std::set<std::string> m_delivered;
    bool m_hasFailed { false };
};

} // namespace
} // namespace lumora

int main(int count, char** words)
{
    using namespace lumora;
    if (count == 5 && std::string_view { words[1] } == "--life")
        return live(words[2], std::stoi(words[3]), std::stoul(words[4]));
    const int rounds = count > 1 ? std::atoi(words[1]) : 1000;
    const unsigned seed = count > 2 ? static_cast<unsigned>(std::atoi(words[2])) : 1;
    Rounds watched(seed);
    for (int i = 0; i < rounds; i++) {
        if (!watched.round(i)) {
            std::printf("failed in round %d of seed %u\n", i, seed);
            return 1;
        }
    }
    if (!watched.finish())
        return 1;
    std::printf("%d rounds: nothing lost, nothing torn\n", rounds);
    return 0;
}
