#pragma once

#include <string>
#include <vector>

#include "Filter.h"
#include "Log.h"
#include "Status.h"
#include "Table.h"

namespace ZEB::tool {

struct Options {
    std::vector<std::string> paths;
    std::string log;       // a kind's name; empty: the only one there is
    bool damaged = false;  // read unfit files, too
    Zone zone = Zone::Utc;
    Format format = Format::Aligned;
    Filter filter;
    long newest = -1;  // records; below 0: all
    bool reverse = false;
    bool follow = false;
    std::string image = "svg";
    std::string curve;  // empty: all
};

// Each writes to standard output; what it could not use goes to standard error
// and into status.
void info(Options const& options, Status& status);
void show(Options const& options, Status& status);
void exportText(Options const& options, Status& status);
void verify(Options const& options, Status& status);
void plot(Options const& options, Status& status);
void report(Options const& options, Status& status);

// The one log of each path that the options mean, all of one kind. Paths without it
// are complained of and left out.
std::vector<AnyLog> chosenLogs(Options const& options, Status& status);

}  // namespace ZEB::tool
