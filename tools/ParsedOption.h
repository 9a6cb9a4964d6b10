#pragma once

#include <functional>
#include <string>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace ZEB::tool {

// Adds an option whose text parse takes over, or refuses by a false; the message
// about that ends in what is allowed instead.
CLI::Option* addParsed(CLI::App& command, std::string const& name, char const* type,
                       std::string const& help, std::string const& allowed,
                       std::function<bool(std::string const&)> parse);

}  // namespace ZEB::tool
