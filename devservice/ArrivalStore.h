#pragma once

#include "platform/process/Lock.h"

#include <cstdint>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace lumora {

/// Kept as numbers: new ones go to the end.
enum class ArrivalKind {
    ConfigurationFetch,
    Impression,
    AdRecord,
    Report,
    Screenshots,
    SourceHashes,
    Batch,
    Complaint,
    Event,
    Log
};

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
    std::string decrypted {}; ///< the JSON inside of an encrypted body
    std::string headers {}; ///< a JSON object of those that a body is opened with, empty without any
    /// That it brings. They are kept with it, none of them twice and no empty one, and not read back.
    std::vector<std::string> hashes {};
    size_t bodySize = 0; ///< in bytes, also when only the start of the body was read; given by the store
};

class StoreError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Keeps arrivals, and the hashes that some of them brought, in an SQLite database: a file, which later runs
/// go on with, or ":memory:". Any thread. Every failure, also the constructor's, is a StoreError carrying
/// SQLite's own words.
class ArrivalStore {
public:
    static constexpr int64_t noLimit = std::numeric_limits<int64_t>::max();
    static constexpr size_t excerptSize = 4096;

    explicit ArrivalStore(const std::string& path);

    /// Keeps the arrival and what it brings, or nothing of either.
    void add(const Arrival&);
    int64_t count(ArrivalKind);
    /// Bodies are read whole while they fit into `budget` bytes together, and what is inside of them with
    /// them; of one that does not fit any more only the first excerptSize bytes of both.
    std::vector<Arrival> newestFirst(ArrivalKind, int64_t limit = noLimit, int64_t budget = noLimit);
    std::vector<Arrival> oldestFirst(ArrivalKind);

    /// Whether an arrival of the kind has brought it.
    bool hasHash(ArrivalKind, const std::string&);

private:
    struct Close {
        void operator()(sqlite3*) const;
        void operator()(sqlite3_stmt*) const;
    };
    using Statement = std::unique_ptr<sqlite3_stmt, Close>;

    static Statement prepare(sqlite3*, const char* sql);

    Lock m_lock;
    // Before the statements, which go first.
    std::unique_ptr<sqlite3, Close> m_database LUMORA_GUARDED_BY(m_lock);
    Statement m_insert LUMORA_GUARDED_BY(m_lock);
    Statement m_count LUMORA_GUARDED_BY(m_lock);
    Statement m_select LUMORA_GUARDED_BY(m_lock);
    Statement m_insertHash LUMORA_GUARDED_BY(m_lock);
    Statement m_findHash LUMORA_GUARDED_BY(m_lock);
};

} // namespace lumora
