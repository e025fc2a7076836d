#pragma once
// SPDX-License-Identifier: Apache-2.0
// Processes and network namespaces for tests of whole streams: a host and a camera on two ends of a
// cable, whose faults the kernel makes. The namespaces have no names and end with their owner,
// however that ends. Used by one thread, before it has started any other.

#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#include "producer/Network.h"

namespace NetworkLab {

using OrvexGev::UniqueFd;

// A process that runs until it is told to end, or its owner ends.
class Child {
 public:
  Child() = default;
  // Runs `body` in the namespace (-1: this one); `wait` inside it returns when the owner lets go,
  // `tell` sends one block of bytes to the owner.
  struct Link {
    std::function<void()> wait;
    std::function<void(const void*, size_t)> tell;
  };
  Child(int nameSpace, const std::function<void(Link&)>& body);
  Child(Child&& other) noexcept;
  Child& operator=(Child&& other) noexcept;
  ~Child() { End(); }

  int Pid() const { return m_pid; }
  // What the child tells; false when it ends instead.
  bool Hear(void* target, size_t size, double seconds = 3600);
  // Processor time that it has used so far.
  double CpuSeconds() const;
  void End();
  // For one that never ends by itself.
  void Kill();

 private:
  int m_pid = -1;
  UniqueFd m_control, m_answers;
};

// Runs the body in a process of its own and hands back what it returns; throws std::runtime_error
// when the process fails.
void CallAway(int nameSpace, const std::function<void(void*)>& body, void* result, size_t size);
template <class Result>
Result Away(int nameSpace, const std::function<Result()>& body) {
  static_assert(std::is_trivially_copyable_v<Result>);
  Result result;
  CallAway(
      nameSpace, [&body](void* out) { *static_cast<Result*>(out) = body(); }, &result,
      sizeof result);
  return result;
}

// A host and a camera joined by a cable.
class Cable {
 public:
  static constexpr const char* sk_host = "10.77.0.1";
  static constexpr const char* sk_camera = "10.77.0.2";

  // Why no cable can be laid here; empty when one can.
  static std::string Unavailable();

  explicit Cable(unsigned mtu = 9000);

  int Host() const { return m_host.Get(); }
  int Camera() const { return m_camera.Get(); }
  // Runs a shell line at one end; throws when it fails. The devices are va and vb.
  void AtHost(const std::string& line) const { Run(Host(), line); }
  void AtCamera(const std::string& line) const { Run(Camera(), line); }

  // Loses this share (in millionths) of what the camera sends, by direction and kind.
  void LoseStream(unsigned millionths) const;
  void LoseAcknowledges(unsigned millionths) const;
  // A share goes a slower way, `milliseconds` late.
  void Shape(const char* rate) const;
  void Plug(bool in) const;

 private:
  static void Run(int nameSpace, const std::string& line);
  void Lose(const std::string& match, unsigned millionths) const;

  UniqueFd m_host, m_camera;
};

}  // namespace NetworkLab
