#pragma once
// SPDX-License-Identifier: Apache-2.0
// The GVCP control channel to one camera: request ids, retries, pending acknowledges, register and
// memory access of whole words. Owned by a Device. Any thread may call: feature accesses follow one
// another, the heartbeat goes beside them and never waits for one. Whoever waits also receives, so
// that a plain register read costs no thread switch.

#include <array>
#include <atomic>
#include <climits>
#include <condition_variable>
#include <mutex>
#include <span>
#include <vector>

#include "gigevision/Gvcp.h"
#include "producer/Network.h"

namespace OrvexGev {

struct ControlSettings {
  std::chrono::microseconds timeout;
  int retries;
};

class ControlChannel {
 public:
  // Binds to the host address and connects to the camera; sends nothing yet.
  ControlChannel(uint32_t hostIp, uint32_t deviceIp);

  // One register, in host order.
  uint32_t ReadRegister(uint32_t address);
  void WriteRegister(uint32_t address, uint32_t value);
  // Once and once again, however the retries are set: for what a camera that may be gone is told at
  // the end.
  void WriteRegisterBriefly(uint32_t address, uint32_t value);
  // Several registers in one command each where the camera takes them, one by one otherwise.
  std::vector<uint32_t> ReadRegisters(std::span<const uint32_t> addresses);
  void WriteRegisters(std::span<const GigEVision::RegisterWrite> writes);
  // Whole words at word addresses, split into blocks.
  void ReadMemory(uint32_t address, std::span<uint8_t> target);
  void WriteMemory(uint32_t address, std::span<const uint8_t> source);

  // The heartbeat's question, with its own short patience; nothing when the camera stays silent.
  // Waits for a feature access in progress only as long as given, then goes beside it.
  std::optional<uint32_t> Probe(uint32_t address, std::chrono::milliseconds patience,
                                std::chrono::milliseconds answerWithin);

  // Commands without an acknowledge.
  void SendPacketResend(const GigEVision::PacketResend& resend);
  // With acknowledge; throws like the others.
  void SendAction(const GigEVision::Action& action);

  // When the camera last answered anything at all, also too late.
  Clock::time_point LastHeard() const;

  // Ends waits of other threads with GC_ERR_IO, now and later.
  void Abort();

  void SetCapability(uint32_t gvcpCapability) { m_capability = gvcpCapability; }
  uint32_t Capability() const { return m_capability; }
  uint16_t LocalPort() const { return m_socket.LocalPort(); }
  ControlSettings Settings() const;
  void SetSettings(ControlSettings settings);

  struct Statistics {
    uint64_t commands = 0, retries = 0, timeouts = 0, pendingAcks = 0, strangers = 0;
  };
  Statistics GetStatistics() const;

 private:
  struct Request;
  class FeatureTurn;
  using Packet = std::array<uint8_t, GigEVision::sk_gvcpMaxDatagram>;

  // Sends packet (whose request id is set by this call) and waits for its acknowledge. Throws
  // GcError on an error status and when no answer came.
  void Transact(Request& request, std::span<uint8_t> packet, std::chrono::microseconds timeout,
                int retries);
  bool Await(std::unique_lock<std::mutex>& lock, Request& request);
  void Dispatch(std::span<const uint8_t> datagram);
  Request Execute(std::span<uint8_t> packet, int mostRetries = INT_MAX);

  UdpSocket m_socket;
  mutable std::mutex m_mutex;
  std::condition_variable m_changed;
  std::condition_variable m_featureDone;
  bool m_featureActive = false;  // one feature access at a time
  std::vector<Request*> m_requests;
  ControlSettings m_settings;
  Statistics m_statistics;
  Clock::time_point m_lastHeard{};
  uint16_t m_lastId;
  bool m_receiving = false;
  bool m_aborted = false;
  std::atomic<uint32_t> m_capability{0};
  WakeFd m_wake;
};

}  // namespace OrvexGev
