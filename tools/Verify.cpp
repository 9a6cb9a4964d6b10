#include "Commands.h"
#include "Verifier.h"

namespace ZEB::tool {

void verify(Options const& options, Status& status) {
    Table table(options.format, verifyHeadings());
    auto const print = [&](std::vector<Cell> const& cells) { table.row(cells); };
    for (std::string const& path : options.paths) {
        try {
            auto const logs = findLogs(path, status);
            std::int64_t total = 0;
            for (AnyLog const& any : logs) {
                total += std::visit([](auto const& log) { return log.bytes(); }, any);
            }
            Progress progress(total);
            for (AnyLog const& any : logs) {
                std::visit(
                    [&](auto const& log) {
                        Survey const survey = complainOfLosses(log, Advice::CopyIt, status);
                        status.note(Verifier(log, survey, print, progress).run());
                    },
                    any);
            }
        } catch (CantRead const& failure) {
            status.complain(Unreadable, failure.what());
        }
    }
    table.end();
}

}  // namespace ZEB::tool
