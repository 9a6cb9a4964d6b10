#pragma once

#include <cerrno>
#include <new>

#include "LostRecords.h"

namespace ZEB {

// Runs store() for one record. store() returns 0, or the errno that kept the record from
// being stored; the record then counts as lost, as it does when an exception passes out.
template <class Store>
int storeOrCount(LostRecords& lost, Store const& store) {
    auto const count = [&lost](int error) {
        ++lost.count;
        lost.error = error;
    };
    try {
        int const error = store();
        if (error != 0) count(error);
        return error;
    } catch (std::bad_alloc const&) {
        count(ENOMEM);
        throw;
    } catch (...) {
        count(ECANCELED);
        throw;
    }
}

}  // namespace ZEB
