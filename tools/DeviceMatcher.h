#pragma once
// SPDX-License-Identifier: Apache-2.0
// Finds the camera that a person means by the word DEVICE on the command line. Plain data in, index
// out; any thread.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace OrvexTools {

// What discovery tells about one camera, in the texts that a person reads.
struct CameraFacts {
  std::string vendor;
  std::string model;
  std::string serial;
  std::string userName;
  std::string version;
  std::string ip;
  std::string mask;
  std::string gateway;
  std::string mac;
  bool dhcp = false;
  bool persistentIp = false;
  bool linkLocal = false;
};

// "serial (model, ip)", for messages.
std::string Describe(const CameraFacts& camera);

// True when `wanted` is, letter case aside, the whole serial number, user-defined name, IP or MAC
// address. A MAC address may be written with colons, dashes or nothing between its bytes.
bool IsExactly(const CameraFacts& camera, std::string_view wanted);

// Index of the one camera meant. Empty `wanted`: the only camera there is. A whole match goes
// before any part, so that 127.0.0.2 is not ambiguous beside 127.0.0.20. Throws Failure naming the
// candidates when none or several match.
std::size_t MatchCamera(const std::vector<CameraFacts>& cameras, std::string_view wanted);

}  // namespace OrvexTools
