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

void check(sqlite3* database, int result)
{
    if (result != SQLITE_OK)
        throw StoreError(std::string("arrival store: ") + sqlite3_errmsg(database));
}

void execute(sqlite3* database, const char* sql)
{
    check(database, sqlite3_exec(database, sql, nullptr, nullptr, nullptr));
}

/// Unless it is there; files of earlier versions lack some.
void addColumn(sqlite3* database, const std::string& name)
{
    const int found = sqlite3_table_column_metadata(
        database, nullptr, "arrivals", name.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr);
    if (found != SQLITE_OK)
        execute(database, ("ALTER TABLE arrivals ADD COLUMN " + name + " BLOB NOT NULL DEFAULT ''").c_str());
}

/// Whether there is a row.
bool step(sqlite3_stmt* statement)
{
    const int result = sqlite3_step(statement);
    if (result != SQLITE_ROW && result != SQLITE_DONE)
        check(sqlite3_db_handle(statement), result);
    return result == SQLITE_ROW;
}

/// Undone unless it is committed.
class Transaction {
public:
    explicit Transaction(sqlite3* database)
        : m_database(database)
    {
        execute(m_database, "BEGIN IMMEDIATE"); // waits for its turn to write before it reads
    }
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    ~Transaction()
    {
        if (m_database)
            sqlite3_exec(m_database, "ROLLBACK", nullptr, nullptr, nullptr);
    }

    void commit()
    {
        execute(m_database, "COMMIT");
        m_database = nullptr;
    }

private:
    sqlite3* m_database;
};

void checkBound(sqlite3_stmt* statement, int result) { check(sqlite3_db_handle(statement), result); }

void bindInteger(sqlite3_stmt* statement, int index, int64_t value)
{
    checkBound(statement, sqlite3_bind_int64(statement, index, value));
}

void bindKind(sqlite3_stmt* statement, int index, ArrivalKind kind)
{
    bindInteger(statement, index, static_cast<int64_t>(kind));
}

void bindText(sqlite3_stmt* statement, int index, const std::string& text)
{
    checkBound(statement,
        sqlite3_bind_text64(statement, index, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8));
}

void bindBytes(sqlite3_stmt* statement, int index, const std::string& bytes)
{
    checkBound(statement, sqlite3_bind_blob64(statement, index, bytes.data(), bytes.size(), SQLITE_STATIC));
}

std::string columnBytes(sqlite3_stmt* statement, int index, size_t longest = std::string::npos)
{
    const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement, index));
    const auto size = static_cast<size_t>(sqlite3_column_bytes(statement, index));
    return bytes ? std::string(bytes, std::min(size, longest)) : std::string();
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
    check(database, result);
    check(database, sqlite3_busy_timeout(database, 2000));
    // Does not wait for its turn: it may fail while another run opens the file, which then has set it.
    sqlite3_exec(database, "PRAGMA journal_mode=WAL", nullptr, nullptr, nullptr);
    execute(database, "PRAGMA synchronous=NORMAL");
    // Of two runs that open a file at once, one waits for the other's changes.
    Transaction transaction(database);
    execute(database,
        "CREATE TABLE IF NOT EXISTS arrivals(number INTEGER PRIMARY KEY AUTOINCREMENT, kind INTEGER NOT NULL,"
        " receivedAt REAL NOT NULL, target TEXT NOT NULL, authorization TEXT NOT NULL, body BLOB NOT NULL,"
        " isJSON INTEGER NOT NULL, status INTEGER NOT NULL)");
    execute(database, "CREATE INDEX IF NOT EXISTS arrivalsByKind ON arrivals(kind, number)");
    execute(database,
        "CREATE TABLE IF NOT EXISTS hashes(kind INTEGER NOT NULL, hash TEXT NOT NULL,"
        " PRIMARY KEY(kind, hash)) WITHOUT ROWID");
    addColumn(database, "decrypted");
    addColumn(database, "headers");
    transaction.commit();
    m_insert = prepare(database,
        "INSERT INTO arrivals(kind, receivedAt, target, authorization, body, isJSON, status, decrypted,"
        " headers) VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9)");
    m_count = prepare(database, "SELECT count(*) FROM arrivals WHERE kind = ?1");
    m_select = prepare(database,
        "SELECT number, receivedAt, target, authorization, body, isJSON, status, decrypted, headers"
        " FROM arrivals WHERE kind = ?1 ORDER BY number DESC LIMIT ?2");
    m_insertHash = prepare(database, "INSERT OR IGNORE INTO hashes(kind, hash) VALUES(?1, ?2)");
    m_findHash = prepare(database, "SELECT 1 FROM hashes WHERE kind = ?1 AND hash = ?2");
}

