#pragma once
// SPDX-License-Identifier: Apache-2.0
// What the producer has to know of a camera's features before a node map exists: which data streams
// it offers. Read from the names in its description.

#include <cstdint>
#include <span>
#include <string>

namespace OrvexGev {

struct CameraTraits {
  bool tcp = false;          // streams over TCP on request
  bool rdma = false;         // names RDMA as a stream protocol
  bool eventSensor = false;  // sends EVT words instead of pictures
  // Data streams by index: 0 UDP, 1 TCP, 2 RDMA, 3 event sensor. Those in front of the last one
  // exist too, because consumers count.
  uint32_t StreamCount() const { return eventSensor ? 4 : rdma ? 3 : tcp ? 2 : 1; }
};

// From a description file, plain or zipped. What cannot be understood has no traits.
CameraTraits FindTraits(std::span<const uint8_t> file);

// The text of a description file: itself, or the first member of a zip archive. Empty when it is
// broken or longer than the limit.
std::string UnpackDescription(std::span<const uint8_t> file);

}  // namespace OrvexGev
