#pragma once
// SPDX-License-Identifier: Apache-2.0
// Stream channel 0 over UDP while it runs: the socket, the camera's channel registers, the receiver
// thread with its packet engine and the frame assembler. Made by DataStream for one acquisition.
// Start and Stop belong to the caller's thread, the statistics may be read from any.

#include <atomic>

#include "producer/Receiver.h"

namespace OrvexGev {

class Device;

class UdpReceiver final : public Receiver {
 public:
  UdpReceiver(Device& device, FrameSink& sink, const ReceiverSettings& settings);
  ~UdpReceiver() override;

  void Start() override;
  void Stop(bool kill) override;
  Engine UsedEngine() const override { return m_engine; }
  size_t PacketSize() const override { return m_packetSize; }
  size_t BufferWanted() const override { return m_bufferWanted; }
  size_t BufferGranted() const override { return m_bufferGranted; }

 private:
  void OpenSocket();
  void OpenChannel();
  void NegotiatePacketSize(uint32_t current);
  bool TestPacketArrives(uint32_t sizeRegister, size_t size);
  void PickEngine();
  void Run();

  Device& m_device;
  FrameSink& m_sink;
  UdpSocket m_socket;
  WakeFd m_wake;
  std::unique_ptr<PacketSource> m_source;
  std::unique_ptr<FrameAssembler> m_assembler;
  std::atomic<bool> m_stop{false};
  std::atomic<bool> m_kill{false};
  std::atomic<Engine> m_engine{Engine::Automatic};
  size_t m_packetSize = 1500;
  bool m_extendedIds = false;
  bool m_bigEndianPixels = false;
  bool m_channelOpen = false;
  size_t m_bufferWanted = 0;
  size_t m_bufferGranted = 0;
};

}  // namespace OrvexGev
