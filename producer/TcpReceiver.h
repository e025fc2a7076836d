#pragma once
// SPDX-License-Identifier: Apache-2.0
// The camera's stream channel over TCP while it runs (docs/protocols.md): the connection, and a
// thread that reads records straight into the announced buffers. Made by DataStream for one
// acquisition.

#include <sys/uio.h>

#include <array>
#include <atomic>

#include "gigevision/TcpStream.h"
#include "producer/Receiver.h"

namespace OrvexGev {

class Device;

class TcpReceiver final : public Receiver {
 public:
  TcpReceiver(Device& device, FrameSink& sink, const ReceiverSettings& settings);
  ~TcpReceiver() override;

  void Start() override;
  void Stop(bool kill) override;
  Engine UsedEngine() const override { return Engine::Tcp; }

 private:
  // What the bytes that come next belong to.
  enum class Step { Header, Whole, Place, Data, Skip };

  void OpenConnection();
  void Greet(uint32_t key, Clock::time_point deadline);

  // The receiver thread.
  void Run();
  bool ReadSome();
  void Expect(Step step, uint8_t* target, size_t size);
  void Next();
  void OnHeader();
  void OnWhole();
  void OnPlace();
  void ExpectContent();
  void ExpectData(uint64_t offset, size_t size);
  void BeginFrame(const GigEVision::Leader& leader);
  void EndFrame(const GigEVision::Trailer* trailer);
  void Lose(const std::string& reason);

  Device& m_device;
  FrameSink& m_sink;
  UniqueFd m_socket;
  WakeFd m_wake;
  std::atomic<bool> m_stop{false};
  std::atomic<bool> m_kill{false};
  bool m_channelOpen = false;

  // Receiver thread only.
  bool m_lost = false;
  std::array<uint8_t, GigEVision::sk_tcpRecordHeaderSize> m_headerBytes{};
  std::vector<uint8_t> m_scratch;
  Step m_step = Step::Header;
  uint8_t* m_target = nullptr;
  size_t m_left = 0;          // bytes until the step is done
  size_t m_headerFilled = 0;  // of the next header, read together with the data in front of it
  size_t m_overflow = 0;      // content behind the part that fits the buffer
  GigEVision::TcpRecordHeader m_record;

  bool m_inFrame = false;  // between a leader and its trailer
  bool m_hasBuffer = false;
  bool m_broken = false;  // packets of the frame are missing
  FrameTarget m_frame;
  FrameInfo m_info;
  uint64_t m_expected = 0;
  uint64_t m_offset = 0;  // of the data to come
  uint32_t m_nextPacket = 0;
  uint64_t m_lastBlock = 0;
  AssemblerStatistics m_frames;
  SourceStatistics m_source;
};

}  // namespace OrvexGev
