#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# usage: tests/abi/check.sh BUILD_DIR
# Fails when the libraries are no longer what the recorded file says that programs rely on.
set -euo pipefail
here=$(dirname "${BASH_SOURCE[0]}")
now=$(mktemp)
trap 'rm -f "$now"' EXIT
"$here/describe.sh" "$1" >"$now"
if ! diff -u "$here/recorded.txt" "$now"; then
  echo 'The binary interface changed. Programs that were built before may no longer run: if that is meant, record it' >&2
  echo 'with ./dev abi, and raise the version when a symbol went or a layout changed.' >&2
  exit 1
fi
