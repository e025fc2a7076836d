#pragma once
// SPDX-License-Identifier: Apache-2.0
// A data stream module: the announced buffers, the queues they wait in, and the acquisition that
// fills them. Owned by its Device. Any thread may call; m_eventMutex (of Module) guards buffers,
// queues and counters, m_controlMutex serialises start and stop and is taken first.

#include <atomic>
#include <condition_variable>

#include "producer/EventFrames.h"
#include "producer/Receiver.h"
#include "producer/StreamBuffer.h"

namespace OrvexGev {

class Device;

enum class HandlingMode : int64_t { OldestFirst = 0, OldestFirstOverwrite = 1, NewestOnly = 2 };

struct StreamCounters {
  uint64_t delivered = 0;  // since the last start
  uint64_t underrun = 0;   // since the stream was opened, as started
  uint64_t started = 0;
};

class DataStream final : public Module, public FrameSink {
 public:
  static constexpr Kind sk_kind = Kind::DataStream;

  static std::shared_ptr<DataStream> Create(std::shared_ptr<Device> parent, uint32_t index,
                                            std::string id);
  ~DataStream() override;
  void Close();

  std::shared_ptr<Device> Parent() const { return m_parent.lock(); }
  PortIdentity Identity() const override;

  std::shared_ptr<StreamBuffer> Announce(void* pMemory, size_t size, void* pPrivate);
  void Revoke(const std::shared_ptr<StreamBuffer>& buffer);
  void Queue(const std::shared_ptr<StreamBuffer>& buffer);
  void Flush(GenTL::ACQ_QUEUE_TYPE operation);
  std::shared_ptr<StreamBuffer> BufferAt(uint32_t index) const;
  // A buffer of this stream; throws GC_ERR_INVALID_HANDLE for others.
  std::shared_ptr<StreamBuffer> BufferOf(const void* handle) const;
  void BufferInfo(const StreamBuffer& buffer, GenTL::BUFFER_INFO_CMD command,
                  InfoQuery query) const;
  uint32_t BufferPartCount(const StreamBuffer& buffer) const;
  void BufferPartInfo(const StreamBuffer& buffer, uint32_t index,
                      GenTL::BUFFER_PART_INFO_CMD command, InfoQuery query) const;
  void BufferChunks(const StreamBuffer& buffer, GenTL::SINGLE_CHUNK_DATA* chunks,
                    size_t* count) const;

  void Start(GenTL::ACQ_START_FLAGS flags, uint64_t count);
  void Stop(GenTL::ACQ_STOP_FLAGS flags);
  void Info(GenTL::STREAM_INFO_CMD command, InfoQuery query) const;

  void SetupResend(uint64_t windowFrames, double frameRate, int64_t width, int64_t height);
  void WaitForNextLeader(uint64_t timeoutMs);
  void ResetWaitForNextLeader();

 private:
  class OutputSource;
  DataStream(std::shared_ptr<Device> parent, uint32_t index, std::string id);
  static std::unique_ptr<FeatureTable> MakeFeatures(DataStream& self, uint32_t index);
  static void AddSensorEvents(FeatureTable& table, DataStream* self);
  static void AddStatistics(FeatureTable& table, DataStream* self);
  static void AddSettings(FeatureTable& table, DataStream* self);

  std::shared_ptr<EventSource> MakeSource(GenTL::EVENT_TYPE type) override;

  // FrameSink, on the receiver thread.
  bool Take(FrameTarget& target) override;
  void Deliver(const FrameTarget& target, const FrameInfo& info) override;
  void LeaderSeen(uint64_t blockId) override;
  void RequestResend(const GigEVision::PacketResend& resend) override;
  void TransportLost(const std::string& text) override;

  std::shared_ptr<Receiver> MakeReceiver(Device& device, const ReceiverSettings& settings);
  bool Converts() const { return m_events != nullptr && m_evsFormat != 0; }
  uint8_t* TakeScratchLocked();
  void FireTrigger(const SensorTrigger& trigger);
  bool TakeLocked(FrameTarget& target, bool& discarded);
  void DeliverLocked(StreamBuffer& buffer, const FrameInfo& info);
  void PutOutLocked(StreamBuffer& buffer);
  void ToInputLocked(StreamBuffer& buffer);
  size_t LargestBufferLocked() const;
  ReceiverSettings MakeReceiverSettings();
  uint32_t ReadPacketSize() const;
  void WritePacketSize(uint32_t size);
  std::shared_ptr<Receiver> CurrentReceiver() const;
  AssemblerStatistics PacketStatistics() const;
  std::string SocketAdvice() const;

  const std::weak_ptr<Device> m_parent;
  // Module events.
  static constexpr uint16_t sk_eventBufferTooSmall = 0x0001, sk_eventBuffersDiscarded = 0x0002;
  static constexpr uint32_t sk_tcpStream = 1, sk_rdmaStream = 2, sk_eventStream = 3;
  const uint32_t m_index;
  const std::string m_id;

  std::mutex m_controlMutex;
  std::shared_ptr<Receiver>
      m_receiver;  // guarded by m_eventMutex for reading; kept after a stop for its statistics

  // Guarded by m_eventMutex.
  std::vector<std::shared_ptr<StreamBuffer>> m_buffers;
  BufferQueue m_input{Place::Input};
  BufferQueue m_output{Place::Output};
  size_t m_filling = 0;
  StreamCounters m_counters;
  uint64_t m_limit = 0;
  bool m_started = false;   // needs a stop
  bool m_grabbing = false;  // started, and the number of frames is not reached yet
  bool m_closed = false;
  bool m_poolGoesRound = false;  // set up by the resend extension, see Start
  bool m_shortfallReported = false;
  int64_t m_handlingMode = 0;
  int64_t m_evsFormat = 0;
  int64_t m_evsDepth = 0;
  uint32_t m_sensorWidth = 0, m_sensorHeight = 0;
  std::unique_ptr<EventFrames> m_events;  // of the event stream while it runs
  std::vector<std::unique_ptr<StreamBuffer>>
      m_scratch;  // memory for blocks before they are converted
  std::vector<uint8_t*> m_freeScratch;
  int64_t m_engine = 0;
  int64_t m_negotiate = 1;
  int64_t m_resend = 1;
  int64_t m_resendTries = 10;
  int64_t m_retentionMs = 200;
  int64_t m_threadPriority = 0;
  int64_t m_threadCore = -1;
  uint64_t m_resendWindow = 0;
  double m_frameRate = 0;
  std::condition_variable m_leaderChanged;
  uint64_t m_leaders = 0, m_leadersReported = 0, m_leaderResets = 0;
  uint32_t m_ownPacketSize =
      0;  // what the camera had when it was opened, or what was negotiated since
  bool m_packetSizeGiven = false;  // through the stream's node map
};

}  // namespace OrvexGev
