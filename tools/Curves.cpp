#include "Curves.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <tuple>
#include <unordered_map>
#include <utility>

namespace ZEB::tool {

namespace {

// Each divides the next, so that stretches can be joined; after a day they double.
constexpr std::int64_t Widths[] = {1,    5,    15,   30,    60,    300,  900,
                                   1800, 3600, 7200, 21600, 43200, 86400};
constexpr std::size_t LastWidth = sizeof Widths / sizeof *Widths - 1;

std::int64_t widthOf(std::size_t rung) {
    constexpr std::size_t MostDoublings = 31;  // of a day, far beyond all times of records
    if (rung <= LastWidth) return Widths[rung];
    return Widths[LastWidth] << std::min(rung - LastWidth, MostDoublings);
}

std::int32_t divided(std::int64_t number, std::int64_t by) {
    return static_cast<std::int32_t>((number - (number < 0 ? by - 1 : 0)) / by);
}

// Moves a stretch to the next wider ones.
void widen(Stretch& stretch, std::size_t rung) {
    stretch.index = divided(stretch.index, widthOf(rung + 1) / widthOf(rung));
}

void widenAll(std::vector<Stretch>& stretches, std::size_t rung) {
    std::vector<Stretch> wider;
    for (Stretch& stretch : stretches) {
        widen(stretch, rung);
        if (!wider.empty() && wider.back().index == stretch.index) {
            wider.back().join(stretch);
        } else {
            wider.push_back(stretch);
        }
    }
    stretches = std::move(wider);
}

// Ten times the usual distance, half of them being shorter and half longer. A stretch
// that holds several counts with their mean.
std::int64_t longestPause(std::vector<Stretch> const& stretches) {
    std::vector<std::pair<std::int64_t, std::uint64_t>> distances;  // and how often
    std::uint64_t total = 0;
    auto const add = [&](std::int64_t distance, std::uint64_t often) {
        distances.emplace_back(distance, often);
        total += often;
    };
    for (std::size_t i = 0; i < stretches.size(); ++i) {
        Stretch const& here = stretches[i];
        if (here.steps > 0) add((std::int64_t{here.last} - here.first) / here.steps, here.steps);
        if (i > 0) add(std::int64_t{here.first} - stretches[i - 1].last, 1);
    }
    std::sort(distances.begin(), distances.end());
    std::uint64_t shorter = 0;
    for (auto const& [distance, often] : distances) {
        shorter += often;
        if (2 * shorter >= total) return 10 * std::max<std::int64_t>(distance, 1);
    }
    return 0;
}

}  // namespace

void Stretch::join(Stretch const& other) {
    steps += other.steps + 1;
    count += other.count;
    first = std::min(first, other.first);
    last = std::max(last, other.last);
    least = std::min(least, other.least);
    greatest = std::max(greatest, other.greatest);
    sum += other.sum;
}

double Stretch::mean() const {
    double const mean = sum / count;
    // The sum of huge values may have overflowed, that of equal ones been rounded.
    return std::isfinite(mean) ? std::clamp(mean, least, greatest) : least / 2 + greatest / 2;
}

void Curves::findIndex() {
    std::int64_t const width = widthOf(mRung);
    mIndex = divided(mSeconds, width);
    mBegin = mIndex * width;
    mEnd = mBegin + width;
}

bool Curves::isLeftOut(std::uint64_t curve) {
    if (mayBeKept(curve) && mKept.count(curve) > 0) return false;
    return !mIsSample || std::exchange(mSampled[hash(curve, SampledBits)], curve) != curve;
}

void Curves::keep(std::uint64_t curve) {
    mKept.insert(curve);
    mKeptHashes.set(hash(curve, KeptBits));
}

void Curves::reach(std::uint64_t curve, Shortcut& shortcut) {
    Stretch* place = &find(curve, mIndex);
    if (place->count == 0) place = &begin(curve);
    shortcut = {curve, mIndex, place};
}

// Makes an empty stretch, unless the curve has one there when room was made.
Stretch& Curves::begin(std::uint64_t curve) {
    if (mUsed >= Places / 2) {
        while (mUsed > Places / 4) makeRoom();
    }
    if (mKept.size() == 2 * KeptCurves) makeRoom();
    Stretch& place = find(curve, mIndex);
    if (place.count > 0) return place;
    constexpr double Infinity = std::numeric_limits<double>::infinity();
    place = {curve, mIndex, 0, 0, mSeconds, mSeconds, Infinity, -Infinity, 0};
    if (!mComplete) keep(curve);
    ++mUsed;
    return place;
}

// Either the curves with the fewest values go or all stretches become wider.
void Curves::makeRoom() {
    auto curves = list();
    bool const tooMany = curves.size() > (mComplete ? MostCurves : KeptCurves);
    if (tooMany) {
        mComplete = false;
        curves.resize(KeptCurves);
        mKept.clear();
        mKeptHashes.reset();
        for (Curve const& curve : curves) keep(curve.name);
    }
    std::vector<Stretch> stretches;
    stretches.reserve(mUsed);
    for (Stretch& place : mPlaces) {
        if (place.count > 0 && (!tooMany || mKept.count(place.curve) > 0)) {
            stretches.push_back(place);
        }
        place.count = 0;
    }
    mLast.assign(Shortcuts, {});
    mUsed = 0;
    for (Stretch& stretch : stretches) {
        if (!tooMany) widen(stretch, mRung);
        Stretch& place = find(stretch.curve, stretch.index);
        if (place.count > 0) {
            place.join(stretch);
            continue;
        }
        place = stretch;
        ++mUsed;
    }
    if (!tooMany) {
        ++mRung;
        findIndex();
    }
}

std::vector<Curve> Curves::list() const {
    std::unordered_map<std::uint64_t, std::uint64_t> counts;
    std::pair<std::uint64_t const, std::uint64_t>* last = nullptr;  // neighbours are often equal
    for (Stretch const& place : mPlaces) {
        if (place.count == 0) continue;
        if (last == nullptr || last->first != place.curve) {
            last = &*counts.try_emplace(place.curve).first;
        }
        last->second += place.count;
    }
    std::vector<Curve> curves;
    curves.reserve(counts.size());
    for (auto const& [name, count] : counts) curves.push_back({name, count});
    std::sort(curves.begin(), curves.end(), [](Curve const& left, Curve const& right) {
        return std::tuple(right.count, left.name) < std::tuple(left.count, right.name);
    });
    return curves;
}

std::int64_t Curves::draw(std::vector<Curve>& curves, std::size_t perCurve,
                          std::int64_t leastWidth) const {
    std::unordered_map<std::uint64_t, std::vector<Stretch>*> chosen;
    for (Curve& curve : curves) chosen[curve.name] = &curve.stretches;
    for (Stretch const& place : mPlaces) {
        auto const found = place.count > 0 ? chosen.find(place.curve) : chosen.end();
        if (found != chosen.end()) found->second->push_back(place);
    }
    auto const isEarlier = [](Stretch const& left, Stretch const& right) {
        return left.index < right.index;
    };
    std::size_t longest = 0;
    for (Curve& curve : curves) {
        std::sort(curve.stretches.begin(), curve.stretches.end(), isEarlier);
        longest = std::max(longest, curve.stretches.size());
    }
    std::size_t rung = mRung;
    for (; longest > perCurve || widthOf(rung) < leastWidth; ++rung) {
        longest = 0;
        for (Curve& curve : curves) {
            widenAll(curve.stretches, rung);
            longest = std::max(longest, curve.stretches.size());
        }
    }
    for (Curve& curve : curves) curve.longestPause = longestPause(curve.stretches);
    return widthOf(rung);
}

void sortByName(std::vector<Curve>& curves) {
    std::sort(curves.begin(), curves.end(),
              [](Curve const& left, Curve const& right) { return left.name < right.name; });
}

void joinRest(std::vector<Curve>& curves, std::size_t first, std::uint64_t name) {
    if (curves.size() <= first) return;
    Curve rest{name};
    std::map<std::int32_t, Stretch> joined;
    for (std::size_t i = first; i < curves.size(); ++i) {
        rest.count += curves[i].count;
        for (Stretch const& stretch : curves[i].stretches) {
            auto const [place, isNew] = joined.try_emplace(stretch.index, stretch);
            if (!isNew) place->second.join(stretch);
        }
    }
    for (auto const& [index, stretch] : joined) rest.stretches.push_back(stretch);
    curves.resize(first);
    curves.push_back(std::move(rest));
}

}  // namespace ZEB::tool
