#include "Commands.h"
#include "Verifier.h"

namespace ZEB::tool {

void verify(Options const& options, Status& status) {
    Table table(options.format, {{"file", -26},
                                 {"slot", 5},
                                 {"used", 5},
                                 {"oldest", -27},
                                 {"newest", -27},
                                 {"finding", -5}});
    for (std::string const& path : options.paths) {
        try {
            auto const logs = findLogs(path, status);
            std::int64_t total = 0;
            for (AnyLog const& any : logs) {
                total += std::visit([](auto const& log) { return log.bytes(); }, any);
            }
            Progress progress(total);
            for (AnyLog const& any : logs) {
                std::visit([&](auto const& log) { Verifier(log, table, status, progress).run(); },
                           any);
            }
        } catch (CantRead const& failure) {
            status.complain(Unreadable, failure.what());
        }
    }
    table.end();
}

}  // namespace ZEB::tool
