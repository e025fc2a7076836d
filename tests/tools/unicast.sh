#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# usage: tests/tools/unicast.sh BUILD_DIR
# A camera behind a router, which no broadcast reaches: found, asked and streamed by its address. Three network
# namespaces of its own (host, router, camera); skipped with code 77 where they cannot be made.
set -euo pipefail
orvex=$1/bin/orvex
host=orvex-h$$ router=orvex-r$$ camera=orvex-c$$
address=10.77.2.2
folder=$(mktemp -d)

fail() { printf 'unicast: %s\n' "$*" >&2; exit 1; }
in_host() { ip netns exec "$host" "$@"; }
clean() {
  [ -z "${sim:-}" ] || { kill "$sim" && wait "$sim"; } 2>/dev/null || true
  for space in "$host" "$router" "$camera"; do ip netns del "$space" 2>/dev/null || true; done
  rm -rf "$folder"
}
trap clean EXIT

build() {
  for space in "$host" "$router" "$camera"; do
    ip netns add "$space" && ip -n "$space" link set lo up || return 1
  done
  ip link add h0 netns "$host" type veth peer name r0 netns "$router" &&
    ip link add c0 netns "$camera" type veth peer name r1 netns "$router" &&
    ip -n "$host" address add 10.77.1.1/24 broadcast + dev h0 &&
    ip -n "$router" address add 10.77.1.254/24 dev r0 &&
    ip -n "$router" address add 10.77.2.254/24 dev r1 &&
    ip -n "$camera" address add $address/24 broadcast + dev c0 &&
    ip -n "$host" link set h0 up && ip -n "$camera" link set c0 up &&
    ip -n "$router" link set r0 up && ip -n "$router" link set r1 up &&
    ip -n "$host" route add default via 10.77.1.254 &&
    ip -n "$camera" route add default via 10.77.2.254 &&
    ip netns exec "$router" sh -c 'echo 1 > /proc/sys/net/ipv4/ip_forward'
}
build 2>"$folder/why" || { echo "skipped: no network namespaces here ($(head -1 "$folder/why"))"; exit 77; }

ip netns exec "$camera" "$orvex" sim --address $address --serial FAR --width 320 --height 240 >"$folder/sim" &
sim=$!
for _ in $(seq 200); do grep -q ready "$folder/sim" && break; sleep 0.1; done
grep -q ready "$folder/sim" || fail "no camera"

[ "$(in_host "$orvex" list --json)" = "[]" ] || fail "a broadcast went through the router"
in_host "$orvex" unicast $address | grep -q FAR || fail "the camera does not answer when asked"
in_host "$orvex" list --unicast $address | grep -q FAR || fail "the camera is not listed when asked"
in_host "$orvex" grab FAR --unicast $address -o "$folder/far.png" || fail "no picture through the router"
[ -s "$folder/far.png" ] || fail "the picture is empty"
! in_host "$orvex" unicast $address 10.77.2.3 >"$folder/two" 2>&1 || fail "nobody is at the second address"
grep -q '1 of 2 addresses' "$folder/two" || fail "the silent address is not counted: $(cat "$folder/two")"
