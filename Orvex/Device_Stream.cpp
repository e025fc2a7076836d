// SPDX-License-Identifier: Apache-2.0
// Choice, start and stop of a stream.
#include <GenApi/IBoolean.h>
#include <GenApi/ICommand.h>
#include <GenApi/IEnumEntry.h>
#include <GenApi/IEnumeration.h>
#include <GenApi/IInteger.h>
#include <GenApi/INode.h>
#include <GenApi/Pointer.h>

#include <algorithm>
#include <utility>

#include "GenApiCustom.h"
#include "Orvex/ALogger.h"
#include "Orvex/Check.h"
#include "Orvex/Device.h"

namespace Orvex {
namespace {

using GenApi::INodeMap;
using GenICam::gcstring;

constexpr int sk_udpStream = 0;
constexpr int sk_tcpStream = 1;
constexpr int sk_rdmaStream = 2;
constexpr int sk_evsStream = 3;

constexpr int64_t sk_hardcodedTcpPacketSize = 9000;
constexpr uint64_t sk_timeToBuffer = 40;
constexpr uint64_t sk_msPerSecond = 1000;
constexpr uint64_t sk_minNumBuffers = 10;
constexpr uint64_t sk_maxNumBuffers = 1000;

// How long a stop waits for a GetBuffer in another thread to come back from an ended event.
constexpr std::chrono::seconds sk_eventReturnTime{1};

bool IsImplemented(INodeMap* pNodeMap, const char* name) {
  return GenApi::IsImplemented(pNodeMap->GetNode(name));
}

gcstring EntryOf(INodeMap* pNodeMap, const char* name) {
  GenApi::IEnumEntry* pEntry = GenApi::CEnumerationPtr(pNodeMap->GetNode(name))->GetCurrentEntry();
  return pEntry == nullptr ? gcstring() : pEntry->GetSymbolic();
}

int ChooseEvsStream(INodeMap* pNodeMap, size_t numStreams) {
  const gcstring format = EntryOf(pNodeMap, "EventFormat");
  const bool known = format == "EVT3_0";
  if (known && numStreams > 3) return sk_evsStream;
  ALogger::Error(std::string(known ? "Unsupported Event Format Detected: "
                                   : "Unsupported Event Format Detected(2): ") +
                 format.c_str());
  THROW_PLAIN_FN(RuntimeException, "Unsupported Event Format type: " + format, "ChooseStream");
}

bool ReadsTrue(INodeMap* pNodeMap, const char* name) {
  try {
    return GetNodeValue<bool>(pNodeMap, name);
  } catch (...) {
    return false;
  }
}

void SwitchToTcp(INodeMap* pNodeMap) {
  GenApi::CIntegerPtr pLocked = pNodeMap->GetNode("TLParamsLocked");
  GenApi::CEnumerationPtr pProtocol = pNodeMap->GetNode("TransportStreamProtocol");
  const bool unlocked =
      pLocked.IsValid() && GenApi::IsReadable(*pLocked) && pLocked->GetValue() == 0;
  if (unlocked && pProtocol.IsValid() && GenApi::IsWritable(*pProtocol))
    pProtocol->FromString("TCP", true);
}

INodeMap* StreamNodeMapOf(StreamInfo* pInfo) {
  INodeMap* pNodeMap = pInfo->GetNodeMap();
  if (pNodeMap == nullptr) {
    THROW_GENTL_FN(GenTL::GC_ERR_INVALID_HANDLE,
                   "Unable to get TLDatastream nodemap, NULL returned", "GetNodeMap", "GetNodeMap");
  }
  return pNodeMap;
}

void RevokeAllBuffers(StreamInfo* pInfo, const char* function) {
  TLDataStream* pStream = pInfo->GetTLDataStream();
  GenApi::CIntegerPtr pCount = StreamNodeMapOf(pInfo)->GetNode("StreamAnnouncedBufferCount");
  if (!pCount.IsValid() || !GenApi::IsReadable(*pCount)) return;
  while (pCount->GetValue(false, true) >= 1) {
    GenTL::BUFFER_HANDLE hBuffer = nullptr;
    // Always the first: revoking renumbers the rest.
    CHECK_GENTL_FN(pStream->GetBufferID(0, &hBuffer), "Unable to get internal buffer ID",
                   "DSGetBufferID", function);
    CHECK_GENTL_FN(pStream->RevokeBuffer(hBuffer, nullptr, nullptr),
                   "Unable to revoke internal buffer", "DSRevokeBuffer", function);
  }
}

template <typename T>
T ValueOr(INodeMap* pNodeMap, const char* name, T missing) {
  try {
    return GetNodeValue<T>(pNodeMap, name);
  } catch (...) {
    return missing;
  }
}

}  // namespace

int ChooseStream(INodeMap* pNodeMap, size_t numStreams) {
  const bool hasTcp = IsImplemented(pNodeMap, "TCPEnable");
  const bool hasProtocol = IsImplemented(pNodeMap, "TransportStreamProtocol");
  if (IsImplemented(pNodeMap, "EventFormat")) return ChooseEvsStream(pNodeMap, numStreams);
  if (!hasTcp) return sk_udpStream;
  if (ReadsTrue(pNodeMap, "TCPEnable")) {
    if (numStreams < 2) return sk_udpStream;
    if (hasProtocol) SwitchToTcp(pNodeMap);
    return sk_tcpStream;
  }
  if (!hasProtocol) return sk_udpStream;
  const gcstring protocol = EntryOf(pNodeMap, "TransportStreamProtocol");
  if (protocol == "UDP" && numStreams != 0) return sk_udpStream;
  if (protocol == "TCP" && numStreams > 1) return sk_tcpStream;
  if (protocol == "RDMA" && numStreams > 2) return sk_rdmaStream;
  THROW_PLAIN(RuntimeException, "Unsupported Transport Stream Protocol: " + protocol);
}

uint64_t AutomaticBufferCount(INodeMap* pNodeMap, uint64_t payloadSize, uint64_t timeToBuffer) {
  if (payloadSize == 0 || !IsImplemented(pNodeMap, "DeviceMaxThroughput")) return sk_minNumBuffers;
  const auto throughput =
      static_cast<uint64_t>(GetNodeValue<int64_t>(pNodeMap, "DeviceMaxThroughput"));
  const uint64_t count = throughput * timeToBuffer / sk_msPerSecond / payloadSize;
  return std::clamp(count, sk_minNumBuffers, sk_maxNumBuffers);
}

void CleanupAnnouncedBuffersOnStartFailure(StreamInfo* pInfo) {
  CHECK_GENTL(pInfo->GetTLDataStream()->FlushQueue(GenTL::ACQ_QUEUE_ALL_DISCARD),
              "Unable to flush queue", "DSFlushQueue");
  RevokeAllBuffers(pInfo, __func__);
}

int Device::SelectStream() {
  return ChooseStream(m_pDeviceNodeMap, m_streams.size());
}

// --- start

void Device::StartStream(size_t numBuffers) {
  CHECK_ARG(!m_streams.empty(), LogicalErrorException, "Device has no available streams");
  m_streamNumber = SelectStream();
  if (m_streamNumber == sk_tcpStream && m_streams.size() >= 2) {
    m_cachedPacketSize = GetNodeValue<int64_t>(m_pDeviceNodeMap, "DeviceStreamChannelPacketSize");
    SetNodeValue<int64_t>(m_pDeviceNodeMap, "DeviceStreamChannelPacketSize",
                          sk_hardcodedTcpPacketSize);
  }
  if (m_streamNumber == sk_evsStream) {
    StartStreamEVS(sk_evsStream, numBuffers);
  } else {
    StartStream(m_streamNumber, numBuffers);
  }
}

void Device::StartStream(int stream, size_t numBuffers) {
  ThrowIfInsideCallback("A stream cannot be started from inside an image callback", __func__);
  const std::lock_guard lock(m_streamMutex);
  CHECK_ARG(numBuffers != 0, InvalidArgumentException,
            "Number of acquisition buffers must be 1 or greater");
  CHECK_ARG(m_pDeviceNodeMap != nullptr, RuntimeException, "Node map not present");
  GenApi::CIntegerPtr pPayloadSize = m_pDeviceNodeMap->GetNode("PayloadSize");
  m_streamNumber = SelectStream();
  if (numBuffers == static_cast<size_t>(-1)) {
    numBuffers = AutomaticBufferCount(
        m_pDeviceNodeMap, static_cast<uint64_t>(pPayloadSize->GetValue()), sk_timeToBuffer);
  }
  StreamInfo* pInfo = m_streams.at(static_cast<size_t>(stream));
  AnnounceAndQueueBuffers(
      pInfo, numBuffers, [&] { return static_cast<uint64_t>(pPayloadSize->GetValue()); }, __func__);
  SetupResendParams(pInfo, false);
  StartHostAndCamera(stream, numBuffers, false, __func__);
}

void Device::AnnounceAndQueueBuffers(StreamInfo* pInfo, size_t numBuffers,
                                     const std::function<uint64_t()>& size, const char* function) {
  TLDataStream* pStream = pInfo->GetTLDataStream();
  const auto sizeOrCleanup = [&] {
    try {
      return size();
    } catch (...) {  // the camera did not tell it this time
      CleanupAnnouncedBuffersOnStartFailure(pInfo);
      throw;
    }
  };
  for (size_t i = 0; i < numBuffers; ++i) {
    GenTL::BUFFER_HANDLE hBuffer = nullptr;
    GenTL::GC_ERROR status = pStream->AllocAndAnnounceBuffer(sizeOrCleanup(), nullptr, &hBuffer);
    if (status != 0) CleanupAnnouncedBuffersOnStartFailure(pInfo);
    CHECK_GENTL_FN(status, "Unable to prepare internal buffer", "DSAllocAndAnnounceBuffer",
                   function);
    status = pStream->QueueBuffer(hBuffer);
    if (status != 0) CleanupAnnouncedBuffersOnStartFailure(pInfo);
    CHECK_GENTL_FN(status, "Unable to queue internal buffer", "DSQueueBuffer", function);
  }
}

void Device::SetupResendParams(StreamInfo* pInfo, bool withGeometry) {
  INodeMap* pMap = m_pDeviceNodeMap;
  const double frameRate = ValueOr<double>(pMap, "AcquisitionFrameRate", 0.0);
  const int64_t window = ValueOr<int64_t>(pMap, "PacketResendWindowFrameCount", 0);
  const gcstring serial = ValueOr<gcstring>(pMap, "DeviceSerialNumber", gcstring());
  const gcstring firmware = ValueOr<gcstring>(pMap, "DeviceFirmwareVersion", gcstring());
  const int64_t width = withGeometry ? ValueOr<int64_t>(pMap, "Width", 0) : 0;
  const int64_t height = withGeometry ? ValueOr<int64_t>(pMap, "Height", 0) : 0;
  // A producer without this extension does its own resends; so its answer does not matter.
  static_cast<void>(pInfo->GetTLDataStream()->SetupResendRetryParams(
      static_cast<uint64_t>(window), frameRate, serial.c_str(), firmware.c_str(), width, height));
}

void Device::RegisterStreamEvent(StreamInfo* pInfo, GenTL::EVENT_TYPE type, TLEvent*& slot,
                                 const char* function) {
  GenTL::EVENT_HANDLE hEvent = nullptr;
  const GenTL::GC_ERROR status = pInfo->GetTLDataStream()->RegisterEvent(type, &hEvent);
  if (status != 0) CleanupAnnouncedBuffersOnStartFailure(pInfo);
  CHECK_GENTL_FN(status, "Unable to register new buffer events", "GCRegisterEvent", function);
  auto* pEvent = new TLEvent(hEvent);
  const std::lock_guard lock(m_eventUseMtx);
  slot = pEvent;
}

// From the registration of the new-buffer event to the camera's start. Needs m_streamMutex.
void Device::StartHostAndCamera(int stream, size_t numBuffers, bool evs, const char* function) {
  const auto index = static_cast<size_t>(stream);
  StreamInfo* pInfo = m_streams.at(index);
  TLDataStream* pStream = pInfo->GetTLDataStream();
  RegisterStreamEvent(pInfo, GenTL::EVENT_NEW_BUFFER, m_hEventNewBuffers.at(index), function);
  if (evs) {
    try {
      RegisterStreamEvent(pInfo, GenTL::EVENT_NEW_EVS_TRIGGER, m_hEventEvsTriggers.at(index),
                          function);
    } catch (...) {
      static_cast<void>(pStream->UnregisterEvent(GenTL::EVENT_NEW_BUFFER));
      DropEvent(m_hEventNewBuffers, stream);
      throw;
    }
  }
  if (const GenTL::GC_ERROR status =
          pStream->StartAcquisition(GenTL::ACQ_START_FLAGS_DEFAULT, numBuffers);
      status != 0) {
    static_cast<void>(pStream->UnregisterEvent(GenTL::EVENT_NEW_BUFFER));
    DropEvent(m_hEventNewBuffers, stream);
    if (evs) {
      static_cast<void>(pStream->UnregisterEvent(GenTL::EVENT_NEW_EVS_TRIGGER));
      DropEvent(m_hEventEvsTriggers, stream);
    }
    CleanupAnnouncedBuffersOnStartFailure(pInfo);
    CHECK_GENTL_FN(status, "Unable to start acquisition", "DSStartAcquisition", function);
  }
  try {
    SetNodeValue<int64_t>(m_pDeviceNodeMap, "TLParamsLocked", 1);
    GenApi::CCommandPtr pStart = m_pDeviceNodeMap->GetNode("AcquisitionStart");
    {
      const std::lock_guard lock(m_imageCallbackListLock);
      if (!m_imageCallbackList.empty() && !m_imageCallbackThread.joinable())
        StartImageCallbackThread();
    }
    if (IsControlled()) pStart->Execute(true);
    m_pDeviceNodeMap->InvalidateNodes();
  } catch (...) {
    UndoStart(stream, evs);
    throw;
  }
}

// The camera would not start: nothing of the start stays. Its own failures don't matter any more.
void Device::UndoStart(int stream, bool evs) noexcept {
  StreamInfo* pInfo = m_streams[static_cast<size_t>(stream)];
  TLDataStream* pStream = pInfo->GetTLDataStream();
  const auto attempt = [](const auto& step) {
    try {
      step();
    } catch (...) {
    }
  };
  attempt([&] {
    const std::lock_guard lock(m_imageCallbackListLock);
    StopImageCallbackThread();
  });
  attempt([&] { static_cast<void>(pStream->StopAcquisition(GenTL::ACQ_STOP_FLAGS_DEFAULT)); });
  attempt([&] {
    static_cast<void>(pStream->UnregisterEvent(GenTL::EVENT_NEW_BUFFER));
    DropEvent(m_hEventNewBuffers, stream);
  });
  if (evs) {
    attempt([&] {
      static_cast<void>(pStream->UnregisterEvent(GenTL::EVENT_NEW_EVS_TRIGGER));
      DropEvent(m_hEventEvsTriggers, stream);
    });
  }
  attempt([&] { SetNodeValue<int64_t>(m_pDeviceNodeMap, "TLParamsLocked", 0); });
  attempt([&] { CleanupAnnouncedBuffersOnStartFailure(pInfo); });
}

// Whether the camera is ours to command. Cameras that don't tell are asked about at the transport
// layer, which has entries of its own for opened devices. Where nobody tells, the camera is told to
// start and refuses if it must.
bool Device::IsControlled() {
  for (INodeMap* pNodeMap : {m_pDeviceNodeMap, m_pTLDeviceNodeMap}) {
    if (pNodeMap == nullptr || !IsImplemented(pNodeMap, "DeviceAccessStatus")) continue;
    const gcstring status = GetNodeValue<gcstring>(pNodeMap, "DeviceAccessStatus");
    return status == "ReadWrite" || (pNodeMap != m_pDeviceNodeMap && status == "OpenReadWrite");
  }
  return true;
}

// --- stop

void Device::StopStream() {
  // Kept on purpose: what counts is whether the device has streams at all. A stream that does not
  // run is left to the producer, whose answer callers know.
  CHECK_ARG(!m_streams.empty(), LogicalErrorException,
            "Failure stopping stream due to device not having been streaming");
  m_streamNumber = SelectStream();
  if (m_streamNumber == sk_evsStream) {
    StopStreamEVS(sk_evsStream);
  } else {
    StopStream(m_streamNumber);
  }
  if (m_streamNumber == sk_tcpStream && m_streams.size() > 1 && m_cachedPacketSize != -1) {
    SetNodeValue<int64_t>(m_pDeviceNodeMap, "DeviceStreamChannelPacketSize", m_cachedPacketSize);
  }
}

void Device::StopStream(int stream) {
  StopHostAndCamera(stream, false, __func__);
}

void Device::StopHostAndCamera(int stream, bool evs, const char* function) {
  ThrowIfInsideCallback("A stream cannot be stopped from inside an image callback", function);
  const std::lock_guard lock(m_streamMutex);
  StreamInfo* pInfo = m_streams.at(static_cast<size_t>(stream));
  TLDataStream* pStream = pInfo->GetTLDataStream();
  {
    const std::lock_guard listLock(m_imageCallbackListLock);
    StopImageCallbackThread();
  }
  CHECK_GENTL_FN(pStream->StopAcquisition(GenTL::ACQ_STOP_FLAGS_DEFAULT),
                 "Unable to stop acquisition", "DSStopAcquisition", function);
  CHECK_GENTL_FN(pStream->UnregisterEvent(GenTL::EVENT_NEW_BUFFER),
                 "Unable to unregister new buffer events", "GCUnregisterEvent", function);
  DropEvent(m_hEventNewBuffers, stream);
  if (evs) {
    CHECK_GENTL_FN(pStream->UnregisterEvent(GenTL::EVENT_NEW_EVS_TRIGGER),
                   "Unable to unregister new buffer events", "GCUnregisterEvent", function);
    DropEvent(m_hEventEvsTriggers, stream);
  }
  SetNodeValue<int64_t>(m_pDeviceNodeMap, "TLParamsLocked", 0);
  DetachChunks();
  CHECK_GENTL_FN(pStream->FlushQueue(GenTL::ACQ_QUEUE_ALL_DISCARD), "Unable to flush queue",
                 "DSFlushQueue", function);
  RevokeAllBuffers(pInfo, function);
  if (m_pDeviceNodeMap == nullptr) return;
  // Kept on purpose: the camera is told last, after the host has been torn down, and without asking
  // whether it is ours to command.
  GenApi::CCommandPtr pStop = m_pDeviceNodeMap->GetNode("AcquisitionStop");
  CHECK_ARG_FN(pStop.IsValid(), RuntimeException,
               "Unable to stop acquisition because Acquisition Stop node doesn't exist", function);
  pStop->Execute(false);
}

void Device::DropEvent(std::vector<TLEvent*>& events, int stream) {
  const auto index = static_cast<size_t>(stream);
  if (index >= events.size()) return;
  TLEvent* pEvent = nullptr;
  {
    const std::lock_guard lock(m_eventUseMtx);
    pEvent = std::exchange(events[index], nullptr);
  }
  if (WaitUntilUnused(m_bufferEventUsers)) delete pEvent;
}

// Waits for calls that still use an event: its registration has ended, so they return. When they
// don't, false: what they use is rather lost than freed under their hands.
bool Device::WaitUntilUnused(const int& users) {
  std::unique_lock lock(m_eventUseMtx);
  return m_eventUnused.wait_for(lock, sk_eventReturnTime, [&users] { return users == 0; });
}

}  // namespace Orvex
