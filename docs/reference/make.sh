#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# usage: docs/reference/make.sh OUT_DIR
# Makes the reference pages in OUT_DIR/html; fails when a public declaration is not documented.
set -euo pipefail
out=$(realpath -m "${1:?usage: docs/reference/make.sh OUT_DIR}")
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
version=$(sed -nE 's/^project\(Orvex VERSION ([0-9.]+).*/\1/p' CMakeLists.txt)
mkdir -p "$out"
{
  cat docs/reference/Doxyfile
  printf 'OUTPUT_DIRECTORY = "%s"\nPROJECT_NUMBER = %s\nWARN_AS_ERROR = FAIL_ON_WARNINGS\n' "$out" "$version"
} | doxygen -
