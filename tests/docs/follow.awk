# SPDX-License-Identifier: Apache-2.0
# usage: awk -v host=0|1 [-v without=TEXT] -f follow.awk PAGE.md
# Prints a shell script that does what a page shows: its blocks of commands in their order, each announced by a line
# with the number of the line where it begins. Without `host`, blocks that change the machine are only read by the
# shell; blocks with TEXT in them are left out.
BEGIN {
  print "set -euo pipefail"
  print "trap 'kill $(jobs -p) 2>/dev/null || true' EXIT"
}
/^```/ && !inside { inside = 1; kind = substr($0, 4); begin = NR; text = ""; next }
/^```/ {
  inside = 0
  if (without != "" && index(text, without)) next
  if (kind == "sh" || kind == "sh host" && host) printf "echo; echo '@@@ line %d'\n%s", begin, text
  else if (kind == "sh host") printf "bash -n <<'ONLY-SYNTAX'\n%sONLY-SYNTAX\n", text
  next
}
# Cameras that are started in the background are waited for, as a person does without noticing.
inside && /^orvex sim[^&#]*&/ {
  sub(/&.*/, ">>sim.log 2>\\&1 \\&")
  text = text $0 "\nuntil grep -q ^ready sim.log; do kill -0 $!; sleep 0.02; done\n: >sim.log\n"
  next
}
inside { text = text $0 "\n" }
