#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# usage: bench/run.sh BUILD_DIR [GROUP]
# Runs one group of benchmarks, or all; the rows also go to build/bench/GROUP.json. What they find never fails the run.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
build=${1:?usage: bench/run.sh BUILD_DIR [GROUP]}
group=${2:-all}
mkdir -p build/bench
programs=("$build"/bin/bench_*)
[ "$group" = all ] || programs=("$build/bin/bench_$group")
for program in "${programs[@]}"; do
  if [ ! -x "$program" ]; then
    printf 'bench: no such group: %s; there are:%s\n' "$group" \
      "$(cd "$build/bin" 2>/dev/null && printf ' %s' bench_* | sed 's/bench_//g')" >&2
    exit 1
  fi
  "$program" build/bench || printf 'bench: %s ended with %s\n' "$program" "$?" >&2
done
