#include "devservice/ArrivalStore.h"

#include <algorithm>
#include <sqlite3.h>

namespace lumora {

namespace {

/// Leaves a statement ready for its next use, and holding no row, however the block is left.
class Use {
public:
    explicit Use(sqlite3_stmt* statement)
        : m_statement(statement)
    {
    }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;
    ~Use()
    {
        sqlite3_reset(m_statement);
        sqlite3_clear_bindings(m_statement);
    }

private:
    sqlite3_stmt* m_statement;
};

int bindText(sqlite3_stmt* statement, int index, const std::string& text)
{
    return sqlite3_bind_text64(statement, index, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8);
}

std::string columnBytes(sqlite3_stmt* statement, int index)
{
    const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement, index));
    const auto size = static_cast<size_t>(sqlite3_column_bytes(statement, index));
    return bytes ? std::string(bytes, size) : std::string();
}

} // namespace

void ArrivalStore::Close::operator()(sqlite3* database) const { sqlite3_close(database); }
void ArrivalStore::Close::operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }

ArrivalStore::ArrivalStore(const std::string& path)
{
    sqlite3* database = nullptr;
    const int result = sqlite3_open_v2(
        path.c_str(), &database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
    m_database.reset(database);
    if (!database)
        throw StoreError("out of memory opening " + path);
    check(result);
    check(sqlite3_busy_timeout(database, 2000));
    execute("PRAGMA journal_mode=WAL");
    execute("PRAGMA synchronous=NORMAL");
    execute(
        "CREATE TABLE IF NOT EXISTS arrivals(number INTEGER PRIMARY KEY AUTOINCREMENT, kind INTEGER NOT NULL,"
        " receivedAt REAL NOT NULL, target TEXT NOT NULL, authorization TEXT NOT NULL, body BLOB NOT NULL,"
        " isJSON INTEGER NOT NULL, status INTEGER NOT NULL)");
    execute("CREATE INDEX IF NOT EXISTS arrivalsByKind ON arrivals(kind, number)");
    execute("CREATE TABLE IF NOT EXISTS hashes(kind INTEGER NOT NULL, hash TEXT NOT NULL,"
            " PRIMARY KEY(kind, hash)) WITHOUT ROWID");
    // Files of earlier versions lack it.
    if (!step(prepare("SELECT 1 FROM pragma_table_info('arrivals') WHERE name = 'decrypted'").get()))
        execute("ALTER TABLE arrivals ADD COLUMN decrypted BLOB NOT NULL DEFAULT ''");
    m_insert = prepare(
        "INSERT INTO arrivals(kind, receivedAt, target, authorization, body, isJSON, status, decrypted)"
        " VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8)");
    m_count = prepare("SELECT count(*) FROM arrivals WHERE kind = ?1");
    m_select = prepare("SELECT number, receivedAt, target, authorization, body, isJSON, status, decrypted"
                       " FROM arrivals WHERE kind = ?1 ORDER BY number DESC LIMIT ?2");
    m_insertHash = prepare("INSERT OR IGNORE INTO hashes(kind, hash) VALUES(?1, ?2)");
    m_findHash = prepare("SELECT 1 FROM hashes WHERE kind = ?1 AND hash = ?2");
}

void ArrivalStore::add(const Arrival& arrival)
{
    const Locker locker(m_lock);
    sqlite3_stmt* insert = m_insert.get();
    const Use use(insert);
    check(sqlite3_bind_int(insert, 1, static_cast<int>(arrival.kind)));
    check(sqlite3_bind_double(insert, 2, arrival.receivedAt));
    check(bindText(insert, 3, arrival.target));
    check(bindText(insert, 4, arrival.authorization));
    check(sqlite3_bind_blob64(insert, 5, arrival.body.data(), arrival.body.size(), SQLITE_STATIC));
    check(sqlite3_bind_int(insert, 6, arrival.isJSON));
    check(sqlite3_bind_int(insert, 7, arrival.status));
    check(sqlite3_bind_blob64(insert, 8, arrival.decrypted.data(), arrival.decrypted.size(), SQLITE_STATIC));
    step(insert);
}

int64_t ArrivalStore::count(ArrivalKind kind)
{
    const Locker locker(m_lock);
    const Use use(m_count.get());
    check(sqlite3_bind_int(m_count.get(), 1, static_cast<int>(kind)));
    return step(m_count.get()) ? sqlite3_column_int64(m_count.get(), 0) : 0;
}

std::vector<Arrival> ArrivalStore::newestFirst(ArrivalKind kind, int64_t limit)
{
    const Locker locker(m_lock);
    sqlite3_stmt* select = m_select.get();
    const Use use(select);
    check(sqlite3_bind_int(select, 1, static_cast<int>(kind)));
    check(sqlite3_bind_int64(select, 2, limit));
    std::vector<Arrival> arrivals;
    while (step(select)) {
        arrivals.push_back({ sqlite3_column_int64(select, 0), kind, sqlite3_column_double(select, 1),
            columnBytes(select, 2), columnBytes(select, 3), columnBytes(select, 4),
            sqlite3_column_int(select, 5) != 0, sqlite3_column_int(select, 6), columnBytes(select, 7) });
    }
    return arrivals;
}

std::vector<Arrival> ArrivalStore::oldestFirst(ArrivalKind kind)
{
    std::vector<Arrival> arrivals = newestFirst(kind);
    std::reverse(arrivals.begin(), arrivals.end());
    return arrivals;
}

void ArrivalStore::addHashes(ArrivalKind kind, const std::vector<std::string>& hashes)
{
    const Locker locker(m_lock);
    for (const std::string& hash : hashes) {
        if (hash.empty())
            continue;
        const Use use(m_insertHash.get());
        check(sqlite3_bind_int(m_insertHash.get(), 1, static_cast<int>(kind)));
        check(bindText(m_insertHash.get(), 2, hash));
        step(m_insertHash.get());
    }
}

bool ArrivalStore::hasHash(ArrivalKind kind, const std::string& hash)
{
    const Locker locker(m_lock);
    const Use use(m_findHash.get());
    check(sqlite3_bind_int(m_findHash.get(), 1, static_cast<int>(kind)));
    check(bindText(m_findHash.get(), 2, hash));
    return step(m_findHash.get());
}

void ArrivalStore::execute(const char* sql)
{
    check(sqlite3_exec(m_database.get(), sql, nullptr, nullptr, nullptr));
}

ArrivalStore::Statement ArrivalStore::prepare(const char* sql)
{
    sqlite3_stmt* statement = nullptr;
    check(sqlite3_prepare_v3(m_database.get(), sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr));
    return Statement(statement);
}

bool ArrivalStore::step(sqlite3_stmt* statement)
{
    const int result = sqlite3_step(statement);
    if (result != SQLITE_ROW && result != SQLITE_DONE)
        check(result);
    return result == SQLITE_ROW;
}

void ArrivalStore::check(int result) const
{
    if (result != SQLITE_OK)
        throw StoreError(std::string("arrival store: ") + sqlite3_errmsg(m_database.get()));
}

} // namespace lumora
