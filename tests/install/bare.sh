#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# usage: bare.sh PACKAGES_DIR SOURCE_DIR ROOT_DIR
# Tries the Debian packages on a bare Debian 12 (made in ROOT_DIR by debootstrap when it is not there): installs them,
# takes a picture from a virtual camera, builds and runs the program of README.md with CMake and with pkg-config alone,
# follows README.md and the guide page by page, removes the packages and looks for what they leave behind. Needs root and
# the network, so it is no part of ./dev test.
set -euo pipefail
packages=$1 source=$2 root=$3
# Where this machine takes its own packages from.
mirror=${ORVEX_DEBIAN_MIRROR:-$(apt-get indextargets --format '$(REPO_URI)' | head -n 1)}

say() { printf '==> %s\n' "$*"; }
inside() { chroot "$root" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root DEBIAN_FRONTEND=noninteractive "$@"; }
# With a loopback of its own and nothing else.
alone() { unshare -n bash -c 'ip link set lo up; exec chroot "$@"' - "$root" /usr/bin/env -i \
  PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root bash -euo pipefail -c "$1"; }
finish() { umount "$root/proc" 2>/dev/null || true; }
trap finish EXIT

[ -x "$root/usr/bin/apt-get" ] || debootstrap --variant=minbase bookworm "$root" "$mirror"
mountpoint -q "$root/proc" || mount -t proc proc "$root/proc"
cp /etc/resolv.conf "$root/etc/"
inside apt-get update -qq
names=(orvex-tools liborvex-dev liborvex0)
inside apt-get purge -y -qq "${names[@]}" >/dev/null 2>&1 || true
rm -rf "$root/try" && mkdir "$root/try"
cp "$packages"/*.deb "$root/try/"

say "installing the libraries and the program alone"
inside bash -c 'apt-get -o Dpkg::Use-Pty=0 install -y -qq --no-install-recommends /try/liborvex0_*.deb /try/orvex-tools_*.deb' >/dev/null
inside bash -c 'ldconfig -p | grep -q "liborvex.so.0 "'
inside test -f /usr/share/man/man1/orvex.1 -o -f /usr/share/man/man1/orvex.1.gz
alone 'cd /try; orvex --version
  orvex sim --serial BARE >sim.log & trap "kill $!" EXIT; until grep -q "^ready" sim.log; do sleep 0.1; done
  orvex list; orvex grab BARE -o a.png; test -s a.png'

say "building the program of README.md"
inside bash -c 'apt-get -o Dpkg::Use-Pty=0 install -y -qq --no-install-recommends /try/liborvex-dev_*.deb g++ cmake make pkg-config' >/dev/null
awk '/^```cpp$/ {show = 1; next} /^```$/ {show = 0} show' "$source/README.md" > "$root/try/first.cpp"
grep -q OpenSystem "$root/try/first.cpp"
cat > "$root/try/nodes.cpp" <<'CPP'
#include <GenApi/GenApi.h>
int main() { return GenApi::CNodeMapRef()._Ptr == nullptr ? 0 : 1; }
CPP
cat > "$root/try/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.25)
project(First LANGUAGES CXX)
find_package(Orvex REQUIRED)
add_executable(first first.cpp)
target_link_libraries(first PRIVATE Orvex::Orvex)
add_executable(nodes nodes.cpp)
target_link_libraries(nodes PRIVATE Orvex::GenApi)
CMAKE
alone 'cd /try; cmake -S . -B build >/dev/null; cmake --build build >/dev/null
  g++ -std=c++17 -Wall -Wextra -Werror first.cpp -o plain $(pkg-config --cflags --libs orvex)
  g++ -std=c++17 nodes.cpp -o plain-nodes $(pkg-config --cflags --libs orvex-genapi)
  build/nodes; ./plain-nodes
  orvex sim >sim.log & trap "kill $!" EXIT; until grep -q "^ready" sim.log; do sleep 0.1; done
  for program in build/first ./plain; do rm -f picture.ppm; $program; test -s picture.ppm; done'

say "following the pages"
inside ldconfig
guide=$source/docs/guide
# Its own commands of installing are run here, where there is a network.
echo 'APT::Get::Assume-Yes "true"; Dpkg::Use-Pty "0";' >"$root/etc/apt/apt.conf.d/90try"
mkdir -p "$root/try/build" && ln -sfn .. "$root/try/build/packages"
grep -h '^sudo apt-get install' "$guide"/*.md | while read -r _ command; do
  inside bash -c "cd /try && $command" </dev/null >/dev/null
done
failed=0
for page in "$source/README.md" $(sed -nE 's/^[0-9]+\. \[.*\]\(([^)]*)\).*/\1/p' "$guide/README.md" | sed "s|^|$guide/|"); do
  awk -v host=1 -v without='./dev ' -f "$source/tests/docs/follow.awk" "$page" >"$root/try/page.sh"
  if "$source/tests/machine/machine.sh" "$root" "$root/try/page.sh" >"$root/try/page.log" 2>&1; then
    echo "followed: $(basename "$page")"
  else
    echo "stumbled: $(basename "$page")"; tail -n 40 "$root/try/page.log"; failed=1
  fi
done
[ $failed = 0 ]

say "removing them"
inside apt-get -o Dpkg::Use-Pty=0 purge -y -qq "${names[@]}" >/dev/null
left=$(find "$root" -mindepth 1 -xdev -iname '*orvex*' -not -path "$root/try/*" -not -path "$root/var/log/*" -not -path "$root/proc/*" || true)
[ -z "$left" ] || { printf 'left behind:\n%s\n' "$left"; exit 1; }
say "nothing is left behind"
