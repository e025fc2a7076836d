# SPDX-License-Identifier: Apache-2.0
# How Doxygen reads our headers: plain comments on lines of their own document what follows, comments behind a
# declaration document that, and the comment at the head of a file describes the file and its class or interface.
/^\/\/ SPDX-License-Identifier/ { print ""; next }

# The head: every comment line before the first line that is neither comment nor "#pragma once".
!headDone && /^#pragma once/ { print; next }
!headDone && /^\/\// {
  text = $0
  sub(/^\/\/[\/!]? ?/, "", text)
  head[++headLines] = text
  next
}
!headDone {
  headDone = 1
  name = FILENAME
  sub(/.*\//, "", name)
  printf "/** @file %s%s", name, headLines ? "\n *\n" : " */"
  for (i = 1; i <= headLines; ++i) printf " * %s\n", head[i]
  print headLines ? " */" : ""
  sub(/\.h$/, "", name)
}

# The class of the file's name has the head for its description, unless it has one of its own.
headLines && !classDone && !comment && $0 ~ ("^(class|struct|interface)( [A-Z_]+)* " name "( |:|$)") && !/;$/ {
  classDone = 1
  print "/**"
  for (i = 1; i <= headLines; ++i) print " * " head[i]
  print " */"
}

{
  comment = /^[ \t]*\/\//
  if (comment) {
    if ($0 !~ /^[ \t]*\/\/[\/!]/) sub(/\/\//, "///")
    if ($0 ~ /clang-format|NOLINT/) $0 = ""
  } else if (match($0, /[;,{}][ \t]+\/\/ /)) {
    at = RSTART + RLENGTH - 3
    $0 = substr($0, 1, at - 1) "///<" substr($0, at + 2)
  } else if (match($0, /[A-Za-z0-9_)][ \t]+\/\/ [^ ]/) && /^[ \t]+[A-Za-z_0-9]+( = [^,]+)?[ \t]+\/\/ /) {
    at = index($0, "// ")
    $0 = substr($0, 1, at - 1) "///<" substr($0, at + 2)
  }
  print
}
