#pragma once

#include <algorithm>
#include <array>
#include <bitset>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <unordered_set>
#include <vector>

namespace ZEB::tool {

// What a curve showed in a stretch of time; fills a line of the cache.
struct alignas(64) Stretch {
    std::uint64_t curve = 0;
    std::int32_t index = 0;   // it begins at index * width seconds since 1970
    std::uint32_t count = 0;  // of values; 0: a free place
    std::uint32_t steps = 0;  // from one second with a value to a later one
    std::int32_t first = 0;   // the earliest and the latest of these seconds
    std::int32_t last = 0;
    double least = 0;
    double greatest = 0;
    double sum = 0;

    void add(std::int32_t seconds, double value) {
        ++count;
        steps += seconds > last ? 1 : 0;
        first = std::min(first, seconds);
        last = std::max(last, seconds);
        least = std::min(least, value);
        greatest = std::max(greatest, value);
        sum += value;
    }
    void join(Stretch const& other);
    double mean() const;
    // Where it is drawn: at the same time for all curves that go through it.
    std::int64_t middle(std::int64_t width) const {
        return std::clamp<std::int64_t>(index * width + width / 2, first, last);
    }
};

struct Curve {
    std::uint64_t name = 0;
    std::uint64_t count = 0;           // of values
    std::vector<Stretch> stretches{};  // in the order of time
    std::int64_t longestPause = 0;     // seconds; in a longer one nothing was measured

    bool pausesAfter(std::size_t i) const {
        return std::int64_t{stretches[i + 1].first} - stretches[i].last > longestPause;
    }
};

// Curves over time, thinned out while they come: any number of values takes the same
// memory, and of each stretch of time the least, the greatest and the mean value
// stay, so that no spike is lost. Stretches have one width for all curves.
class Curves {
  public:
    Curves() = default;
    Curves(Curves const&) = delete;
    Curves& operator=(Curves const&) = delete;

    // The time of all values that are added next.
    void turnTo(std::int32_t seconds) {
        mSeconds = seconds;
        if (seconds < mBegin || seconds >= mEnd) findIndex();
        if (!mComplete) mIsSample = ++mTurns % SampleDistance == 0;
    }

    void add(std::uint64_t curve, double value) {
        if (mComplete || !isLeftOut(curve)) take(curve, value);
    }
    // The same while isComplete().
    void take(std::uint64_t curve, double value) {
        if (!(std::abs(value) <= std::numeric_limits<double>::max())) {
            ++mNotFinite;
            return;
        }
        // Mostly the stretch that the curve came to before.
        Shortcut& last = mLast[(curve ^ curve >> 12) % Shortcuts];
        if (last.curve != curve || last.index != mIndex) reach(curve, last);
        last.place->add(mSeconds, value);
    }

    // Those with the most values first, as yet without their stretches.
    std::vector<Curve> list() const;
    // Fills in at most perCurve (2 or more) stretches for each, of leastWidth seconds
    // or more, and returns their width.
    std::int64_t draw(std::vector<Curve>& curves, std::size_t perCurve,
                      std::int64_t leastWidth = 1) const;

    std::uint64_t notFinite() const { return mNotFinite; }  // values left out
    // False after too many curves: of those with few values some are missing.
    bool isComplete() const { return mComplete; }
    // Whether values that are added now are left out if mayBeKept is false for their curve.
    bool isChoosing() const { return !mComplete && !mIsSample; }
    bool mayBeKept(std::uint64_t curve) const { return mKeptHashes[hash(curve, KeptBits)]; }

  private:
    static constexpr std::uint64_t HashFactor = 0x9e3779b97f4a7c15;
    static constexpr int PlaceBits = 17;
    static constexpr int KeptBits = 16;  // 8 KiB, which stay in the processor's first cache
    static constexpr std::size_t Places = std::size_t{1} << PlaceBits;
    static constexpr std::size_t Shortcuts = 1024;
    // More curves than any instrument has: random bytes make them. Then those with the
    // most values are kept, and another one begins when two samples in a row find it.
    static constexpr std::size_t MostCurves = 1 << 12;
    static constexpr std::size_t KeptCurves = 128;
    static constexpr std::uint32_t SampleDistance = 509;  // prime: channels may take turns
    static constexpr int SampledBits = 8;

    struct Shortcut {
        std::uint64_t curve = ~std::uint64_t{0};  // that of none
        std::int32_t index = 0;
        Stretch* place = nullptr;
    };

    static std::size_t hash(std::uint64_t curve, int bits) {
        return static_cast<std::size_t>(curve * HashFactor >> (64 - bits));
    }
    // Neighbours in time are neighbours in memory, sixteen by sixteen.
    static std::size_t placeOf(std::uint64_t curve, std::int32_t index) {
        auto const number = static_cast<std::uint32_t>(index);
        std::uint64_t const mixed = (curve * 0xd6e8feb86659fd93U + number / 16) * HashFactor;
        return static_cast<std::size_t>(mixed >> (64 - PlaceBits) & ~std::uint64_t{15}) +
               number % 16;
    }
    Stretch& find(std::uint64_t curve, std::int32_t index) {
        for (std::size_t i = placeOf(curve, index);; i = (i + 1) % Places) {
            Stretch& place = mPlaces[i];
            if ((place.index == index && place.curve == curve) || place.count == 0) return place;
        }
    }
    void findIndex();
    void reach(std::uint64_t curve, Shortcut& shortcut);
    bool isLeftOut(std::uint64_t curve);
    void keep(std::uint64_t curve);
    Stretch& begin(std::uint64_t curve);
    void makeRoom();

    std::vector<Stretch> mPlaces = std::vector<Stretch>(Places);
    std::vector<Shortcut> mLast = std::vector<Shortcut>(Shortcuts);
    std::size_t mUsed = 0;
    std::size_t mRung = 0;
    std::int32_t mSeconds = 0;  // what was turned to
    std::int32_t mIndex = 0;    // of its stretch
    std::int64_t mBegin = 0;
    std::int64_t mEnd = 0;
    std::uint64_t mNotFinite = 0;
    bool mComplete = true;
    // Unused while complete.
    std::unordered_set<std::uint64_t> mKept;
    std::bitset<std::size_t{1} << KeptBits> mKeptHashes;
    std::uint32_t mTurns = 0;
    bool mIsSample = false;
    std::array<std::uint64_t, 1 << SampledBits> mSampled{};  // by hash, the last one found
};

void sortByName(std::vector<Curve>& curves);
// Makes one curve of all that come after the first ones.
void joinRest(std::vector<Curve>& curves, std::size_t first, std::uint64_t name);

}  // namespace ZEB::tool
