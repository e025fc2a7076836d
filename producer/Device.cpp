// SPDX-License-Identifier: Apache-2.0
#include "producer/Device.h"

#include <pthread.h>

#include <algorithm>
#include <utility>

#include "gentl/GenTLExtensions.h"
#include "gigevision/Bootstrap.h"
#include "producer/CameraTraits.h"
#include "producer/DataStream.h"
#include "producer/Interface.h"
#include "producer/Limits.h"
#include "producer/MessageChannel.h"
#include "producer/RemotePort.h"
#include "producer/System.h"

namespace OrvexGev {

using namespace GenTL;
namespace Gev = GigEVision;
namespace Reg = GigEVision::Bootstrap;

namespace {

constexpr const char* sk_streamPrefix = "Stream";

uint32_t PrivilegeOf(DEVICE_ACCESS_FLAGS flags) {
  return flags == DEVICE_ACCESS_EXCLUSIVE ? Reg::sk_ccpExclusive : Reg::sk_ccpControl;
}

}  // namespace

Device::Device(std::shared_ptr<Interface> parent, const DeviceRecord& record,
               DEVICE_ACCESS_FLAGS flags)
    : Module(sk_kind, MakeFeatures(*this)),
      m_parent(parent),
      m_host(parent->Host()),
      m_record(record),
      m_flags(flags) {}

std::shared_ptr<Device> Device::Create(std::shared_ptr<Interface> parent,
                                       const DeviceRecord& record, DEVICE_ACCESS_FLAGS flags) {
  switch (flags) {
    case DEVICE_ACCESS_READONLY:
    case DEVICE_ACCESS_CONTROL:
    case DEVICE_ACCESS_EXCLUSIVE:
      break;
    case DEVICE_ACCESS_NONE:
      throw GcError(GC_ERR_NOT_IMPLEMENTED, "Opening without access is not supported");
    default:
      throw GcError(GC_ERR_INVALID_PARAMETER, "The access flag is unknown");
  }
  std::shared_ptr<Device> device(new Device(std::move(parent), record, flags));
  device->Connect();
  HandleTable::Instance().Add(device);
  HandleTable::Instance().Add(device->m_remote);
  return device;
}

Device::~Device() {
  // A device that was never closed, because opening it failed half way.
  if (m_channel) m_channel->Abort();
  {
    const std::lock_guard lock(m_watchMutex);
    m_stopWatch = true;
    m_watchChanged.notify_all();
  }
  if (m_watch.joinable()) m_watch.join();
}

void Device::Connect() {
  m_channel = std::make_shared<ControlChannel>(m_host.ip, m_record.ip);
  const bool bigEndian = (m_record.deviceMode & Reg::sk_deviceModeBigEndian) != 0;
  m_remote = std::make_shared<RemotePort>(
      m_channel,
      PortIdentity{m_record.id, m_record.vendor, m_record.model, TLRemoteDeviceModuleName,
                   m_record.version, "Device"},
      bigEndian);
  try {
    if (m_flags == DEVICE_ACCESS_READONLY) {
      m_channel->ReadRegister(Reg::sk_version);
      m_remote->SetWritable(false);
    } else {
      TakeControl();
    }
    ReadFacts();
  } catch (...) {
    if (m_controls) {
      try {
        m_channel->WriteRegister(Reg::sk_ccp, 0);
      } catch (const GcError&) {
        // The failure that is being reported says it all.
      }
    }
    throw;
  }
  m_messages = std::make_unique<MessageChannel>(*this);
  m_watch = std::thread([this] { Watch(); });
  pthread_setname_np(m_watch.native_handle(), "gev-heartbeat");
}

void Device::TakeControl() {
  m_channel->WriteRegister(Reg::sk_ccp, PrivilegeOf(m_flags));
  m_controls = true;
}

uint32_t Device::ReadOr(uint32_t address, uint32_t fallback) const {
  try {
    return m_channel->ReadRegister(address);
  } catch (const GcError& error) {
    if (error.Code() == GC_ERR_IO) throw;
    return fallback;
  }
}

void Device::ReadFacts() {
  m_channel->SetCapability(ReadOr(Reg::sk_gvcpCapability, 0));
  const uint32_t heartbeat = ReadOr(Reg::sk_heartbeatTimeout, Reg::sk_defaultHeartbeatMs);
  m_heartbeatTimeout = std::chrono::milliseconds(std::max(heartbeat, Reg::sk_minHeartbeatMs));
  m_tickFrequency =
      uint64_t{ReadOr(Reg::sk_tickFrequencyHigh, 0)} << 32 | ReadOr(Reg::sk_tickFrequencyLow, 0);
  m_gvspCapability = ReadOr(Reg::sk_gvspCapability, Reg::sk_gvspCapLegacyIds);
  if (ReadOr(Reg::sk_streamChannelCount, 1) > 0) m_streamCount = ReadTraits().StreamCount();
  if (m_controls) EnableOptions();
}

// Without a description that can be read the camera has its ordinary stream.
CameraTraits Device::ReadTraits() {
  try {
    return FindTraits(m_remote->Description());
  } catch (const GcError&) {
    return {};
  }
}

// Pending acknowledges for slow features; status codes that tell resent packets from first ones and
// why one is refused.
void Device::EnableOptions() {
  struct Option {
    uint32_t capability;
    uint32_t configuration;
  };
  constexpr Option options[] = {{Reg::sk_capPendingAck, Reg::sk_cfgPendingAck},
                                {Reg::sk_capExtendedStatus11, Reg::sk_cfgExtendedStatus11},
                                {Reg::sk_capExtendedStatus20, Reg::sk_cfgExtendedStatus20}};
  const uint32_t before = ReadOr(Reg::sk_gvcpConfiguration, 0);
  uint32_t wanted = before;
  for (const Option& option : options) {
    if ((m_channel->Capability() & option.capability) != 0) wanted |= option.configuration;
  }
  if (wanted == before) return;
  try {
    m_channel->WriteRegister(Reg::sk_gvcpConfiguration, wanted);
  } catch (const GcError& error) {
    if (error.Code() == GC_ERR_IO) throw;  // a camera that refuses works without
  }
}

void Device::Close() {
  // The consumer may close the device while another of its threads closes the interface or the
  // system.
  const std::lock_guard closing(m_closeMutex);
  if (std::exchange(m_closed, true)) return;
  HandleTable::Instance().Remove(*this);
  // A camera that was pulled a moment ago must not hold up its consumer.
  ControlSettings settings = m_channel->Settings();
  settings.retries = std::min(settings.retries, 1);
  m_channel->SetSettings(settings);
  HandleTable::Instance().Remove(*m_remote);
  for (;;) {
    std::shared_ptr<DataStream> stream;
    {
      const std::lock_guard lock(m_mutex);
      if (m_streams.empty()) break;
      stream = m_streams.begin()->second;
    }
    stream->Close();
  }
  UnregisterAllEvents();
  m_remote->Close();
  m_messages->Close();
  {
    const std::lock_guard lock(m_watchMutex);
    m_stopWatch = true;
    m_watchChanged.notify_all();
  }
  if (m_watch.joinable()) m_watch.join();
  if (m_controls) {
    try {
      // A camera that seems lost may only have been slow: told once, it is free for the next to open
      // it, where its heartbeat would keep it for seconds.
      if (m_connected) {
        m_channel->WriteRegister(Reg::sk_ccp, 0);
      } else {
        m_channel->WriteRegisterBriefly(Reg::sk_ccp, 0);
      }
    } catch (const GcError&) {
      // The camera notices by its heartbeat.
    }
  }
  m_controls = false;
  m_connected = false;
  m_remote->SetConnected(false);
  m_channel->Abort();
  if (const auto parent = m_parent.lock()) parent->Forget(*this);
}

PortIdentity Device::Identity() const {
  return {m_record.id,        m_record.vendor,  m_record.model,
          TLDeviceModuleName, m_record.version, "DevicePort"};
}

DEVICE_ACCESS_STATUS Device::AccessStatus() const {
  if (!m_connected) return DEVICE_ACCESS_STATUS_NOACCESS;
  return m_controls ? DEVICE_ACCESS_STATUS_OPEN_READWRITE : DEVICE_ACCESS_STATUS_OPEN_READONLY;
}

void Device::Info(DEVICE_INFO_CMD command, InfoQuery query) const {
  switch (command) {
    case DEVICE_INFO_ACCESS_STATUS:
      return query.Int32(AccessStatus());
    case DEVICE_INFO_TIMESTAMP_FREQUENCY:
      return m_tickFrequency == 0 ? InfoQuery::NotAvailable() : query.UInt64(m_tickFrequency);
    case DEVICE_INFO_ORVEX_CONNECTED:
      return query.Bool(m_connected);
    default:
      return AnswerDeviceInfo(m_record, command, query);
  }
}

std::string Device::StreamId(uint32_t index) const {
  Require(m_streamCount > 0, GC_ERR_NOT_IMPLEMENTED, "The camera has no data stream");
  Require(index < m_streamCount, GC_ERR_INVALID_INDEX, "There is no data stream with this index");
  return sk_streamPrefix + std::to_string(index);
}

std::shared_ptr<DataStream> Device::OpenStream(const char* id) {
  Require(id != nullptr, GC_ERR_INVALID_PARAMETER, "The data stream id is null");
  Require(m_streamCount > 0, GC_ERR_NOT_IMPLEMENTED, "The camera has no data stream");
  uint32_t index = 0;
  while (index < m_streamCount && StreamId(index) != id) ++index;
  Require(index < m_streamCount, GC_ERR_INVALID_ID, "There is no data stream with this id");
  const std::lock_guard lock(m_mutex);
  Require(!m_streams.contains(id), GC_ERR_RESOURCE_IN_USE, "The data stream is already open");
  auto stream = DataStream::Create(std::static_pointer_cast<Device>(shared_from_this()), index, id);
  m_streams.emplace(id, stream);
  return stream;
}

void Device::Forget(const DataStream& stream) {
  const std::lock_guard lock(m_mutex);
  std::erase_if(m_streams, [&](const auto& entry) { return entry.second.get() == &stream; });
}

void Device::SendAction(uint32_t deviceKey, uint32_t groupKey, uint32_t groupMask, uint64_t time) {
  Require(m_connected, GC_ERR_IO, "The camera is not connected");
  Require((m_channel->Capability() & Reg::sk_capAction) != 0, GC_ERR_NOT_IMPLEMENTED,
          "The camera does not take action commands");
  Require(time == 0 || (m_channel->Capability() & Reg::sk_capScheduledAction) != 0,
          GC_ERR_NOT_IMPLEMENTED, "The camera does not take scheduled action commands");
  m_channel->SendAction({deviceKey, groupKey, groupMask, time});
}

std::shared_ptr<EventSource> Device::MakeSource(EVENT_TYPE type) {
  if (type == EVENT_REMOTE_DEVICE) return std::make_shared<MessageEventSource>(type);
  return Module::MakeSource(type);
}

void Device::EventRegistered(EVENT_TYPE type) {
  if (type == EVENT_REMOTE_DEVICE) m_messages->Open();
}

void Device::EventUnregistered(EVENT_TYPE type) {
  if (type == EVENT_REMOTE_DEVICE) m_messages->Close();
}

void Device::FireRemote(std::vector<uint8_t> datagram) {
  Fire(EVENT_REMOTE_DEVICE, std::move(datagram));
}

void Device::Watch() {
  const auto interval = std::min<Clock::duration>(
      sk_heartbeatInterval, std::chrono::milliseconds(m_heartbeatTimeout) / 3);
  std::unique_lock lock(m_watchMutex);
  while (!m_stopWatch) {
    // A silent camera is asked again at once, so that its loss is known within a second.
    const bool urgent = m_silences > 0 && m_connected;
    if (!urgent && m_watchChanged.wait_for(lock, interval, [this] { return m_stopWatch; })) break;
    lock.unlock();
    const auto privilege = m_channel->Probe(Reg::sk_ccp, sk_heartbeatProbe, sk_heartbeatProbe);
    try {
      if (privilege) {
        NoteAnswer(*privilege);
      } else {
        NoteSilence();
      }
    } catch (const GcError&) {
      // Taking control again failed; the next round tries anew.
    }
    lock.lock();
  }
}

void Device::NoteSilence() {
  if (!m_connected) return;
  // An answer to somebody else, or one that came too late, is a sign of life as well.
  if (const auto heard = m_channel->LastHeard(); heard > m_silentSince) {
    m_silentSince = heard;
    m_silences = 0;
  }
  if (++m_silences < sk_heartbeatMisses) return;
  m_connected = false;
  m_remote->SetConnected(false);
  FireModule(sk_eventDeviceLost);
  FireError(GC_ERR_IO, "The connection to camera " + m_record.id + " is lost");
}

void Device::NoteAnswer(uint32_t privilege) {
  m_silences = 0;
  m_silentSince = Clock::now();
  if (m_flags != DEVICE_ACCESS_READONLY) NoteOwner(privilege);
  if (!m_connected) {
    m_remote->SetConnected(true);
    m_connected = true;
  }
}

void Device::NoteOwner(uint32_t privilege) {
  const bool held =
      privilege != 0xFFFFFFFF && (privilege & (Reg::sk_ccpControl | Reg::sk_ccpExclusive)) != 0;
  if (privilege == 0) {
    // The camera was reset or gave up on us: nobody owns it, so it is ours again.
    m_controls = false;
    TakeControl();
    EnableOptions();
    m_remote->SetWritable(true);
    return;
  }
  const bool ours = held && !OwnedByOther();
  if (m_controls && !ours) {
    FireError(GC_ERR_ACCESS_DENIED, "Another application controls camera " + m_record.id);
  }
  m_controls = ours;
  m_remote->SetWritable(ours);
}

bool Device::OwnedByOther() const {
  if ((m_channel->Capability() & Reg::sk_capPrimaryApplication) == 0) return false;
  const auto port = m_channel->Probe(Reg::sk_primaryPort, sk_heartbeatProbe, sk_heartbeatProbe);
  return port && *port != 0xFFFFFFFF && (*port & Reg::sk_portMask) != m_channel->LocalPort();
}

}  // namespace OrvexGev
