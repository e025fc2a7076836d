// SPDX-License-Identifier: Apache-2.0
#include "tools/DeviceMatcher.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cctype>

#include "tools/Failure.h"

namespace OrvexTools {
namespace {

std::string Lower(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return lower;
}

std::string WithoutSeparators(std::string_view text) {
  std::string digits(text);
  std::erase_if(digits, [](char c) { return c == ':' || c == '-'; });
  return digits;
}

// A MAC address or a piece of one: hexadecimal digits, perhaps separated.
bool LooksLikeMac(std::string_view lower) {
  return lower.size() >= 2 && std::all_of(lower.begin(), lower.end(), [](unsigned char c) {
           return std::isxdigit(c) || c == ':' || c == '-';
         });
}

std::array<std::string, 3> Names(const CameraFacts& camera) {
  return {Lower(camera.serial), Lower(camera.userName), Lower(camera.ip)};
}

bool HoldsPart(const CameraFacts& camera, std::string_view wanted) {
  const std::string part = Lower(wanted);
  for (const std::string& name : Names(camera)) {
    if (name.find(part) != std::string::npos) return true;
  }
  return LooksLikeMac(part) &&
         WithoutSeparators(Lower(camera.mac)).find(WithoutSeparators(part)) != std::string::npos;
}

std::string DescribeAll(const std::vector<CameraFacts>& cameras,
                        const std::vector<std::size_t>& which) {
  std::string text;
  for (const std::size_t index : which) {
    if (!text.empty()) text += ", ";
    text += Describe(cameras[index]);
  }
  return text;
}

}  // namespace

std::string Describe(const CameraFacts& camera) {
  const std::string name = !camera.serial.empty() ? camera.serial : camera.mac;
  return fmt::format("{} ({}, {})", name, camera.model, camera.ip);
}

bool IsExactly(const CameraFacts& camera, std::string_view wanted) {
  if (wanted.empty()) return false;
  const std::string whole = Lower(wanted);
  for (const std::string& name : Names(camera)) {
    if (name == whole) return true;
  }
  return LooksLikeMac(whole) && WithoutSeparators(Lower(camera.mac)) == WithoutSeparators(whole);
}

std::size_t MatchCamera(const std::vector<CameraFacts>& cameras, std::string_view wanted) {
  if (cameras.empty()) {
    throw Failure(
        "no camera found; check its power and cable and that it is in one of this computer's "
        "networks, or start a "
        "virtual one with `orvex sim`");
  }
  std::vector<std::size_t> all(cameras.size());
  for (std::size_t i = 0; i < all.size(); ++i) all[i] = i;
  if (wanted.empty()) {
    if (cameras.size() == 1) return 0;
    throw Failure(
        fmt::format("{} cameras found: {}; say which one by serial number, name or address",
                    cameras.size(), DescribeAll(cameras, all)));
  }

  std::vector<std::size_t> exact;
  std::vector<std::size_t> partial;
  for (const std::size_t i : all) {
    if (IsExactly(cameras[i], wanted)) exact.push_back(i);
    if (HoldsPart(cameras[i], wanted)) partial.push_back(i);
  }
  const std::vector<std::size_t>& matches = exact.empty() ? partial : exact;
  if (matches.size() == 1) return matches.front();
  if (matches.empty()) {
    throw Failure(
        fmt::format("no camera matches '{}'; found: {}", wanted, DescribeAll(cameras, all)));
  }
  throw Failure(fmt::format("'{}' matches {} cameras: {}; give a whole serial number or address",
                            wanted, matches.size(), DescribeAll(cameras, matches)));
}

}  // namespace OrvexTools
