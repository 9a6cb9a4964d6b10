#include "Peers.h"

#include <leveldb/db.h>
#include <lmdb.h>
#include <sqlite3.h>

#include "Files.h"

namespace bench {

namespace {

void add(std::vector<char>& bytes, void const* more, std::size_t size) {
    auto const* const from = static_cast<char const*>(more);
    bytes.insert(bytes.end(), from, from + size);
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
    std::vector<char> read(bool newestOnly) override {
        std::vector<char> bytes;
        sqlite3_stmt* const select =
            prepare(newestOnly ? "SELECT record FROM log ORDER BY id DESC LIMIT 1"
                               : "SELECT record FROM log ORDER BY id");
        while (sqlite3_step(select) == SQLITE_ROW) {
            add(bytes, sqlite3_column_blob(select, 0),
                static_cast<std::size_t>(sqlite3_column_bytes(select, 0)));
        }
        sqlite3_finalize(select);
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
        MDB_txn* const transaction = begin(0);
        require(mdb_dbi_open(transaction, nullptr, MDB_INTEGERKEY, &mTable) == 0, "mdb_dbi_open");
        require(mdb_txn_commit(transaction) == 0, "mdb_txn_commit");
    }
    ~Lmdb() override { mdb_env_close(mEnv); }
    void append(std::uint32_t key, char const* bytes, std::size_t size) override {
        MDB_txn* const transaction = begin(0);
        MDB_val name{sizeof key, &key};
        MDB_val value{size, const_cast<char*>(bytes)};
        require(mdb_put(transaction, mTable, &name, &value, MDB_APPEND) == 0, "mdb_put");
        require(mdb_txn_commit(transaction) == 0, "mdb_txn_commit");
    }
    std::vector<char> read(bool newestOnly) override {
        std::vector<char> bytes;
        MDB_txn* const transaction = begin(MDB_RDONLY);
        MDB_cursor* cursor = nullptr;
        require(mdb_cursor_open(transaction, mTable, &cursor) == 0, "mdb_cursor_open");
        MDB_val key;
        MDB_val value;
        while (mdb_cursor_get(cursor, &key, &value, newestOnly ? MDB_LAST : MDB_NEXT) == 0) {
            add(bytes, value.mv_data, value.mv_size);
            if (newestOnly) break;
        }
        mdb_cursor_close(cursor);
        mdb_txn_abort(transaction);
        return bytes;
    }

  private:
    MDB_txn* begin(unsigned flags) {
        MDB_txn* transaction = nullptr;
        require(mdb_txn_begin(mEnv, nullptr, flags, &transaction) == 0, "mdb_txn_begin");
        return transaction;
    }

    MDB_env* mEnv = nullptr;
    MDB_dbi mTable = 0;
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
        std::uint32_t const ordered = __builtin_bswap32(key);  // keys sort as bytes
        leveldb::Slice const name(reinterpret_cast<char const*>(&ordered), sizeof ordered);
        require(mDb->Put({}, name, leveldb::Slice(bytes, size)).ok(), "Put");
    }
    std::vector<char> read(bool newestOnly) override {
        std::vector<char> bytes;
        std::unique_ptr<leveldb::Iterator> const at(mDb->NewIterator({}));
        for (newestOnly ? at->SeekToLast() : at->SeekToFirst(); at->Valid(); at->Next()) {
            add(bytes, at->value().data(), at->value().size());
        }
        return bytes;
    }

  private:
    std::unique_ptr<leveldb::DB> mDb;
};

}  // namespace

std::unique_ptr<Peer> openPeer(std::string const& name, std::string const& directory) {
    if (name == "LevelDB") return std::make_unique<LevelDb>(directory);
    if (name == "LMDB") return std::make_unique<Lmdb>(directory);
    return std::make_unique<Sqlite>(directory, name.substr(name.find(' ') + 1));
}

}  // namespace bench
