#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# usage: consumer.sh BUILD_DIR SOURCE_DIR
# Installs into a fresh prefix, moves it, builds the first example with CMake and with pkg-config alone, runs both
# against a virtual camera of the installed program.
set -euo pipefail
build=$1 source=$2
work=$(mktemp -d)
simulator=
finish() { [ -z "$simulator" ] || kill "$simulator" 2>/dev/null || true; rm -rf "$work"; }
trap finish EXIT

cmake --install "$build" --prefix "$work/first" >/dev/null
mv "$work/first" "$work/moved"
prefix=$work/moved
export PKG_CONFIG_PATH
PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name orvex.pc)")
libraries=$(dirname "$PKG_CONFIG_PATH")

mkdir "$work/app"
cp "$source/examples/acquisition.cpp" "$work/app/"
cat > "$work/app/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.25)
project(App LANGUAGES CXX)
find_package(Orvex 0.1 REQUIRED)
add_executable(app acquisition.cpp)
target_link_libraries(app PRIVATE Orvex::Orvex)
CMAKE
cmake -S "$work/app" -B "$work/app/build" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/app/build" >/dev/null
# shellcheck disable=SC2046  # the flags are words
g++ -std=c++17 -Wall -Wextra -Wpedantic -Werror "$work/app/acquisition.cpp" -o "$work/app/plain" \
  $(pkg-config --cflags --libs orvex)

serial=INSTALL$$
address=127.9.$((RANDOM % 200 + 1)).$((RANDOM % 200 + 1))
"$prefix/bin/orvex" sim --address "$address" --serial "$serial" >"$work/sim.log" 2>&1 &
simulator=$!
for _ in $(seq 50); do
  "$prefix/bin/orvex" list 2>/dev/null | grep -q "$serial" && break
  sleep 0.1
done
export LD_LIBRARY_PATH=$libraries
"$work/app/build/app" "$serial"
"$work/app/plain" "$serial"
