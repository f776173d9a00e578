// dseries_pages FILE: writes the program's help to standard output in the form that the file name stands for:
// the manual page (dseries.1), what a shell needs to complete command lines (dseries.bash, dseries.zsh,
// dseries.fish), or pages for the documentation, of all commands (dseries.md) and of each
// (dseries-append.md).
#include <algorithm>
#include <fmt/format.h>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "cli/help.h"
#include "program.h"

namespace {

std::vector<const CLI::App*> Commands(const CLI::App& program) { return program.get_subcommands({}); }

/// The options that are not positional.
std::vector<const CLI::Option*> NamedOptions(const CLI::App& command) {
  return command.get_options([](const CLI::Option* option) { return option->nonpositional(); });
}

std::string Replaced(std::string text, std::string_view from, std::string_view to) {
  for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

/// The name of the value of an option; empty when it takes none.
std::string ValueName(const CLI::Option& option) {
  const std::string type = option.get_type_size_max() == 0 ? "" : option.get_type_name();
  return type.substr(0, type.find(':'));
}

/// The values to choose from, "this,that"; empty when there is no such list.
std::string Choices(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  const auto first = type.find(":{");
  return first == std::string::npos ? "" : type.substr(first + 2, type.find('}') - first - 2);
}

/// What a shell shows beside a completion: the begin of the description, without characters that it would
/// take as its own.
std::string Hint(std::string description) {
  for (const char* end : {". ", "; ", ": "})
    description.resize(std::min(description.find(end), description.size()));
  static constexpr std::string_view special = "'[]:`$\\";
  std::replace_if(
      description.begin(), description.end(), [](char c) { return special.find(c) != special.npos; }, ' ');
  return description;
}

/// Text for a manual page. Dashes and quotes stay plain, to be copied into a command line.
std::string Roff(const std::string& text) {
  const std::string escaped = Replaced(Replaced(Replaced(text, "\\", "\\e"), "-", "\\-"), "'", "\\(aq");
  return escaped.starts_with('.') ? "\\&" + escaped : escaped;
}

std::string OptionEntry(const CLI::Option& option) {
  std::string entry = ".TP\n";
  if (option.get_positional()) {
    entry += fmt::format("\\fI{}\\fR", Roff(option.get_name(true)));
  } else {
    entry += fmt::format("\\fB{}\\fR", Replaced(Roff(option.get_name(false, true)), ",", "\\fR, \\fB"));
    if (const std::string value = ValueName(option); !value.empty()) {
      entry += fmt::format(" \\fI{}\\fR", Roff(value));
    }
  }
  entry += '\n' + Roff(option.get_description()) + '\n';
  const std::string choices = Choices(option);
  return choices.empty() ? entry : entry + fmt::format("(one of {})\n", Replaced(Roff(choices), ",", ", "));
}

/// The text below the options: prose and, indented, the lines of examples.
std::string Footer(const std::string& footer) {
  enum Kind { Blank, Prose, Example } last = Blank;
  std::string text;
  std::istringstream lines(footer);
  for (std::string line; std::getline(lines, line);) {
    const Kind kind = line.empty() ? Blank : line.starts_with("  ") ? Example : Prose;
    if (kind != last) {
      if (last == Example) text += ".fi\n";
      if (kind != Blank) text += ".PP\n";
      if (kind == Example) text += ".nf\n";
    }
    if (kind != Blank) text += Roff(line) + '\n';
    last = kind;
  }
  return last == Example ? text + ".fi\n" : text;
}

std::string ManualPage(const CLI::App& program) {
  std::string page = fmt::format(
      R"(.TH DSERIES 1 "" "{}" "User Commands"
.SH NAME
dseries \- store measured data in series files, and find them again
.SH SYNOPSIS
\fBdseries\fR \fICOMMAND\fR [\fIOPTION\fR...] [\fIARGUMENT\fR...]
.SH DESCRIPTION
{}
{}
.SH COMMANDS
)",
      program.version(), Roff(program.get_description()), Roff(program.get_footer()));
  for (const CLI::App* command : Commands(program)) {
    const std::string usage = dseries::HelpFormatter().make_usage(command, "dseries " + command->get_name());
    page += fmt::format(".SS {}{}.\n", Roff(usage.substr(usage.find("dseries"))),
                        Roff(command->get_description()));
    auto options = command->get_options();
    std::stable_partition(options.begin(), options.end(),
                          [](const CLI::Option* o) { return o->get_positional(); });
    for (const CLI::Option* option : options) {
      if (option != command->get_help_ptr()) page += OptionEntry(*option);
    }
    page += Footer(command->get_footer());
  }
  return page + R"(.SH EXIT STATUS
0 on success, 1 when something failed or a file is damaged, 2 when the command line is not valid.
For a command that stores or writes files the status is that of this work, even if its messages could not be written.
After a signal it is 128 plus the number of the signal, such as 130 after ^C; no file is left incomplete, and
.B append
has stored the data that it counts.
)";
}

/// A line of a case statement in a shell.
std::string Case(const std::string& pattern, const std::string& words) {
  return fmt::format("      '{}') words='{}' ;;\n", pattern, Replaced(words, ",", " "));
}

