// SPDX-License-Identifier: Apache-2.0
#include "producer/DataStream.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "gentl/GenTLExtensions.h"
#include "gigevision/Bootstrap.h"
#include "producer/Device.h"
#include "producer/Limits.h"
#include "producer/TcpReceiver.h"
#include "producer/UdpReceiver.h"

namespace OrvexGev {

using namespace GenTL;
namespace Reg = GigEVision::Bootstrap;

// New-buffer events are the output queue itself: taking an entry takes the buffer out.
class DataStream::OutputSource final : public EventSource {
 public:
  explicit OutputSource(std::shared_ptr<DataStream> stream) : m_stream(std::move(stream)) {}
  size_t Count() const override { return m_stream->m_output.Count(); }
  size_t FrontSize() const override { return sizeof(EVENT_NEW_BUFFER_DATA); }
  void TakeFront(void* target) override {
    StreamBuffer* buffer = m_stream->m_output.PopFront();
    if (target == nullptr) return;
    const EVENT_NEW_BUFFER_DATA data{buffer->Handle(), buffer->Private()};
    std::memcpy(target, &data, sizeof data);
  }
  void Clear() override {
    while (m_stream->m_output.PopFront() != nullptr) {
    }
  }
  size_t MaxSize() const override { return sizeof(EVENT_NEW_BUFFER_DATA); }
  size_t MaxValueSize() const override { return sizeof(void*); }
  void DataInfo(std::span<const uint8_t> entry, EVENT_DATA_INFO_CMD command,
                InfoQuery& query) const override {
    EVENT_NEW_BUFFER_DATA data;
    Require(entry.size() >= sizeof data, GC_ERR_INVALID_PARAMETER,
            "This is no entry of a new-buffer event");
    std::memcpy(&data, entry.data(), sizeof data);
    switch (command) {
      case EVENT_DATA_ID:
        return query.Pointer(data.BufferHandle);
      case EVENT_DATA_VALUE:
        return query.Pointer(data.pUserPointer);
      case EVENT_DATA_NUMID:
        InfoQuery::NotAvailable();
      default:
        InfoQuery::NotImplemented();
    }
  }

