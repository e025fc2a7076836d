#pragma once
// SPDX-License-Identifier: Apache-2.0
// Stream channel 0 over UDP while it runs: the socket, the camera's channel registers, the receiver
// thread with its packet engine and the frame assembler. Made by DataStream for one acquisition.
// Start and Stop belong to the caller's thread, the statistics may be read from any.

#include <atomic>
#include <mutex>
#include <string>
#include <thread>

#include "producer/FrameAssembler.h"
#include "producer/PacketSource.h"

namespace OrvexGev {

class Device;

struct ReceiverSettings {
  Engine engine = Engine::Automatic;
  bool negotiatePacketSize = true;
  size_t frameBytes = 0;  // of the largest buffer
  double frameRate = 0;   // 1/s, 0 = not known
  uint64_t resendWindow = 0;
  bool resend = true;
  int resendTries = 10;
  std::chrono::milliseconds retention{200};
  int threadPriority = 0;  // of SCHED_FIFO, 0 = none
  int threadCore = -1;     // -1 = any
};

class StreamReceiver final : private PacketHandler {
 public:
  StreamReceiver(Device& device, FrameSink& sink, const ReceiverSettings& settings);
  ~StreamReceiver() override;

  // Opens the camera's stream channel and starts receiving.
  void Start();
  // Finishes the frames that are begun, or drops what they lack at once.
  void Stop(bool kill);

  AssemblerStatistics Statistics() const;
  SourceStatistics SourceStats() const;
  Engine UsedEngine() const { return m_engine; }
  // False when the system did not grant the priority or the core that were asked for.
  bool ThreadAsAsked() const { return m_threadAsAsked; }
  size_t PacketSize() const { return m_packetSize; }
  size_t BufferWanted() const { return m_bufferWanted; }
  size_t BufferGranted() const { return m_bufferGranted; }

 private:
  void OnPacket(std::span<const uint8_t> datagram, Clock::time_point now) override;
  void OpenSocket();
  void OpenChannel();
  void NegotiatePacketSize(uint32_t current);
  bool TestPacketArrives(uint32_t sizeRegister, size_t size);
  void PickEngine();
  bool PlaceThread();
  void Run();

  Device& m_device;
  FrameSink& m_sink;
  const ReceiverSettings m_settings;
  UdpSocket m_socket;
  WakeFd m_wake;
  std::unique_ptr<PacketSource> m_source;
  std::unique_ptr<FrameAssembler> m_assembler;
  std::thread m_thread;
  std::atomic<bool> m_stop{false};
  std::atomic<bool> m_kill{false};
  std::atomic<Engine> m_engine{Engine::Automatic};
  size_t m_packetSize = 1500;
  bool m_extendedIds = false;
  bool m_bigEndianPixels = false;
  bool m_channelOpen = false;
  bool m_threadAsAsked = true;
  size_t m_bufferWanted = 0;
  size_t m_bufferGranted = 0;
  mutable std::mutex m_statisticsMutex;
  AssemblerStatistics m_statistics;
  SourceStatistics m_sourceStatistics;
};

}  // namespace OrvexGev
