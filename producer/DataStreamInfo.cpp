// SPDX-License-Identifier: Apache-2.0
// What a data stream tells about itself: info commands and node map.
#include <sched.h>

#include <algorithm>

#include "gigevision/Bootstrap.h"
#include "gigevision/Gvsp.h"
#include "producer/DataStream.h"
#include "producer/Device.h"
#include "producer/Limits.h"
#include "producer/System.h"

namespace OrvexGev {

using namespace GenTL;
namespace Reg = GigEVision::Bootstrap;

void DataStream::Info(STREAM_INFO_CMD command, InfoQuery query) const {
  const std::lock_guard lock(*m_eventMutex);
  switch (command) {
    case STREAM_INFO_ID:
      return query.String(m_id);
    case STREAM_INFO_NUM_DELIVERED:
      return query.UInt64(m_counters.delivered);
    case STREAM_INFO_NUM_UNDERRUN:
      return query.UInt64(m_counters.underrun);
    case STREAM_INFO_NUM_ANNOUNCED:
      return query.Size(m_buffers.size());
    case STREAM_INFO_NUM_QUEUED:
      return query.Size(m_input.Count() + m_filling);
    case STREAM_INFO_NUM_AWAIT_DELIVERY:
      return query.Size(m_output.Count());
    case STREAM_INFO_NUM_STARTED:
      return query.UInt64(m_counters.started);
    case STREAM_INFO_PAYLOAD_SIZE:
      InfoQuery::NotAvailable();
    case STREAM_INFO_IS_GRABBING:
      return query.Bool(m_grabbing);
    case STREAM_INFO_DEFINES_PAYLOADSIZE:
      return query.Bool(false);
    case STREAM_INFO_TLTYPE:
      return query.String(TLTypeGEVName);
    case STREAM_INFO_NUM_CHUNKS_MAX:
      return query.Size(sk_maxChunks);
    case STREAM_INFO_BUF_ANNOUNCE_MIN:
      return query.Size(1);
    case STREAM_INFO_BUF_ALIGNMENT:
      return query.Size(1);
    case STREAM_INFO_FLOW_TABLE:
    case STREAM_INFO_GENDC_PREFETCH_DESCRIPTOR:
      InfoQuery::NoData();
    default:
      InfoQuery::NotImplemented();
  }
}

std::shared_ptr<Receiver> DataStream::CurrentReceiver() const {
  const std::lock_guard lock(*m_eventMutex);
  return m_receiver;
}

AssemblerStatistics DataStream::PacketStatistics() const {
  const auto receiver = CurrentReceiver();
  return receiver ? receiver->Statistics() : AssemblerStatistics();
}

uint32_t DataStream::ReadPacketSize() const {
  const auto parent = m_parent.lock();
  Require(parent != nullptr, GC_ERR_INVALID_HANDLE, "The device is closed");
  return parent->Channel()->ReadRegister(Reg::StreamRegister(Reg::Stream::Scps)) &
         Reg::sk_scpsSizeMask;
}

void DataStream::WritePacketSize(uint32_t size) {
  const auto parent = m_parent.lock();
  Require(parent != nullptr, GC_ERR_INVALID_HANDLE, "The device is closed");
  ControlChannel& channel = *parent->Channel();
  const uint32_t address = Reg::StreamRegister(Reg::Stream::Scps);
  const uint32_t kept =
      channel.ReadRegister(address) & ~(Reg::sk_scpsSizeMask | Reg::sk_scpsFireTestPacket);
  channel.WriteRegister(address, kept | size);
  const std::lock_guard lock(*m_eventMutex);
  m_packetSizeGiven = true;
}

std::string DataStream::SocketAdvice() const {
  const auto receiver = CurrentReceiver();
  if (!receiver || receiver->BufferGranted() >= receiver->BufferWanted()) return {};
  return "The socket buffer has " + std::to_string(receiver->BufferGranted()) + " of " +
         std::to_string(receiver->BufferWanted()) +
         " bytes; run: sudo sysctl -w net.core.rmem_max=" +
         std::to_string(receiver->BufferWanted());
}

void DataStream::AddSettings(FeatureTable& table, DataStream* self) {
  const char* channel = "DeviceStreamChannelControl";
  table.Add(
      Feature::Integer(
          "DeviceStreamChannelPacketSize", [self] { return int64_t{self->ReadPacketSize()}; },
          [self](int64_t value) { self->WritePacketSize(static_cast<uint32_t>(value)); })
          .In(channel)
          .Expert()
          .Unit("B")
          .Range(0, 65535)
          .Tip("Size of the stream's packets with IP and UDP headers; a size given here is kept."));
  const auto variable = [self](int64_t DataStream::*member) {
    return std::pair{Feature::IntGetter([self, member] {
                       const std::lock_guard lock(*self->m_eventMutex);
                       return self->*member;
                     }),
                     Feature::IntSetter([self, member](int64_t value) {
                       const std::lock_guard lock(*self->m_eventMutex);
                       self->*member = value;
                     })};
  };
  const auto [getNegotiate, setNegotiate] = variable(&DataStream::m_negotiate);
  table.Add(Feature::Boolean("StreamPacketSizeNegotiation", getNegotiate, setNegotiate)
                .In(channel)
                .Expert()
                .Tip("Looks for the largest packet that arrives before each start, unless a size "
                     "was given."));
  const char* reception = "StreamReceptionControl";
  const auto [getEngine, setEngine] = variable(&DataStream::m_engine);
  table.Add(Feature::Enumeration("StreamEngineMode",
                                 {{"Automatic", 0}, {"Sockets", 1}, {"Offload", 2}, {"Ring", 3}},
                                 getEngine, setEngine)
                .In(reception)
                .Expert()
                .Tip("How packets are taken from the kernel; applies from the next start."));
  table.Add(Feature::Enumeration(
                "StreamEngine",
                {{"None", 0}, {"Sockets", 1}, {"Offload", 2}, {"Ring", 3}, {"Tcp", 4}},
                [self] {
                  const auto receiver = self->CurrentReceiver();
                  return receiver ? static_cast<int64_t>(receiver->UsedEngine()) : int64_t{0};
                })
                .In(reception)
                .Expert()
                .Tip("The engine of the last start."));
  const auto [getResend, setResend] = variable(&DataStream::m_resend);
  table.Add(
      Feature::Boolean("StreamPacketResendEnable", getResend, setResend).In(reception).Expert());
  const auto [getTries, setTries] = variable(&DataStream::m_resendTries);
  table.Add(Feature::Integer("StreamPacketResendTries", getTries, setTries)
                .In(reception)
                .Guru()
                .Range(1, 100));
  const auto [getRetention, setRetention] = variable(&DataStream::m_retentionMs);
  table.Add(Feature::Integer("StreamFrameRetention", getRetention, setRetention)
                .In(reception)
                .Guru()
                .Unit("ms")
                .Range(1, 60000)
                .Tip("How long an incomplete frame without packets coming is kept."));
  const auto [getPriority, setPriority] = variable(&DataStream::m_threadPriority);
  table.Add(Feature::Integer("StreamThreadPriority", getPriority, setPriority)
                .In(reception)
                .Guru()
                .Range(0, 99)
                .Tip("Real-time priority of the receiver thread from the next start, 0 for none."));
  const auto [getCore, setCore] = variable(&DataStream::m_threadCore);
  table.Add(Feature::Integer("StreamThreadCore", getCore, setCore)
                .In(reception)
                .Guru()
                .Range(-1, CPU_SETSIZE - 1)
                .Tip("Processor core of the receiver thread from the next start, -1 for any."));
  table.Add(Feature::Integer("StreamSocketBufferSize",
                             [self] {
                               const auto receiver = self->CurrentReceiver();
                               return receiver ? static_cast<int64_t>(receiver->BufferGranted())
                                               : int64_t{0};
                             })
                .In(reception)
                .Expert()
                .Unit("B"));
  table.Add(Feature::String("StreamSocketBufferAdvice", [self] { return self->SocketAdvice(); })
                .In(reception)
                .Expert()
                .Tip("Empty, or what the administrator can do when the system granted too small a "
                     "socket buffer."));
}

void DataStream::AddSensorEvents(FeatureTable& table, DataStream* self) {
  const auto setting = [self](const char* name, std::vector<EnumEntry> entries,
                              int64_t DataStream::*member) {
    return Feature::Enumeration(
               name, std::move(entries),
               [self, member] {
                 const std::lock_guard lock(*self->m_eventMutex);
                 return self->*member;
               },
               [self, member](int64_t value) {
                 const std::lock_guard lock(*self->m_eventMutex);
                 Require(!self->m_started, GC_ERR_BUSY,
                         "The format is fixed while the stream runs");
                 self->*member = value;
               })
        .In("EventSensorControl");
  };
  table.Add(setting("StreamEvsOutputFormat",
                    {{"RawFrameEncoded", static_cast<int64_t>(EvsFormat::RawEncoded)},
                     {"RawFrameDecoded", static_cast<int64_t>(EvsFormat::RawDecoded)},
                     {"XYTPFrame", static_cast<int64_t>(EvsFormat::Xytp)},
                     {"CDFrame", static_cast<int64_t>(EvsFormat::ChangeFrame)}},
                    &DataStream::m_evsFormat)
                .Tip("What a buffer of the event sensor holds."));
  table.Add(setting("StreamEvsBitDepth",
                    {{"Bits8", static_cast<int64_t>(EvsDepth::Bits8)},
                     {"Bits24", static_cast<int64_t>(EvsDepth::Bits24)}},
                    &DataStream::m_evsDepth)
                .Tip("Bits per pixel of CDFrame."));
}

void DataStream::AddStatistics(FeatureTable& table, DataStream* self) {
  struct Row {
    const char* name;
    uint64_t AssemblerStatistics::*member;
  };
  constexpr Row rows[] = {
      {"StreamSeenPacketCount", &AssemblerStatistics::packets},
      {"StreamReceivedByteCount", &AssemblerStatistics::bytes},
      {"StreamLostPacketCount", &AssemblerStatistics::lostPackets},
      {"StreamResendRequestCount", &AssemblerStatistics::resendRequests},
      {"StreamResendRequestedPacketCount", &AssemblerStatistics::resendPackets},
      {"StreamResentPacketCount", &AssemblerStatistics::resentPackets},
      {"StreamRefusedPacketCount", &AssemblerStatistics::refusedPackets},
      {"StreamLatePacketCount", &AssemblerStatistics::latePackets},
      {"StreamDuplicatePacketCount", &AssemblerStatistics::duplicatePackets},
      {"StreamReorderedPacketCount", &AssemblerStatistics::reorderedPackets},
      {"StreamMalformedPacketCount", &AssemblerStatistics::malformedPackets},
      {"StreamNoBufferPacketCount", &AssemblerStatistics::packetsWithoutBuffer},
      {"StreamCompleteFrameCount", &AssemblerStatistics::framesComplete},
      {"StreamIncompleteFrameCount", &AssemblerStatistics::framesIncomplete},
      {"StreamMissedFrameCount", &AssemblerStatistics::framesMissed},
      {"StreamUnderrunFrameCount", &AssemblerStatistics::framesUnderrun},
  };
  for (const Row& row : rows) {
    table.Add(Feature::Integer(row.name,
                               [self, member = row.member] {
                                 return static_cast<int64_t>(self->PacketStatistics().*member);
                               })
                  .In("StreamStatistics")
                  .Expert());
  }
  table.Add(Feature::Integer("StreamSocketDropCount",
                             [self] {
                               const auto receiver = self->CurrentReceiver();
                               return receiver ? static_cast<int64_t>(
                                                     receiver->SourceStats().socketDrops)
                                               : int64_t{0};
                             })
                .In("StreamStatistics")
                .Expert());
}

std::unique_ptr<FeatureTable> DataStream::MakeFeatures(DataStream& stream, uint32_t index) {
  auto table = std::make_unique<FeatureTable>("GenTLDataStream", "StreamPort");
  DataStream* self = &stream;
  const auto locked = [self](auto read) {
    return [self, read] {
      const std::lock_guard lock(*self->m_eventMutex);
      return static_cast<int64_t>(read(*self));
    };
  };
  const char* about = "StreamInformation";
  table->Add(
      Feature::String("StreamID", [self] { return self->m_id; }).In(about).Expert().Constant());
  table->Add(
      Feature::Enumeration("StreamType", TransportLayerEntries(), [] { return sk_gigEVisionEntry; })
          .In(about)
          .Expert()
          .Constant());
  AddSettings(*table, self);
  const char* buffers = "BufferHandlingControl";
  table->Add(Feature::Integer("StreamAnnouncedBufferCount",
                              locked([](const DataStream& s) { return s.m_buffers.size(); }))
                 .In(buffers)
                 .Expert());
  table->Add(
      Feature::Enumeration("StreamBufferHandlingMode",
                           {{"OldestFirst", 0}, {"OldestFirstOverwrite", 1}, {"NewestOnly", 2}},
                           locked([](const DataStream& s) { return s.m_handlingMode; }),
                           [self](int64_t value) {
                             const std::lock_guard lock(*self->m_eventMutex);
                             self->m_handlingMode = value;
                           })
          .In(buffers));
  table->Add(Feature::Integer("StreamAnnounceBufferMinimum", [] { return int64_t{1}; })
                 .In(buffers)
                 .Expert()
                 .Constant());
  table->Add(Feature::Integer("StreamDeliveredFrameCount",
                              locked([](const DataStream& s) { return s.m_counters.delivered; }))
                 .In(buffers)
                 .Expert());
  table->Add(Feature::Integer("StreamLostFrameCount",
                              locked([](const DataStream& s) { return s.m_counters.underrun; }))
                 .In(buffers)
                 .Expert());
  table->Add(Feature::Integer("StreamInputBufferCount", locked([](const DataStream& s) {
                                return s.m_input.Count() + s.m_filling;
                              }))
                 .In(buffers)
                 .Expert());
  table->Add(Feature::Integer("StreamOutputBufferCount",
                              locked([](const DataStream& s) { return s.m_output.Count(); }))
                 .In(buffers)
                 .Expert());
  table->Add(Feature::Integer("StreamStartedFrameCount",
                              locked([](const DataStream& s) { return s.m_counters.started; }))
                 .In(buffers)
                 .Expert());
  table->Add(
      Feature::Boolean("StreamIsGrabbing", locked([](const DataStream& s) { return s.m_grabbing; }))
          .In(buffers)
          .Expert());
  table->Add(Feature::Integer("StreamBufferAlignment", [] { return int64_t{1}; })
                 .In(buffers)
                 .Expert()
                 .Unit("B")
                 .Constant());
  table->Add(
      Feature::Integer("StreamChunkCountMaximum", [] { return static_cast<int64_t>(sk_maxChunks); })
          .In(buffers)
          .Expert()
          .Constant());
  if (index == sk_eventStream) AddSensorEvents(*table, self);
  AddStatistics(*table, self);
  AddEventControl(
      *table, self,
      {{"BufferTooSmall", sk_eventBufferTooSmall}, {"BuffersDiscarded", sk_eventBuffersDiscarded}});
  table->Finish();
  return table;
}

}  // namespace OrvexGev