 private:
  // An event that is still being waited on keeps its stream alive.
  const std::shared_ptr<DataStream> m_stream;
};

DataStream::DataStream(std::shared_ptr<Device> parent, uint32_t index, std::string id)
    : Module(sk_kind, MakeFeatures(*this, index)),
      m_parent(parent),
      m_index(index),
      m_id(std::move(id)) {
  if (parent->Controls() && (index == 0 || index == sk_eventStream))
    m_ownPacketSize = ReadPacketSize();
}

DataStream::~DataStream() = default;

std::shared_ptr<DataStream> DataStream::Create(std::shared_ptr<Device> parent, uint32_t index,
                                               std::string id) {
  std::shared_ptr<DataStream> stream(new DataStream(std::move(parent), index, std::move(id)));
  HandleTable::Instance().Add(stream);
  return stream;
}

void DataStream::Close() {
  HandleTable::Instance().Remove(*this);
  try {
    Stop(ACQ_STOP_FLAGS_KILL);
  } catch (const GcError&) {
    // It was not running.
  }
  Flush(ACQ_QUEUE_ALL_DISCARD);
  UnregisterAllEvents();
  std::vector<std::shared_ptr<StreamBuffer>> buffers;
  {
    const std::lock_guard lock(*m_eventMutex);
    m_closed = true;
    m_leaderChanged.notify_all();
    buffers.swap(m_buffers);
  }
  for (const auto& buffer : buffers) HandleTable::Instance().Remove(*buffer);
  if (const auto parent = m_parent.lock()) parent->Forget(*this);
}

PortIdentity DataStream::Identity() const {
  const auto parent = m_parent.lock();
  Require(parent != nullptr, GC_ERR_INVALID_HANDLE, "The device is closed");
  const DeviceRecord& record = parent->Record();
  return {m_id, record.vendor, record.model, TLDataStreamModuleName, "1.0.0", "StreamPort"};
}

std::shared_ptr<EventSource> DataStream::MakeSource(EVENT_TYPE type) {
  if (type == EVENT_NEW_BUFFER) {
    return std::make_shared<OutputSource>(std::static_pointer_cast<DataStream>(shared_from_this()));
  }
  if (type == EVENT_NEW_EVS_TRIGGER && m_index == sk_eventStream) {
    return std::make_shared<MessageEventSource>(type);
  }
  return Module::MakeSource(type);
}

// ---- buffers ----

std::shared_ptr<StreamBuffer> DataStream::Announce(void* pMemory, size_t size, void* pPrivate) {
  Require(size > 0 && size <= sk_maxBufferBytes, GC_ERR_INVALID_PARAMETER,
          "The buffer size is out of range");
  auto buffer = std::make_shared<StreamBuffer>(this, pMemory, size, pPrivate);
  const std::lock_guard lock(*m_eventMutex);
  Require(!m_started, GC_ERR_BUSY, "Buffers cannot be announced while the stream runs");
  Require(m_buffers.size() < sk_maxAnnouncedBuffers, GC_ERR_RESOURCE_EXHAUSTED,
          "Too many buffers are announced");
  for (const auto& other : m_buffers) {
    Require(other->Base() != buffer->Base(), GC_ERR_RESOURCE_IN_USE,
            "The memory is already announced");
    Require(other->OwnsMemory() == buffer->OwnsMemory(), GC_ERR_INVALID_BUFFER,
            "Buffers of the consumer and of the producer cannot be mixed");
  }
  HandleTable::Instance().Add(buffer);
  m_buffers.push_back(buffer);
  return buffer;
}

void DataStream::Revoke(const std::shared_ptr<StreamBuffer>& buffer) {
  {
    const std::lock_guard lock(*m_eventMutex);
    Require(buffer->place == Place::Unqueued, GC_ERR_BUSY, "The buffer is queued");
    std::erase(m_buffers, buffer);
  }
  HandleTable::Instance().Remove(*buffer);
}

void DataStream::ToInputLocked(StreamBuffer& buffer) {
  buffer.frame = {};
  m_input.PushBack(buffer);
}

void DataStream::Queue(const std::shared_ptr<StreamBuffer>& buffer) {
  const std::lock_guard lock(*m_eventMutex);
  Require(buffer->place == Place::Unqueued, GC_ERR_RESOURCE_IN_USE, "The buffer is already queued");
  ToInputLocked(*buffer);
}

void DataStream::PutOutLocked(StreamBuffer& buffer) {
  if (m_handlingMode == static_cast<int64_t>(HandlingMode::NewestOnly)) {
    while (StreamBuffer* older = m_output.PopFront()) ToInputLocked(*older);
  }
  m_output.PushBack(buffer);
  if (Event* event = FindEventLocked(EVENT_NEW_BUFFER)) event->FiredLocked();
}

void DataStream::Flush(ACQ_QUEUE_TYPE operation) {
  Require(operation >= ACQ_QUEUE_INPUT_TO_OUTPUT && operation <= ACQ_QUEUE_ALL_DISCARD,
          GC_ERR_NOT_IMPLEMENTED, "The flush operation is unknown");
  const std::lock_guard lock(*m_eventMutex);
  const bool all = operation == ACQ_QUEUE_ALL_TO_INPUT || operation == ACQ_QUEUE_ALL_DISCARD;
  if (operation == ACQ_QUEUE_INPUT_TO_OUTPUT) {
    while (StreamBuffer* buffer = m_input.PopFront()) {
      buffer->frame = {};
      m_output.PushBack(*buffer);
      if (Event* event = FindEventLocked(EVENT_NEW_BUFFER)) event->FiredLocked();
    }
    return;
  }
  if (all || operation == ACQ_QUEUE_OUTPUT_DISCARD) {
    while (m_output.PopFront() != nullptr) {
    }
  }
  if (operation == ACQ_QUEUE_ALL_DISCARD) {
    while (m_input.PopFront() != nullptr) {
    }
  }
  for (const auto& buffer : m_buffers) {
    if (all && buffer->place == Place::Filling) {
      // The receiver still writes to it: it goes where it was sent once its frame ends.
      buffer->afterFill =
          operation == ACQ_QUEUE_ALL_DISCARD ? AfterFill::Discard : AfterFill::Requeue;
    } else if (buffer->place == Place::Unqueued &&
               (operation == ACQ_QUEUE_ALL_TO_INPUT || operation == ACQ_QUEUE_UNQUEUED_TO_INPUT)) {
      ToInputLocked(*buffer);
    }
  }
}

std::shared_ptr<StreamBuffer> DataStream::BufferAt(uint32_t index) const {
  const std::lock_guard lock(*m_eventMutex);
  Require(index < m_buffers.size(), GC_ERR_INVALID_INDEX, "There is no buffer with this index");
  return m_buffers[index];
}

std::shared_ptr<StreamBuffer> DataStream::BufferOf(const void* handle) const {
  auto buffer = HandleTable::Instance().Get<StreamBuffer>(handle);
  Require(buffer->OwnerIs(*this), GC_ERR_INVALID_HANDLE,
          "The buffer belongs to another data stream");
  return buffer;
}

void DataStream::BufferInfo(const StreamBuffer& buffer, BUFFER_INFO_CMD command,
                            InfoQuery query) const {
  const auto parent = m_parent.lock();
  const std::lock_guard lock(*m_eventMutex);
  buffer.Info(command, query, parent ? parent->TickFrequency() : 0);
}

uint32_t DataStream::BufferPartCount(const StreamBuffer& buffer) const {
  const std::lock_guard lock(*m_eventMutex);
  return buffer.PartCount();
}

void DataStream::BufferPartInfo(const StreamBuffer& buffer, uint32_t index,
                                BUFFER_PART_INFO_CMD command, InfoQuery query) const {
  const std::lock_guard lock(*m_eventMutex);
  buffer.PartInfo(index, command, query);
}

void DataStream::BufferChunks(const StreamBuffer& buffer, SINGLE_CHUNK_DATA* chunks,
                              size_t* count) const {
  const std::lock_guard lock(*m_eventMutex);
  buffer.Chunks(chunks, count);
}

size_t DataStream::LargestBufferLocked() const {
  size_t largest = 0;
  for (const auto& buffer : m_buffers) largest = std::max(largest, buffer->Size());
  return largest;
}

// ---- acquisition ----

ReceiverSettings DataStream::MakeReceiverSettings() {
  const uint32_t packetSize = ReadPacketSize();
  const std::lock_guard lock(*m_eventMutex);
  ReceiverSettings settings;
  settings.engine = static_cast<Engine>(m_engine);
  // A size that somebody gave the camera since it was opened is kept.
  settings.negotiatePacketSize =
      m_negotiate != 0 && !m_packetSizeGiven && packetSize == m_ownPacketSize;
  settings.frameBytes = LargestBufferLocked();
  if (m_index == sk_eventStream)
    settings.frameBytes = std::max(settings.frameBytes, sk_maxEventBlock);
  settings.frameRate = m_frameRate;
  settings.resendWindow = m_resendWindow;
  settings.resend = m_resend != 0;
  settings.resendTries = static_cast<int>(m_resendTries);
  settings.threadPriority = static_cast<int>(m_threadPriority);
  settings.threadCore = static_cast<int>(m_threadCore);
  settings.retention = std::chrono::milliseconds(m_retentionMs);
  return settings;
}

std::shared_ptr<Receiver> DataStream::MakeReceiver(Device& device,
                                                   const ReceiverSettings& settings) {
  Require(m_index != sk_rdmaStream, GC_ERR_NOT_IMPLEMENTED,
          "Streaming over RDMA is not supported: no RDMA device");
  if (m_index == sk_tcpStream) return std::make_shared<TcpReceiver>(device, *this, settings);
  return std::make_shared<UdpReceiver>(device, *this, settings);
}

void DataStream::Start(ACQ_START_FLAGS flags, uint64_t count) {
  Require(flags == ACQ_START_FLAGS_DEFAULT, GC_ERR_NOT_IMPLEMENTED, "The start flag is unknown");
  Require(count > 0, GC_ERR_INVALID_PARAMETER, "The number of frames is 0");
  const auto parent = m_parent.lock();
  Require(parent != nullptr, GC_ERR_INVALID_HANDLE, "The device is closed");
  const std::lock_guard control(m_controlMutex);
  {
    const std::lock_guard lock(*m_eventMutex);
    Require(!m_started, GC_ERR_RESOURCE_IN_USE, "The stream is already running");
    Require(!m_buffers.empty(), GC_ERR_INVALID_BUFFER, "No buffer is announced");
  }
  Require(parent->Connected(), GC_ERR_IO, "The camera is not connected");
  const ReceiverSettings settings = MakeReceiverSettings();
  const auto receiver = MakeReceiver(*parent, settings);
  {
    const std::lock_guard lock(*m_eventMutex);
    m_started = m_grabbing = true;
    m_counters.delivered = 0;
    // A consumer that sets up the resends through the extension passes the size of its pool here,
    // whose buffers go round until it stops the stream.
    m_limit = m_poolGoesRound && count == m_buffers.size() ? GENTL_INFINITE : count;
    m_receiver = receiver;
    if (m_index == sk_eventStream) {
      const EvsSettings events{static_cast<EvsFormat>(m_evsFormat),
                               static_cast<EvsDepth>(m_evsDepth), m_sensorWidth, m_sensorHeight};
      m_events = std::make_unique<EventFrames>(
          events, [this](const SensorTrigger& trigger) { FireTrigger(trigger); });
    }
  }
  try {
    receiver->Start();
  } catch (...) {
    const std::lock_guard lock(*m_eventMutex);
    m_started = m_grabbing = false;
    throw;
  }
  bool report;
  {
    const std::lock_guard lock(*m_eventMutex);
    if (settings.negotiatePacketSize)
      m_ownPacketSize = static_cast<uint32_t>(receiver->PacketSize());
    report = receiver->BufferGranted() < receiver->BufferWanted() && !m_shortfallReported;
    m_shortfallReported = m_shortfallReported || report;
  }
  if (report) FireError(GC_ERR_RESOURCE_EXHAUSTED, SocketAdvice());
  if (!receiver->ThreadAsAsked()) {
    FireError(GC_ERR_ACCESS_DENIED,
              "The system does not grant the receiver thread's priority or core");
  }
}

void DataStream::Stop(ACQ_STOP_FLAGS flags) {
  Require(flags == ACQ_STOP_FLAGS_DEFAULT || flags == ACQ_STOP_FLAGS_KILL, GC_ERR_NOT_IMPLEMENTED,
          "The stop flag is unknown");
  const std::lock_guard control(m_controlMutex);
  std::shared_ptr<Receiver> receiver;
  {
    const std::lock_guard lock(*m_eventMutex);
    Require(m_started, GC_ERR_RESOURCE_IN_USE, "The stream is not running");
    receiver = m_receiver;
  }
  receiver->Stop(flags == ACQ_STOP_FLAGS_KILL);
  const std::lock_guard lock(*m_eventMutex);
  m_started = m_grabbing = false;
}

bool DataStream::Take(FrameTarget& target) {
  bool discarded = false;
  bool taken;
  {
    const std::lock_guard lock(*m_eventMutex);
    taken = TakeLocked(target, discarded);
  }
  if (discarded) FireModule(sk_eventBuffersDiscarded);
  return taken;
}

// `discarded`: a frame is lost for want of a buffer, the one that comes or one that nobody fetched.
bool DataStream::TakeLocked(FrameTarget& target, bool& discarded) {
  if (m_limit != GENTL_INFINITE && m_counters.delivered + m_filling >= m_limit) return false;
  ++m_counters.started;
  StreamBuffer* buffer = m_input.PopFront();
  if (buffer == nullptr && m_handlingMode != static_cast<int64_t>(HandlingMode::OldestFirst)) {
    buffer = m_output.PopFront();
    discarded = buffer != nullptr;
  }
  if (buffer == nullptr) {
    discarded = true;
    ++m_counters.underrun;
    return false;
  }
  buffer->frame = {};
  buffer->place = Place::Filling;
  buffer->afterFill = AfterFill::Deliver;
  ++m_filling;
  target = {buffer->Base(), buffer->Size(), buffer};
  if (Converts()) {
    buffer->scratch = TakeScratchLocked();
    target = {buffer->scratch, sk_maxEventBlock, buffer};
  }
  return true;
}

uint8_t* DataStream::TakeScratchLocked() {
  if (m_freeScratch.empty()) {
    m_scratch.push_back(std::make_unique<StreamBuffer>(this, nullptr, sk_maxEventBlock, nullptr));
    m_freeScratch.push_back(m_scratch.back()->Base());
  }
  uint8_t* memory = m_freeScratch.back();
  m_freeScratch.pop_back();
  return memory;
}

// An entry: the channel as the identifier, then the time in us (8 bytes, little endian) and the
// edge (1 = rising).
void DataStream::FireTrigger(const SensorTrigger& trigger) {
  std::array<uint8_t, 9> data;
  std::memcpy(data.data(), &trigger.time, sizeof trigger.time);
  data[8] = trigger.rising ? 1 : 0;
  Fire(EVENT_NEW_EVS_TRIGGER, MakeModuleEntry(trigger.channel, data));
}

void DataStream::Deliver(const FrameTarget& target, const FrameInfo& received) {
  auto& buffer = *static_cast<StreamBuffer*>(target.cookie);
  FrameInfo info = received;
  if (m_events) {
    // Still without the lock: the buffer is the receiver's until it is put out.
    m_events->Convert({target.base, std::min(info.filled, target.size)},
                      {buffer.Base(), buffer.Size()}, info);
  }
  {
    const std::lock_guard lock(*m_eventMutex);
    DeliverLocked(buffer, info);
  }
  if (info.largerThanBuffer) FireModule(sk_eventBufferTooSmall);
}

void DataStream::DeliverLocked(StreamBuffer& buffer, const FrameInfo& info) {
  if (buffer.scratch != nullptr) m_freeScratch.push_back(std::exchange(buffer.scratch, nullptr));
  --m_filling;
  buffer.place = Place::Unqueued;
  if (buffer.afterFill == AfterFill::Discard) return;
  if (buffer.afterFill == AfterFill::Requeue) return ToInputLocked(buffer);
  buffer.frame = info;
  ++m_counters.delivered;
  if (m_limit != GENTL_INFINITE && m_counters.delivered >= m_limit) m_grabbing = false;
  PutOutLocked(buffer);
}

void DataStream::LeaderSeen(uint64_t) {
  const std::lock_guard lock(*m_eventMutex);
  ++m_leaders;
  m_leaderChanged.notify_all();
}

void DataStream::RequestResend(const GigEVision::PacketResend& resend) {
  if (const auto parent = m_parent.lock()) parent->Channel()->SendPacketResend(resend);
}

void DataStream::TransportLost(const std::string& text) {
  FireError(GC_ERR_IO, text);
}

void DataStream::SetupResend(uint64_t windowFrames, double frameRate, int64_t width,
                             int64_t height) {
  const std::lock_guard lock(*m_eventMutex);
  m_resendWindow = windowFrames;
  m_frameRate = frameRate > 0 && frameRate < 1e6 ? frameRate : 0;
  m_poolGoesRound = true;
  constexpr int64_t widest = 0x800;  // what the address words of the sensor can tell
  m_sensorWidth = width > 0 && width <= widest ? static_cast<uint32_t>(width) : 0;
  m_sensorHeight = height > 0 && height <= widest ? static_cast<uint32_t>(height) : 0;
}

void DataStream::WaitForNextLeader(uint64_t timeoutMs) {
  std::unique_lock lock(*m_eventMutex);
  const uint64_t resets = m_leaderResets;
  const auto ready = [&] {
    return m_closed || m_leaderResets != resets || m_leaders > m_leadersReported;
  };
  constexpr uint64_t longest = uint64_t{366} * 24 * 3600 * 1000;
  if (timeoutMs >= longest) {
    m_leaderChanged.wait(lock, ready);
  } else {
    m_leaderChanged.wait_for(lock, std::chrono::milliseconds(timeoutMs), ready);
  }
  Require(!m_closed && m_leaderResets == resets, GC_ERR_ABORT,
          "The wait for the next leader was reset");
  Require(m_leaders > m_leadersReported, GC_ERR_TIMEOUT, "No leader came in time");
  m_leadersReported = m_leaders;
}

void DataStream::ResetWaitForNextLeader() {
  const std::lock_guard lock(*m_eventMutex);
  m_leadersReported = m_leaders;
  ++m_leaderResets;
  m_leaderChanged.notify_all();
}

}  // namespace OrvexGev
