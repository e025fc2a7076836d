#pragma once
// SPDX-License-Identifier: Apache-2.0
// A GigE Vision camera in software. Each camera has an IPv4 address of its own (127.0.0.2,
// 127.0.0.3, ... on loopback, or an address of an interface) and two threads, one for control and
// one for streaming; any number of them live in one process. The object is used from one thread at
// a time.

#include <memory>
#include <string>
#include <vector>

#include "simulator/CameraOptions.h"

namespace OrvexSim {

class VirtualCamera {
 public:
  // Throws std::invalid_argument when the options make no sense, std::system_error when the address
  // cannot be used (for instance because another camera has it).
  explicit VirtualCamera(CameraOptions options);
  ~VirtualCamera();  // stops
  VirtualCamera(const VirtualCamera&) = delete;
  VirtualCamera& operator=(const VirtualCamera&) = delete;

  void Start();  // answers from now on; does nothing when started
  void Stop();   // ends both threads and forgets who controls the camera, as switching it off does

  // A feature by name, value as text: "SimDropRate", "1"; commands ignore the value. While the
  // camera runs, too, whoever controls it, and from any thread. Throws std::invalid_argument when
  // there is no such feature or it refuses the value.
  void Set(const std::string& feature, const std::string& value = {});
  std::string Get(const std::string& feature) const;

  std::string Address() const;  // where it is now; a host may have moved it
  std::string Serial() const;
  std::string ModelName() const;
  std::string Description() const;  // the description as served, unpacked

  static std::vector<std::string> Models();

 private:
  struct Parts;
  std::unique_ptr<Parts> m_parts;
};

}  // namespace OrvexSim
