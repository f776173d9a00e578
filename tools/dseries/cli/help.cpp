#include "cli/help.h"

#include <cstddef>

#include "file/text.h"

namespace dseries {

namespace {

constexpr std::size_t terminal_width = 80;
constexpr std::size_t name_width = 24;

}  // namespace

HelpFormatter::HelpFormatter() { column_width(name_width); }

std::string HelpFormatter::make_option_opts(const CLI::Option* option) const {
  if (option->get_positional() || option->get_type_size_max() == 0) return "";
  // Checks append their conditions after a colon; one after a bracket belongs to an optional part.
  const std::string type = option->get_type_name();
  std::size_t end = type.find(':');
  while (end != type.npos && end > 0 && type[end - 1] == '[') end = type.find(':', end + 1);
  return ' ' + type.substr(0, end);
}

std::string HelpFormatter::make_option_desc(const CLI::Option* option) const {
  return Wrapped(option->get_description(), terminal_width - name_width);
}

}  // namespace dseries
