#!/usr/bin/env bash
# The manual page and the completions of all shells cover every command and option, and bash completes words.
# usage: pages_test.sh DSERIES FOLDER
set -uo pipefail  # so grep reads all of its input, rather than ending it by -q
dseries=$1
page=$2/dseries.1
source "$2/dseries.bash" || exit

failures=0
complain() { echo "$*" >&2; failures=$((failures + 1)); }

# offered WORD...: the completions of the last one of the words after 'dseries'.
offered() {
  COMP_WORDS=(dseries "$@") COMP_CWORD=$# COMPREPLY=()
  _dseries
  echo "${COMPREPLY[*]}"
}
expect() {
  local wanted=$1
  shift
  [ "$(offered "$@")" = "$wanted" ] || complain "for 'dseries $*' bash offers '$(offered "$@")', not '$wanted'"
}
expect 'create convert' c
expect '--version' --v
expect '--raw' append sst.dseries --ra
expect 'float32 float64' append sst.dseries sst.f32 --type fl
expect 'find' help f
expect '' get ''        # readline completes names of files
expect '' get --type f  # no option of that command
expect '' nonsense --

commands=$("$dseries" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\) .*/\1/p')
[ "$(offered '')" = "$(echo $commands -h --help --version)" ] || complain "the commands are $commands"
for command in $commands; do
  for option in $("$dseries" "$command" --help | grep -oE '^  -[-a-z,]+' | tr , ' '); do
    [[ " $(offered "$command" -) " == *" $option "* ]] || complain "bash does not know $command $option"
    sed -n "/^    $command) /,/;;$/p" "$2/dseries.zsh" | grep -F -- "'*$option[" >/dev/null ||
      complain "zsh does not know $command $option"
    dashes=${option%%[!-]*}
    grep "seen_subcommand_from $command'" "$2/dseries.fish" | grep -E -- " -[ls] ${option#"$dashes"} " >/dev/null ||
      complain "fish does not know $command $option"
    [[ $option == -h || $option == --help ]] && continue
    sed -n "/^\.SS dseries $command /,/^\.S[SH]/p" "$page" | grep -F "\\fB${option//-/\\-}\\fR" >/dev/null ||
      complain "the manual page does not know $command $option"
  done
done

for shell in zsh fish; do
  if command -v $shell >/dev/null; then $shell -n "$2/dseries.$shell" || complain "$shell found errors"; fi
done
if command -v mandoc >/dev/null; then mandoc -Tlint -W error "$page" || complain "mandoc found errors"; fi
exit $((failures > 0))
