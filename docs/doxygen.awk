# Shows a header to Doxygen as its readers understand it. A comment speaks for the overloads that follow it without a
# blank line or another comment in between, and for what is the same along X and along Y; the only comment of a
# paragraph, at its head, speaks for all of it. What the compiler writes is left out. Lines keep their numbers.

function indent(line) { match(line, /^ */); return RLENGTH }
function comment(line) { return line ~ /^ *\/\/\/( |$)/ }

# What overloads have in common.
function name(declaration) {
  if (declaration ~ /operator *(==|!=)/) return "=="
  sub(/(\(|;| =|\{).*/, "", declaration)
  sub(/.*[ *&]/, "", declaration)
  sub(/[XY]$/, "", declaration)
  return declaration
}

# The element types stand in a list that Doxygen does not look into.
/^#include <.*elementtypes.def>/ && enumeration {
  while ((getline line < ("Base/" substr($2, 2, length($2) - 2))) > 0) {
    if (split(line, part, /[(,"] *"?/) > 6) types = types " dtyp_" part[3] " = " part[2] ", /**< " part[4] " */"
  }
  $0 = types
}
/^enum / { enumeration = 1 }
/^};/ { enumeration = 0 }

{
  if ($0 ~ /= (default|delete);$/) $0 = "//"
  lines[NR] = $0
}

END {
  for (first = 1; first <= NR; first++) {
    if (!comment(lines[first])) continue
    margin = indent(lines[first])
    alone = lines[first - 1] == "" || indent(lines[first - 1]) < margin
    for (text = ""; comment(lines[first]); first++) {
      text = text (lines[first] ~ /\/$/ ? " @n" : substr(lines[first], margin + 4))
    }
    count = 0
    for (last = first; lines[last] != "" && !comment(lines[last]) && indent(lines[last]) >= margin; last++) {
      if (indent(lines[last]) == margin && lines[last] !~ /^ *(\}|\/\/|#|(virtual )?~)/) {
        if (lines[last - 1] !~ /^ *(template|requires)/) start = last
        if (lines[last] !~ /^ *(template|requires)/) declarations[count++] = start
      }
    }
    alone = alone && !comment(lines[last])
    for (i = 1; i < count; i++) {
      at = declarations[i]
      if (!alone && name(lines[at]) != name(lines[declarations[0]])) break
      lines[at] = "/**" text " */ " lines[at]
    }
    first--
  }
  for (i = 1; i <= NR; i++) print lines[i]
}
