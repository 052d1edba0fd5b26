#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace lumora {

enum class ArrivalKind { ConfigurationFetch, Impression, AdRecord, Report };

/// One request as it came in, byte for byte.
struct Arrival {
    int64_t number = 0; ///< counts up over all kinds; given by the store
    ArrivalKind kind = ArrivalKind::ConfigurationFetch;
    double receivedAt = 0; ///< seconds since 1970
    std::string target; ///< path and query
    std::string authorization; ///< the header's value, empty without one
    std::string body;
    bool isJSON = false;
    int status = 0; ///< what was answered; 0 when the connection was closed unanswered
};

class StoreError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Keeps arrivals in an SQLite database: a file, which later runs go on with, or ":memory:".
/// Belongs to one ConfigurationService, which serialises the calls. Every failure, also the constructor's, is
/// a StoreError carrying SQLite's own words; a failed add() leaves nothing behind.
class ArrivalStore {
public:
    static constexpr int64_t noLimit = -1;

    explicit ArrivalStore(const std::string& path);

    void add(const Arrival&);
    int64_t count(ArrivalKind);
    std::vector<Arrival> newestFirst(ArrivalKind, int64_t limit = noLimit);

private:
    struct Close {
        void operator()(sqlite3*) const;
        void operator()(sqlite3_stmt*) const;
    };
    using Statement = std::unique_ptr<sqlite3_stmt, Close>;

    void execute(const char* sql);
    Statement prepare(const char* sql);
    bool step(sqlite3_stmt*);
    void check(int result) const;

    std::unique_ptr<sqlite3, Close> m_database; // declared first: statements go before it
    Statement m_insert;
    Statement m_count;
    Statement m_select;
};

} // namespace lumora
