#pragma once

#include <string>

namespace CLI {
class App;
class ParseError;
}  // namespace CLI

namespace ZEB::tool {

// What is wrong with the command line, in words that a user can act on.
std::string describeError(CLI::App const& app, CLI::ParseError const& error);

}  // namespace ZEB::tool