std::string BashCompletion(const CLI::App& program) {
  const auto names = [](const CLI::Option* option) { return option->get_name(false, true); };
  std::string commands, options, values;
  for (const CLI::App* command : Commands(program)) {
    const std::string name = command->get_name();
    const auto named = NamedOptions(*command);
    commands += name + ' ';
    options += Case(name, CLI::detail::join(named, names));
    for (const CLI::Option* option : named) {
      const std::string choices = Choices(*option);
      if (!choices.empty())
        values += Case(Replaced(name + ' ' + names(option), ",", "' | '" + name + ' '), choices);
    }
  }
  values += Case("help help", commands);
  return fmt::format(
      R"(# Completes commands, options and values where there is a choice, and otherwise file names.
_dseries() {{
  local word=${{COMP_WORDS[COMP_CWORD]}} command=${{COMP_WORDS[1]}} words=
  if ((COMP_CWORD == 1)); then
    words='{}{}'
  elif [[ $word == -* ]]; then
    case $command in
{}    esac
  else
    case "$command ${{COMP_WORDS[COMP_CWORD - 1]}}" in
{}    esac
  fi
  COMPREPLY=($(compgen -W "$words" -- "$word"))
}}
complete -o default -F _dseries dseries
)",
      commands, Replaced(CLI::detail::join(NamedOptions(program), names), ",", " "), options, values);
}

std::string ZshCompletion(const CLI::App& program) {
  std::string commands, cases;
  for (const CLI::App* command : Commands(program)) {
    commands += fmt::format("    '{}:{}'\n", command->get_name(), Hint(command->get_description()));
    cases += fmt::format("    {}) _arguments -S", command->get_name());
    for (const CLI::Option* option : NamedOptions(*command)) {
      const std::string value = ValueName(*option);
      const std::string choices = Choices(*option);
      const std::string values = choices.empty() ? "_files" : '(' + Replaced(choices, ",", " ") + ')';
      std::istringstream names(option->get_name(false, true));
      for (std::string name; std::getline(names, name, ',');) {
        cases += fmt::format(" \\\n      '*{}[{}]{}'", name, Hint(option->get_description()),
                             value.empty() ? "" : fmt::format(":{}:{}", Hint(value), values));
      }
    }
    cases += " \\\n      '*:file:_files' ;;\n";
  }
  return fmt::format(R"(#compdef dseries
# Completes commands, options and values where there is a choice, and otherwise file names.
_dseries() {{
  local -a commands=(
{}  )
  if ((CURRENT == 2)); then
    _describe command commands
    _arguments '--version[Print the version and exit]' '--help[Print this help message and exit]'
    return
  fi
  shift words
  ((CURRENT--))
  case $words[1] in
{}  esac
}}
_dseries "$@"
)",
                     commands, cases);
}

std::string FishCompletion(const CLI::App& program) {
  std::string text =
      "# Completes commands, options and values where there is a choice, and otherwise file names.\n"
      "complete -c dseries -n __fish_use_subcommand -l version -d 'Print the version and exit'\n"
      "complete -c dseries -n __fish_use_subcommand -l help -d 'Print this help message and exit'\n";
  for (const CLI::App* command : Commands(program)) {
    text += fmt::format("complete -c dseries -n __fish_use_subcommand -f -a {} -d '{}'\n",
                        command->get_name(), Hint(command->get_description()));
    for (const CLI::Option* option : NamedOptions(*command)) {
      text += fmt::format("complete -c dseries -n '__fish_seen_subcommand_from {}'", command->get_name());
      std::istringstream names(option->get_name(false, true));
      for (std::string name; std::getline(names, name, ',');) {
        text += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
      }
      const std::string choices = Choices(*option);
      if (!choices.empty()) {
        text += fmt::format(" -x -a '{}'", Replaced(choices, ",", " "));
      } else if (!ValueName(*option).empty()) {
        text += " -r";
      }
      text += fmt::format(" -d '{}'\n", Hint(option->get_description()));
    }
  }
  return text;
}

std::string CommandPage(const CLI::App& command) {
  return fmt::format("# dseries {}\n\n```text\n{}```\n", command.get_name(),
                     dseries::HelpFormatter().make_help(&command, "dseries " + command.get_name(),
                                                        CLI::AppFormatMode::Normal));
}

/// The page that leads to those of the commands.
std::string ToolPage(const CLI::App& program) {
  std::string page = fmt::format("# The command-line tool dseries\n\n{}\n\n", program.get_description());
  for (const CLI::App* command : Commands(program)) {
    page += fmt::format("- [dseries {0}](dseries-{0}.md): {1}\n", command->get_name(),
                        command->get_description());
  }
  return page;
}

/// The page of this name; empty when there is none.
std::string Page(const CLI::App& program, const std::string& name) {
  if (name == "dseries.1") return ManualPage(program);
  if (name == "dseries.bash") return BashCompletion(program);
  if (name == "dseries.zsh") return ZshCompletion(program);
  if (name == "dseries.fish") return FishCompletion(program);
  if (name == "dseries.md") return ToolPage(program);
  for (const CLI::App* command : Commands(program)) {
    if (name == "dseries-" + command->get_name() + ".md") return CommandPage(*command);
  }
  return {};
}

}  // namespace

int main(int argc, char** argv) {
  const std::string page = argc == 2 ? Page(*dseries::MakeProgram(), argv[1]) : "";
  fmt::print("{}", page);
  return page.empty() ? 2 : 0;
}
