#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace bench {

// A store a developer might take instead: records of equal size under growing
// keys. Calls end the run when they fail.
class Peer {
  public:
    virtual ~Peer() = default;
    virtual void append(std::uint32_t key, char const* bytes, std::size_t size) = 0;
    virtual void beginBulk() {}  // until endBulk() appends may share a transaction
    virtual void endBulk() {}
    // Appends all records, oldest first, to bytes.
    virtual void readAll(std::vector<char>& bytes) = 0;
    virtual std::vector<char> newest() = 0;
};

struct PeerKind {
    char const* name;
    std::unique_ptr<Peer> (*open)(std::string const& directory);
};

// Each without waiting for the medium, as the logs do; SQLite also with NORMAL.
extern std::vector<PeerKind> const PeerKinds;

}  // namespace bench
