# SPDX-License-Identifier: Apache-2.0
# usage: tests/machine/machine.sh / troubles.sh TREE FOLDER_OF_ORVEX
# Makes the troubles that `orvex doctor` is for, looks whether it finds each and names the command
# that mends it, has it run the commands after a yes, and looks whether the troubles are gone.
set -euo pipefail
PATH=$1:$PATH
cd /root
: >sim.log
failures=0

# found PATTERN: the last run with --fix has such a line.
found() { grep -qE "$1" fix.txt || { failures=$((failures + 1)); printf 'not found: %s\n' "$1"; cat fix.txt; }; }
# mend [ARGUMENTS]: runs the doctor, with yes for every answer.
mend() { yes | orvex doctor "$@" --seconds 0.5 --fix >fix.txt 2>&1 || true; }
# now CHECK LEVEL MEASURED: what another run finds in this check begins so.
now() {
  orvex doctor --seconds 0.5 --json >findings.json 2>errors.txt || true
  while [ $# -gt 0 ]; do
    if ! grep -A4 "\"check\": \"$1\"" findings.json | tr -d '\n' | grep -q "\"level\": \"$2\",.*\"measured\": \"$3"; then
      failures=$((failures + 1))
      printf 'not mended: %s\n' "$1"
      grep -A6 "\"check\": \"$1\"" findings.json || cat errors.txt
    fi
    shift 3
  done
}

# A switch at the far end of the cable; a camera on it, which can have any of these addresses; and another station.
for space in far other; do ip netns add $space; done
far() { ip netns exec far "$@"; }
other() { ip netns exec other "$@"; }
ip link set cable netns far
far ip link add switch type bridge
far ip link add port type veth peer name station netns other
far ip link set cable mtu 9000 master switch up
far ip link set port mtu 9000 master switch up
far ip link set switch mtu 9000 up
far ip link set lo up
far ip address add 192.168.5.77/24 dev switch
for address in 192.168.5.10 10.0.0.5 169.254.7.8; do far ip address add $address/32 dev switch; done
far ip route add default dev switch
other ip link set station up
# The address that the doctor will offer is nobody's yet, although the far end has it.
far nft add table arp quiet
far nft add chain arp quiet input '{ type filter hook input priority 0; }'
far nft add rule arp quiet input arp saddr ip 0.0.0.0 arp daddr ip 192.168.5.10 drop
sim=
trap 'kill $sim' EXIT
camera() { # ADDRESS
  if [ -n "$sim" ]; then kill $sim && wait $sim || true; fi
  ip netns exec far orvex sim --address "$1" --serial FAR --width 320 --height 240 --frame-rate 50 >sim.log 2>&1 &
  sim=$!
  until grep -q "^ready" sim.log; do kill -0 $sim; sleep 0.02; done
}

# This computer is set up badly: packets are small, the processors sleepy, the filter strict, the firewall closed.
camera 192.168.5.77
echo 1 >/proc/sys/net/ipv4/conf/eth1/rp_filter
mend
found "^note +MTU of the interface +eth1 takes 1500 bytes"
found "mend: ip link set dev eth1 mtu 9000"
found "^note +CPU frequency +governor powersave"
found "^note +Heartbeat +3000 ms"
found "mend: orvex set FAR GevHeartbeatTimeout 60000"
found "^note +Reverse-path filter +eth1: strict"
now mtu ok "eth1 takes 9000" governor ok "governor performance" heartbeat ok "60000 ms" reverse_path ok "eth1: off" \
  duplicate_ip ok "no address is seen twice; asked on eth1" path ok "packets of 576, 1500, 4000, 8192, 9000 bytes arrive"

nft add rule inet filter input udp sport 3956 accept
nft chain inet filter input '{ policy drop; }'
mend
found "^problem +Firewall +inet filter input drops what no rule accepts"
found "^problem +Packets on the way +no test packet arrives"
now firewall ok "inet filter input drops what no rule accepts, but the camera's packets pass" stream ok ""
nft flush ruleset

# Addresses that do not fit.
camera 10.0.0.5
echo 2 >/proc/sys/net/ipv4/conf/eth1/rp_filter
mend
found "^problem +Cameras +no camera answers"
found "^note +Reverse-path filter +eth1: loose, and no route leads to other subnets"
mend
found "^problem +Subnet of the camera +FAR .* has 10.0.0.5, eth1 has 192.168.5.1/24"
now camera_subnet ok "each camera lies" receive_buffer ok "limit 33554432"
camera 169.254.7.8
mend
found "^problem +Link-local addresses +FAR .* has a link-local address"
now camera_subnet ok "each camera lies"
ip link add eth2 type veth peer name cable2
ip address add 192.168.5.2/24 dev eth2
ip link set eth2 up
mend
found "^problem +Interfaces in one subnet +eth1 has 192.168.5.1, eth2 has 192.168.5.2"
now shared_subnet ok "each interface"

# Another station has the address of the camera, then that of this computer.
camera 192.168.5.77
other ip address add 192.168.5.77/32 dev station
ip neighbour flush dev eth1
mend
found "^problem +Duplicate addresses +FAR .* shares its address with [0-9a-f:]+ and [0-9a-f:]+"
now duplicate_ip ok "no address is seen twice; asked on eth1"
other ip address add 192.168.5.1/32 dev station
mend
found "^problem +Duplicate addresses +[0-9a-f:]+ has 192.168.5.1 too, the address of this computer's eth1"
now duplicate_ip ok "no address is seen twice; asked on eth1"
[ $failures = 0 ]
