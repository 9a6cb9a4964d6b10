#pragma once

#include <unistd.h>

#include <cstdlib>
#include <locale>
#include <sstream>
#include <string>
#include <vector>

#include "msgclasses/WireRecord.h"
#include "util/FileCreator.h"

// Records and files that misbehave as the environment variable VEK_UNKIND says. Included
// first in every source of a second build of the stand-in's records, library and tests.
namespace ZEB {

inline std::string unkindWays = std::getenv("VEK_UNKIND") ? std::getenv("VEK_UNKIND") : "";
inline bool unkind(char const* way) { return unkindWays.find(way) != std::string::npos; }

// Allocates whenever a record is made or copied: where the rig lets it fail, it throws.
struct UnkindMemory {
    std::vector<char> bytes = {'x'};
    UnkindMemory() = default;
    UnkindMemory(UnkindMemory const&) = default;
    UnkindMemory& operator=(UnkindMemory other) { return bytes.swap(other.bytes), *this; }
};

template <std::size_t Size>
class UnkindRecord : public WireRecord<Size> {
  public:
    void serialize(std::ostream& out) const override {
        std::ostringstream whole;
        WireRecord<Size>::serialize(whole);
        std::string const bytes = whole.str() + "xx";
        if (unkind("rude-records")) expectNew(out);
        out.write(bytes.data(), Length + 2 * unkind("long-records") - 2 * unkind("rude-records"));
        if (unkind("chatty-records")) out.put('x');
        if (unkind("failing-records")) out.setstate(std::ios::failbit);
        if (unkind("rude-records")) spoil(out);
    }
    void deserialize(std::istream& in) override {
        std::string bytes(Size, '\0');
        if (unkind("rude-records")) expectNew(in);
        in.read(&bytes[0], 8).read(&bytes[8], Length - 8 - 2 * unkind("rude-records"));
        if (unkind("greedy-records")) in.ignore(2);
        std::istringstream whole(in ? bytes : "");
        WireRecord<Size>::deserialize(whole);
        if (unkind("rude-records")) spoil(in);
    }

  protected:
    using WireRecord<Size>::TimeStampEnd;
    using WireRecord<Size>::get;
    template <class Field>
    typename Field::Type get() const {
        ::operator delete(::operator new(1));  // may throw, as everything here
        auto const value = WireRecord<Size>::template get<Field>();
        bool const wrong = Field::Offset == TimeStampEnd && unkind("valid-zeros");
        return wrong ? typename Field::Type{1} : value;
    }

  private:
    static constexpr std::streamsize Length = Size;

    // Formatted input and output depend on what an earlier record left.
    static void expectNew(std::ios& stream) {
        std::ios const fresh(nullptr);
        bool const same = stream.flags() == fresh.flags() && stream.width() == 0 &&
                          stream.precision() == fresh.precision() && stream.fill() == ' ' &&
                          stream.getloc() == fresh.getloc() &&
                          (stream.exceptions() & std::ios::failbit) == 0;
        if (!same) stream.setstate(std::ios::failbit);
    }
    // One thing at a time: else what is restored could hide what is not.
    static void spoil(std::ios& stream) {
        static int calls = 0;
        int const what = ++calls % 6;
        if (what == 0) stream.flags(std::ios::hex | std::ios::showbase);
        if (what == 1) stream.width(40);
        if (what == 2) stream.precision(1);
        if (what == 3) stream.fill('*');
        if (what == 4) stream.imbue(std::locale(std::locale(), new std::numpunct<char>));
        if (what == 5 && stream) stream.exceptions(std::ios::failbit | std::ios::eofbit);
    }

    UnkindMemory mMemory;
};
#define WireRecord UnkindRecord

class UnkindFileCreator : public FileCreator {
  public:
    UnkindFileCreator(char const* name, char const* directory, std::int64_t size)
        : FileCreator(name, directory, size + 100 * unkind("longer-files")) {}
    bool GetNewFile(char const* path) {
        if (unkind("silent-failures") || !FileCreator::GetNewFile(path)) return false;
        return !unkind("short-files") || truncate(path, 4000000) == 0;
    }
};
#define FileCreator UnkindFileCreator

}  // namespace ZEB
