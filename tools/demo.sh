#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# usage: tools/demo.sh BUILD_DIR OUT.png
# From a virtual camera to a picture in colour: starts the camera on loopback, finds it over the network, streams, saves.
# Ends with code 0 only when the camera was found, frames came, none was incomplete, and the picture is there.
set -euo pipefail
export LC_ALL=C  # numbers with a point

if [ $# -ne 2 ]; then
  echo "usage: $0 BUILD_DIR OUT.png" >&2
  exit 2
fi
orvex=$1/bin/orvex
picture=$2
seconds=3
patience=15

fail() { printf 'demo: %s\n' "$*" >&2; exit 1; }

# The value of a top-level number or text in JSON as the program prints it, one entry a line.
value() { sed -n "s/^  *\"$1\": \"\{0,1\}\([^\",]*\)\"\{0,1\},\{0,1\}$/\1/p" "$2" | head -n 1; }

[ -x "$orvex" ] || fail "$orvex is not built; run ./dev demo"
work=$(mktemp -d)
camera=
finish() {
  if [ -n "$camera" ]; then
    kill "$camera" 2>/dev/null || true
    wait "$camera" 2>/dev/null || true
  fi
  rm -rf "$work"
}
trap finish EXIT
trap 'exit 130' INT TERM

# Number and address of its own, so that cameras of other programs on this host neither disturb nor are disturbed.
serial=DEMO$$
address=127.$((1 + $$ / 64516 % 254)).$((1 + $$ / 254 % 254)).$((1 + $$ % 254))
"$orvex" sim --cameras 1 --serial "$serial" --address "$address" >"$work/camera.out" 2>&1 &
camera=$!

printf 'looking for the camera ...\n'
for ((second = 0; ; ++second)); do
  kill -0 "$camera" 2>/dev/null || fail "the virtual camera ended: $(tail -n 1 "$work/camera.out")"
  if "$orvex" info "$serial" --wait 1000 --json >"$work/info" 2>"$work/error"; then break; fi
  [ "$second" -lt "$patience" ] || fail "the camera was not found: $(cat "$work/error")"
  sleep 0.2
done
printf 'camera found       %s\n' "$(value serial "$work/info")"
printf 'address            %s\n' "$(value ip "$work/info")"
printf 'model              %s\n' "$(value model "$work/info")"

format=BayerRG8
"$orvex" stream "$serial" --format "$format" --seconds "$seconds" --json >"$work/stream" || fail "streaming failed"
frames=$(value frames "$work/stream")
incomplete=$(value incomplete_frames "$work/stream")
missing=$(value missing_frames "$work/stream")
printf 'frame rate         %.1f frames/s (%s frames of %s, %.1f MB/s)\n' "$(value frames_per_second "$work/stream")" \
  "$frames" "$format" "$(value megabytes_per_second "$work/stream")"
printf 'incomplete frames  %s\n' "$incomplete"
[ "$frames" -gt 1 ] || fail "no frames came"
[ "$incomplete" -eq 0 ] || fail "$incomplete of $frames frames were incomplete"
[ "$missing" -eq 0 ] || fail "$missing frames never came"

mkdir -p "$(dirname "$picture")"
rm -f "$picture"
"$orvex" grab "$serial" --format "$format" -o "$picture" --json >"$work/grab" || fail "saving the picture failed"
[ -s "$picture" ] || fail "$picture was not written"
printf 'picture            %s\n' "$(realpath "$picture")"