void ArrivalStore::add(const Arrival& arrival)
{
    const Locker locker(m_lock);
    Transaction transaction(m_database.get());
    sqlite3_stmt* insert = m_insert.get();
    const Use use(insert);
    bindKind(insert, 1, arrival.kind);
    checkBound(insert, sqlite3_bind_double(insert, 2, arrival.receivedAt));
    bindText(insert, 3, arrival.target);
    bindText(insert, 4, arrival.authorization);
    bindBytes(insert, 5, arrival.body);
    bindInteger(insert, 6, arrival.isJSON);
    bindInteger(insert, 7, arrival.status);
    bindBytes(insert, 8, arrival.decrypted);
    bindBytes(insert, 9, arrival.headers);
    step(insert);
    for (const std::string& hash : arrival.hashes) {
        if (hash.empty())
            continue;
        const Use useForHash(m_insertHash.get());
        bindKind(m_insertHash.get(), 1, arrival.kind);
        bindText(m_insertHash.get(), 2, hash);
        step(m_insertHash.get());
    }
    transaction.commit();
}

int64_t ArrivalStore::count(ArrivalKind kind)
{
    const Locker locker(m_lock);
    const Use use(m_count.get());
    bindKind(m_count.get(), 1, kind);
    return step(m_count.get()) ? sqlite3_column_int64(m_count.get(), 0) : 0;
}

std::vector<Arrival> ArrivalStore::newestFirst(ArrivalKind kind, int64_t limit, int64_t budget)
{
    const Locker locker(m_lock);
    sqlite3_stmt* select = m_select.get();
    const Use use(select);
    bindKind(select, 1, kind);
    bindInteger(select, 2, limit);
    std::vector<Arrival> arrivals;
    while (step(select)) {
        const int bodySize = sqlite3_column_bytes(select, 4);
        const int64_t size = int64_t { bodySize } + sqlite3_column_bytes(select, 7);
        const bool fits = size <= budget;
        budget -= fits ? size : 0;
        const size_t longest = fits ? std::string::npos : excerptSize;
        arrivals.push_back({ .number = sqlite3_column_int64(select, 0),
            .kind = kind,
            .receivedAt = sqlite3_column_double(select, 1),
            .target = columnBytes(select, 2),
            .authorization = columnBytes(select, 3),
            .body = columnBytes(select, 4, longest),
            .isJSON = sqlite3_column_int(select, 5) != 0,
            .status = sqlite3_column_int(select, 6),
            .decrypted = columnBytes(select, 7, longest),
            .headers = columnBytes(select, 8),
            .bodySize = static_cast<size_t>(bodySize) });
    }
    return arrivals;
}

std::vector<Arrival> ArrivalStore::oldestFirst(ArrivalKind kind)
{
    std::vector<Arrival> arrivals = newestFirst(kind);
    std::reverse(arrivals.begin(), arrivals.end());
    return arrivals;
}

bool ArrivalStore::hasHash(ArrivalKind kind, const std::string& hash)
{
    const Locker locker(m_lock);
    const Use use(m_findHash.get());
    bindKind(m_findHash.get(), 1, kind);
    bindText(m_findHash.get(), 2, hash);
    return step(m_findHash.get());
}

ArrivalStore::Statement ArrivalStore::prepare(sqlite3* database, const char* sql)
{
    sqlite3_stmt* statement = nullptr;
    check(database, sqlite3_prepare_v3(database, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr));
    return Statement(statement);
}

} // namespace lumora
