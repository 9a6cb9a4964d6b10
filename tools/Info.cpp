#include "Info.h"

#include "Commands.h"

namespace ZEB::tool {

void info(Options const& options, Status& status) {
    Table table(options.format, infoHeadings(), Table::Widths::Fitted);
    auto const describe = [&](auto const& log) {
        Survey const survey = complainOfLosses(log, Advice::CopyIt, status);
        complainOfNextFile(log, survey, status);
        table.row(infoRow(log, survey, options.zone));
    };
    for (std::string const& path : options.paths) {
        try {
            for (AnyLog const& any : findLogs(path, status)) {
                std::visit(describe, any);
            }
        } catch (CantRead const& failure) {
            status.complain(Unreadable, failure.what());
        }
    }
    table.end();
}

}  // namespace ZEB::tool
