#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace bench {

// A store a developer might take instead: records under growing keys, each append
// a transaction of its own. Calls end the run when they fail.
class Peer {
  public:
    virtual ~Peer() = default;
    virtual void append(std::uint32_t key, char const* bytes, std::size_t size) = 0;
    // The bytes of all records, oldest first, or of the newest alone.
    virtual std::vector<char> read(bool newestOnly) = 0;
};

// Each without waiting for the medium, as the logs do; SQLite also with NORMAL.
constexpr char const* PeerNames[] = {"LevelDB", "LMDB", "SQLite OFF", "SQLite NORMAL"};

std::unique_ptr<Peer> openPeer(std::string const& name, std::string const& directory);

}  // namespace bench
