#include "Usage.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <numeric>
#include <vector>

namespace ZEB::tool {

namespace {

// How many characters have to be put in, taken out or changed.
std::size_t distance(std::string const& from, std::string const& to) {
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 1; i <= from.size(); ++i) {
        std::size_t diagonal = row[0]++;
        for (std::size_t j = 1; j <= to.size(); ++j) {
            std::size_t const change = diagonal + (from[i - 1] == to[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({change, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row.back();
}

std::string joined(std::vector<std::string> const& words) {
    std::string text;
    for (std::string const& word : words) text += (text.empty() ? "" : ", ") + word;
    return text;
}

// The word that was meant, if one is near.
std::string guess(std::string const& given, std::vector<std::string> const& allowed) {
    auto const nearest = std::min_element(allowed.begin(), allowed.end(),
                                          [&](std::string const& left, std::string const& right) {
                                              return distance(given, left) < distance(given, right);
                                          });
    constexpr std::size_t ShortestGuessed = 4;  // "--x" could be anything
    if (given.size() < ShortestGuessed || nearest == allowed.end() ||
        distance(given, *nearest) > 1 + given.size() / 3)
        return "";
    return "; did you mean " + *nearest + '?';
}

std::vector<std::string> optionsOf(CLI::App const& command) {
    std::vector<std::string> names;
    for (CLI::Option const* option : command.get_options()) {
        for (std::string const& name : option->get_lnames()) names.push_back("--" + name);
        for (std::string const& name : option->get_snames()) names.push_back("-" + name);
    }
    return names;
}

std::vector<std::string> commandsOf(CLI::App const& app) {
    std::vector<std::string> names;
    for (CLI::App const* command : app.get_subcommands(nullptr))
        names.push_back(command->get_name());
    return names;
}

}  // namespace

std::string describeError(CLI::App const& app, CLI::ParseError const& error) {
    auto const chosen = app.get_subcommands();
    CLI::App const& command = chosen.empty() ? app : *chosen.front();
    auto const left = command.remaining();
    for (std::string const& word : left) {
        std::string const name = word.substr(0, word.find('='));
        if (word.size() > 1 && word[0] == '-') {
            return "unknown option " + name + guess(name, optionsOf(command));
        }
    }
    if (chosen.empty()) {
        std::string const commands = joined(commandsOf(app));
        if (left.empty()) return "a command is missing: " + commands;
        return "unknown command " + left.front() + guess(left.front(), commandsOf(app)) +
               " (there are " + commands + ')';
    }
    std::string text = error.what();
    std::string const option = text.substr(0, text.find(':'));
    if (dynamic_cast<CLI::RequiredError const*>(&error) != nullptr) {
        return command.get_name() + ": a log file or directory is missing";
    }
    if (dynamic_cast<CLI::ArgumentMismatch const*>(&error) != nullptr) {
        bool const isPath = option == "PATH";
        return isPath ? command.get_name() + " takes one path" : option + ": its value is missing";
    }
    if (dynamic_cast<CLI::ConversionError const*>(&error) != nullptr) {
        std::string const flag = text.substr(text.find("--"));  // the only options of a type
        return flag.substr(0, flag.find(' ')) + " takes no value";
    }
    return text;
}

}  // namespace ZEB::tool
