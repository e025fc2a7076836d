#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# usage: machine.sh ROOT SCRIPT [TREE [ARGUMENTS]]
# Runs a shell script as the administrator of a machine that is thrown away afterwards: ROOT ("/": a copy of this one,
# or a folder that holds a Debian) below a layer that takes all writes, with processes, mounts, and a network of its
# own. The script stands in TREE, which is covered in the same way, or in /root. Exit code 77 where no such machine can
# be made. What a virtual machine's kernel does not have is stood in for:
# - `eth1` is one end of a cable whose other end, `cable`, lies beside it; its driver has no ring and no interrupts, so
#   `ethtool` goes as far as the driver's "not supported"; loopback has 192.168.5.20, for a camera to be moved there;
# - the limits of socket buffers are those of the whole computer: a file stands for /proc/sys/net/core/rmem_max;
# - two processors whose governor is `powersave`, as files;
# - `sudo`, where it is not installed;
# - `apt-get` takes yes for its answer and leaves what is installed as it is, for there is no way to other packages;
# - `ctest` lists the tests instead of running them, for one of them is what runs this.
set -euo pipefail
root=$1 script=$2 tree=${3:-}

if [ "${ORVEX_MACHINE:-}" != made ]; then
  spaces=(--mount --net --uts --ipc --pid --fork --kill-child)
  unshare "${spaces[@]}" mount -t overlay overlay -o lowerdir=/bin:/etc /mnt 2>/dev/null ||
    { echo "skipped: making a machine of its own needs root, namespaces and overlayfs"; exit 77; }
  ORVEX_MACHINE=made exec unshare "${spaces[@]}" "$0" "$@"
fi

work=/mnt machine=/mnt/machine
mount -t tmpfs tmpfs "$work"
cp "$script" "$work/script"
# cover FOLDER AT: shows the folder there; what is written goes to memory.
cover() {
  local layer
  layer=$(mktemp -d "$work/layer.XXXX") && mkdir "$layer/new" "$layer/work" && mkdir -p "$2"
  mount -t overlay overlay -o "lowerdir=$1,upperdir=$layer/new,workdir=$layer/work" "$2"
}
cover "$root" "$machine"
[ -z "$tree" ] || cover "$tree" "$machine$tree"
mount -t proc proc "$machine/proc"
mount -t sysfs sysfs "$machine/sys"
mount --rbind /dev "$machine/dev"
mv "$work/script" "$machine/root/script"

ip link set lo up
ip link add eth1 type veth peer name cable
ip address add 192.168.5.1/24 dev eth1
ip address add 192.168.5.20/32 dev lo
ip link set eth1 up
ip link set cable up

limit=$machine/proc/sys/net/core/rmem_max
if [ -e "$limit" ]; then
  echo 212992 >"$work/limit"
  mount --bind "$work/limit" "$limit"
fi
processors=$machine/sys/devices/system/cpu
mount -t tmpfs tmpfs "$processors"
for file in online possible present; do cat "/sys/devices/system/cpu/$file" >"$processors/$file"; done
for number in 0 1; do
  frequency=$processors/cpu$number/cpufreq
  mkdir -p "$frequency"
  echo 1 >"$processors/cpu$number/online"
  echo powersave >"$frequency/scaling_governor"
  echo "performance powersave" >"$frequency/scaling_available_governors"
done
local=$machine/usr/local
[ -x "$machine/usr/bin/sudo" ] || printf '#!/bin/sh\nexec "$@"\n' >"$local/bin/sudo"
cat >"$local/sbin/ethtool" <<'END'
#!/bin/sh
answer=$(/usr/sbin/ethtool "$@" 2>&1)
code=$?
echo "$answer"
case $answer in *": Operation not supported") exit 0 ;; esac
exit $code
END
printf '#!/bin/sh\nexec /usr/bin/ctest -N "$@"\n' >"$local/bin/ctest"
chmod +x "$local"/*bin/*
echo 'APT::Get::Upgrade "false"; APT::Get::Assume-Yes "true";' >"$machine/etc/apt/apt.conf.d/90machine"
# As at boot.
[ ! -x "$machine/usr/sbin/nft" ] || chroot "$machine" /usr/sbin/nft -f /etc/nftables.conf
exec chroot "$machine" /usr/bin/env -i HOME=/root LANG=C.UTF-8 DEBIAN_FRONTEND=noninteractive ORVEX_SHIP=dev \
  PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
  bash -c 'cd "$1" && exec bash /root/script "${@:2}" </dev/null' - "${tree:-/root}" "${@:4}"
