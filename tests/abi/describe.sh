#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# usage: tests/abi/describe.sh BUILD_DIR
# Prints what a program built against the installed SDK relies on: the exported symbols of its libraries, and size,
# bases and virtual table of every public class.
set -euo pipefail
export LC_ALL=C
build=${1:?usage: tests/abi/describe.sh BUILD_DIR}
tree=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

for library in liborvex.so liborvex-genapi.so; do
  printf '# Symbols of %s\n' "$library"
  # Instances of the standard library's templates come and go with the compiler's mind.
  nm -D --defined-only "$build/lib/$library" | awk '{ print $3 }' | c++filt | grep -E 'Orvex|GenApi|GenICam' | sort -u
done

# Headers that are classes of their own; <Base/...> and <GenApi/...> come with the published interface.
{
  echo '#include <Orvex.h>'
  for header in "$tree"/genapi/include/GenApi/*.h; do
    [[ $header == */Private/* ]] || printf '#include <GenApi/%s>\n' "${header##*/}"
  done
} >"$work/all.cpp"
(cd "$work" && "${CXX:-g++}" -std=c++17 -I"$tree/include" -I"$tree/genapi/include" -fsyntax-only \
  -fdump-lang-class=classes.txt all.cpp)
echo '# Classes'
# Blocks are separated by blank lines; addresses of the compiler's own objects are left out.
sed -E 's/ \(0x[0-9a-fx]+\)//' "$work/classes.txt" |
  awk 'BEGIN { RS = ""; ORS = "\n\n" } /^(Vtable for|VTT for|Class) (Orvex|GenApi|GenICam)/ && !/lambda/' |
  sed -E 's/0x0x[0-9a-f]+//'
