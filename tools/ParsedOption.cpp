#include "ParsedOption.h"

#include <CLI/CLI.hpp>
#include <utility>

namespace ZEB::tool {

CLI::Option* addParsed(CLI::App& command, std::string const& name, char const* type,
                       std::string const& help, std::string const& allowed,
                       std::function<bool(std::string const&)> parse) {
    auto const take = [name, allowed, parse = std::move(parse)](std::string const& text) {
        if (!parse(text)) {
            throw CLI::ValidationError(name, '"' + text + "\" is not " + allowed);
        }
    };
    return command.add_option_function<std::string>(name, take, help)->type_name(type);
}

}  // namespace ZEB::tool
