#include "Peers.h"

#include <leveldb/db.h>
#include <lmdb.h>
#include <sqlite3.h>

#include "Files.h"

namespace bench {

namespace {

// Keys sort as bytes.
std::string keyBytes(std::uint32_t key) {
    std::uint32_t const swapped = __builtin_bswap32(key);
    return {reinterpret_cast<char const*>(&swapped), sizeof swapped};
}

class Sqlite : public Peer {
  public:
    Sqlite(std::string const& directory, std::string const& synchronous) {
        require(sqlite3_open((directory + "/log.db").c_str(), &mDb) == SQLITE_OK, "sqlite3_open");
        run("PRAGMA journal_mode=WAL");
        run("PRAGMA synchronous=" + synchronous);
        run("CREATE TABLE IF NOT EXISTS log(id INTEGER PRIMARY KEY, record BLOB)");
        mInsert = prepare("INSERT INTO log VALUES(?, ?)");
    }
    ~Sqlite() override {
        sqlite3_finalize(mInsert);
        sqlite3_close(mDb);
    }
    void append(std::uint32_t key, char const* bytes, std::size_t size) override {
        sqlite3_bind_int64(mInsert, 1, key);
        sqlite3_bind_blob(mInsert, 2, bytes, static_cast<int>(size), SQLITE_STATIC);
        require(sqlite3_step(mInsert) == SQLITE_DONE, "sqlite3_step");
        sqlite3_reset(mInsert);
    }
    void beginBulk() override { run("BEGIN"); }
    void endBulk() override { run("COMMIT"); }
    void readAll(std::vector<char>& bytes) override {
        read("SELECT record FROM log ORDER BY id", bytes);
    }
    std::vector<char> newest() override {
        std::vector<char> bytes;
        read("SELECT record FROM log ORDER BY id DESC LIMIT 1", bytes);
        return bytes;
    }

  private:
    sqlite3_stmt* prepare(char const* sql) {
        sqlite3_stmt* statement = nullptr;
        require(sqlite3_prepare_v2(mDb, sql, -1, &statement, nullptr) == SQLITE_OK, sql);
        return statement;
    }
    void run(std::string const& sql) {
        require(sqlite3_exec(mDb, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK,
                sql.c_str());
    }
    void read(char const* sql, std::vector<char>& bytes) {
        sqlite3_stmt* const select = prepare(sql);
        while (sqlite3_step(select) == SQLITE_ROW) {
            auto const* const record = static_cast<char const*>(sqlite3_column_blob(select, 0));
            bytes.insert(bytes.end(), record, record + sqlite3_column_bytes(select, 0));
        }
        sqlite3_finalize(select);
    }

    sqlite3* mDb = nullptr;
    sqlite3_stmt* mInsert = nullptr;
};

class Lmdb : public Peer {
  public:
    explicit Lmdb(std::string const& directory) {
        constexpr std::size_t MapSize = std::size_t{1} << 30;
        bool const opened = mdb_env_create(&mEnv) == 0 && mdb_env_set_mapsize(mEnv, MapSize) == 0 &&
                            mdb_env_open(mEnv, directory.c_str(), MDB_NOSYNC, 0600) == 0;
        require(opened, "mdb_env_open");
        begin();
        require(mdb_dbi_open(mTransaction, nullptr, MDB_INTEGERKEY, &mTable) == 0, "mdb_dbi_open");
        endBulk();
    }
    ~Lmdb() override { mdb_env_close(mEnv); }
    void append(std::uint32_t key, char const* bytes, std::size_t size) override {
        if (!mBulk) begin();
        MDB_val name{sizeof key, &key};
        MDB_val value{size, const_cast<char*>(bytes)};
        require(mdb_put(mTransaction, mTable, &name, &value, MDB_APPEND) == 0, "mdb_put");
        if (!mBulk) endBulk();
    }
    void beginBulk() override {
        begin();
        mBulk = true;
    }
    void endBulk() override {
        require(mdb_txn_commit(mTransaction) == 0, "mdb_txn_commit");
        mBulk = false;
    }
    void readAll(std::vector<char>& bytes) override { read(bytes, MDB_NEXT, true); }
    std::vector<char> newest() override {
        std::vector<char> bytes;
        read(bytes, MDB_LAST, false);
        return bytes;
    }

  private:
    void begin() { require(mdb_txn_begin(mEnv, nullptr, 0, &mTransaction) == 0, "mdb_txn_begin"); }
    void read(std::vector<char>& bytes, MDB_cursor_op step, bool all) {
        MDB_txn* reading = nullptr;
        MDB_cursor* cursor = nullptr;
        require(mdb_txn_begin(mEnv, nullptr, MDB_RDONLY, &reading) == 0, "mdb_txn_begin");
        require(mdb_cursor_open(reading, mTable, &cursor) == 0, "mdb_cursor_open");
        MDB_val key;
        MDB_val value;
        while (mdb_cursor_get(cursor, &key, &value, step) == 0) {
            auto const* const record = static_cast<char const*>(value.mv_data);
            bytes.insert(bytes.end(), record, record + value.mv_size);
            if (!all) break;
        }
        mdb_cursor_close(cursor);
        mdb_txn_abort(reading);
    }

    MDB_env* mEnv = nullptr;
    MDB_txn* mTransaction = nullptr;
    MDB_dbi mTable = 0;
    bool mBulk = false;
};

class LevelDb : public Peer {
  public:
    explicit LevelDb(std::string const& directory) {
        leveldb::Options options;
        options.create_if_missing = true;
        leveldb::DB* opened = nullptr;
        require(leveldb::DB::Open(options, directory, &opened).ok(), "leveldb::DB::Open");
        mDb.reset(opened);
    }
    void append(std::uint32_t key, char const* bytes, std::size_t size) override {
        require(mDb->Put({}, keyBytes(key), leveldb::Slice(bytes, size)).ok(), "Put");
    }
    void readAll(std::vector<char>& bytes) override {
        std::unique_ptr<leveldb::Iterator> const at(mDb->NewIterator({}));
        for (at->SeekToFirst(); at->Valid(); at->Next()) {
            bytes.insert(bytes.end(), at->value().data(), at->value().data() + at->value().size());
        }
    }
    std::vector<char> newest() override {
        std::unique_ptr<leveldb::Iterator> const at(mDb->NewIterator({}));
        at->SeekToLast();
        return {at->value().data(), at->value().data() + at->value().size()};
    }

  private:
    std::unique_ptr<leveldb::DB> mDb;
};

}  // namespace

std::vector<PeerKind> const PeerKinds = {
    {"LevelDB",
     [](auto const& at) -> std::unique_ptr<Peer> { return std::make_unique<LevelDb>(at); }},
    {"LMDB", [](auto const& at) -> std::unique_ptr<Peer> { return std::make_unique<Lmdb>(at); }},
    {"SQLite OFF",
     [](auto const& at) -> std::unique_ptr<Peer> { return std::make_unique<Sqlite>(at, "OFF"); }},
    {"SQLite NORMAL",
     [](auto const& at) -> std::unique_ptr<Peer> {
         return std::make_unique<Sqlite>(at, "NORMAL");
     }},
};

}  // namespace bench
