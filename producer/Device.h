#pragma once
// SPDX-License-Identifier: Apache-2.0
// A device module: one camera that this process has opened. Owns the control channel with its
// heartbeat thread, the remote port, the message channel and the data streams. Owned by its
// Interface. Any thread may call. Lock order: Device::m_mutex before a stream's mutex before the
// control channel's.

#include <array>
#include <atomic>
#include <thread>

#include "producer/ControlChannel.h"
#include "producer/Discovery.h"
#include "producer/Module.h"

namespace OrvexGev {

struct CameraTraits;
class DataStream;
class Interface;
class MessageChannel;
class RemotePort;

class Device final : public Module {
 public:
  static constexpr Kind sk_kind = Kind::Device;
  static constexpr uint16_t sk_eventDeviceLost = 0x0001;  // a module event

  // Takes control as the flags say; throws GC_ERR_ACCESS_DENIED when another application holds the
  // camera, GC_ERR_IO when it does not answer.
  static std::shared_ptr<Device> Create(std::shared_ptr<Interface> parent,
                                        const DeviceRecord& record,
                                        GenTL::DEVICE_ACCESS_FLAGS flags);
  ~Device() override;
  void Close();

  const DeviceRecord& Record() const { return m_record; }
  std::shared_ptr<Interface> Parent() const { return m_parent.lock(); }
  std::shared_ptr<ControlChannel> Channel() const { return m_channel; }
  const HostInterface& Host() const { return m_host; }
  std::shared_ptr<RemotePort> Remote() const { return m_remote; }
  PortIdentity Identity() const override;

  bool Connected() const { return m_connected; }
  bool Controls() const { return m_controls; }
  GenTL::DEVICE_ACCESS_STATUS AccessStatus() const;
  uint64_t TickFrequency() const { return m_tickFrequency; }
  uint16_t VersionMajor() const { return m_record.versionMajor; }
  uint32_t GvspCapability() const { return m_gvspCapability; }

  void Info(GenTL::DEVICE_INFO_CMD command, InfoQuery query) const;
  uint32_t StreamCount() const { return m_streamCount; }
  std::string StreamId(uint32_t index) const;
  std::shared_ptr<DataStream> OpenStream(const char* id);
  void Forget(const DataStream& stream);

  // The camera has one stream channel, which one data stream at a time may use.
  bool ClaimChannel() { return !m_channelClaimed.exchange(true); }
  void ReleaseChannel() { m_channelClaimed = false; }

  void SendAction(uint32_t deviceKey, uint32_t groupKey, uint32_t groupMask, uint64_t time);

  // From the message channel: one event's datagram, GVCP header included.
  void FireRemote(std::vector<uint8_t> datagram);

 private:
  Device(std::shared_ptr<Interface> parent, const DeviceRecord& record,
         GenTL::DEVICE_ACCESS_FLAGS flags);
  static std::unique_ptr<FeatureTable> MakeFeatures(Device& self);
  void Connect();
  void ReadFacts();
  void EnableOptions();
  CameraTraits ReadTraits();
  // One register, or the fallback when the camera does not have it.
  uint32_t ReadOr(uint32_t address, uint32_t fallback) const;
  void TakeControl();

  std::shared_ptr<EventSource> MakeSource(GenTL::EVENT_TYPE type) override;
  void EventRegistered(GenTL::EVENT_TYPE type) override;
  void EventUnregistered(GenTL::EVENT_TYPE type) override;

  // The heartbeat thread and its steps.
  void Watch();
  void NoteSilence();
  void NoteAnswer(uint32_t privilege);
  void NoteOwner(uint32_t privilege);
  bool OwnedByOther() const;

  const std::weak_ptr<Interface> m_parent;
  const HostInterface m_host;
  const DeviceRecord m_record;
  const GenTL::DEVICE_ACCESS_FLAGS m_flags;
  std::shared_ptr<ControlChannel> m_channel;
  std::shared_ptr<RemotePort> m_remote;
  std::unique_ptr<MessageChannel> m_messages;
  uint64_t m_tickFrequency = 0;
  uint32_t m_gvspCapability = 0;
  uint32_t m_streamCount = 0;
  std::chrono::milliseconds m_heartbeatTimeout{3000};

  std::mutex m_closeMutex;  // taken before all others
  bool m_closed = false;

  mutable std::mutex m_mutex;
  std::map<std::string, std::shared_ptr<DataStream>> m_streams;
  int64_t m_streamSelector = 0;

  std::atomic<bool> m_connected{true};
  std::atomic<bool> m_controls{false};
  std::atomic<bool> m_channelClaimed{false};
  std::thread m_watch;
  std::mutex m_watchMutex;
  std::condition_variable m_watchChanged;
  bool m_stopWatch = false;
  int m_silences = 0;  // both belong to the heartbeat thread
  Clock::time_point m_silentSince{};
};

}  // namespace OrvexGev
