#include "cli/usage.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <fmt/format.h>
#include <limits>
#include <numeric>
#include <vector>

#include "file/failure.h"
#include "file/text.h"
#include "io/fields.h"

namespace dseries {

namespace {

/// The number of insertions, deletions, replacements and swaps of neighbours that turn one word into the
/// other.
std::size_t Distance(const std::string& a, const std::string& b) {
  std::vector<std::vector<std::size_t>> rows(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
  std::iota(rows[0].begin(), rows[0].end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    rows[i][0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      rows[i][j] =
          std::min({rows[i - 1][j] + 1, rows[i][j - 1] + 1, rows[i - 1][j - 1] + (a[i - 1] != b[j - 1])});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
        rows[i][j] = std::min(rows[i][j], rows[i - 2][j - 2] + 1);
      }
    }
  }
  return rows[a.size()][b.size()];
}

/// "; did you mean 'x'?", or empty if no word is close enough.
std::string Suggestion(const std::string& typed, const std::vector<std::string>& words) {
  std::size_t least = std::max<std::size_t>(1, typed.size() / 3) + 1;
  std::string nearest;
  for (const std::string& word : words) {
    const bool begun = typed.size() >= 2 && word.starts_with(typed);
    const std::size_t distance = begun ? 0 : Distance(typed, word);
    if (distance >= least) continue;
    least = distance;
    nearest = word;
  }
  return nearest.empty() ? "" : fmt::format("; did you mean '{}'?", nearest);
}

std::vector<std::string> OptionNames(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::Option* option : app.get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  return names;
}

}  // namespace

CLI::Validator WholeNumber(int least) {
  return {[least](std::string& text) -> std::string {
            int number = 0;
            const char* const end = text.data() + text.size();
            const auto [stop, error] = std::from_chars(text.data(), end, number);
            if (error == std::errc() && stop == end && number >= least) return "";
            return fmt::format("'{}' is not a whole number from {} to {}", text, least,
                               std::numeric_limits<int>::max());
          },
          ""};
}

CLI::Validator Number(double least, double most) {
  return {[least, most](std::string& text) -> std::string {
            double number = 0;
            if (ReadNumber(text, number) && number >= least && number <= most) return "";
            return fmt::format("'{}' is not a number from {} to {}", text, least, most);
          },
          ""};
}

CLI::Validator StorableTime() {
  return {[](std::string& text) -> std::string {
            try {
              ParseTime(text);
              return "";
            } catch (const Failure& failure) {
              return failure.what();
            }
          },
          ""};
}

std::string NoSuchCommand(const CLI::App& program, const std::string& name) {
  std::vector<std::string> names;
  for (const CLI::App* command : program.get_subcommands({})) names.push_back(command->get_name());
  return fmt::format("there is no command '{}'{}", name, Suggestion(name, names));
}

std::string Explanation(const CLI::App& program, const CLI::ParseError& error, int argc, char** argv) {
  const std::vector<std::string> unknown = program.remaining(true);
  const auto commands = program.get_subcommands();
  std::string explanation = error.what();
  std::string command;
  if (!commands.empty()) command = commands.front()->get_name() + ' ';

  // The first unknown argument that was typed is most likely the mistake.
  const auto first = std::find_if(argv + 1, argv + argc, [&](const char* argument) {
    return (argument[0] == '-' || commands.empty()) &&
           std::find(unknown.begin(), unknown.end(), argument) != unknown.end();
  });
  if (first != argv + argc) {
    const std::string typed = *first;
    if (typed[0] == '-') {
      const std::string name = typed.substr(0, typed.find('='));
      const std::string words = "--" + name.substr(std::min(name.find_first_not_of('-'), name.size()));
      explanation =
          fmt::format("there is no option {}{}", name,
                      Suggestion(words, OptionNames(commands.empty() ? program : *commands.front())));
    } else {
      explanation = NoSuchCommand(program, typed);
    }
  }
  return fmt::format("{} (see dseries {}--help)", explanation, command);
}

}  // namespace dseries
