#include "cli/help.h"

#include <cstddef>
#include <sstream>

namespace dseries {

namespace {

constexpr std::size_t terminal_width = 80;
constexpr std::size_t name_width = 24;

std::string Wrap(const std::string& text, std::size_t width) {
  std::string wrapped;
  std::size_t column = 0;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    const bool fits = column + 1 + word.size() <= width;
    if (column > 0) wrapped += fits ? ' ' : '\n';
    column = (column > 0 && fits ? column + 1 : 0) + word.size();
    wrapped += word;
  }
  return wrapped;
}

}  // namespace

HelpFormatter::HelpFormatter() { column_width(name_width); }

std::string HelpFormatter::make_option_opts(const CLI::Option* option) const {
  if (option->get_positional() || option->get_type_size_max() == 0) return "";
  const std::string type = option->get_type_name();  // checks append their conditions after a colon
  return ' ' + type.substr(0, type.find(':'));
}

std::string HelpFormatter::make_option_desc(const CLI::Option* option) const {
  return Wrap(option->get_description(), terminal_width - name_width);
}

}  // namespace dseries
