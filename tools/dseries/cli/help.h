#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace dseries {

/// Help that fits 80 columns: descriptions are wrapped, and after an option only the name of its value is
/// shown.
class HelpFormatter : public CLI::Formatter {
 public:
  HelpFormatter();
  std::string make_option_opts(const CLI::Option* option) const override;
  std::string make_option_desc(const CLI::Option* option) const override;
};

}  // namespace dseries
