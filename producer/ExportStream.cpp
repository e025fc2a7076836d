// SPDX-License-Identifier: Apache-2.0
// Exported functions: data streams and buffers.
#include "producer/DataStream.h"
#include "producer/Device.h"
#include "producer/Export.h"

using namespace OrvexGev;

namespace GenTL {

namespace {

// Asks one thing after another; a failure stays in its entry and is not the call's.
template <typename Entry, typename Ask>
GC_ERROR Stacked(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, Entry* entries, size_t count,
                 Ask&& ask) {
  return Call([&] {
    const auto stream = Get<DataStream>(hDataStream);
    const auto buffer = stream->BufferOf(hBuffer);
    RequirePointer(entries);
    Require(count != 0, GC_ERR_INVALID_PARAMETER, "No information is asked");
    const LastError before = ThreadLastError();
    for (size_t i = 0; i < count; ++i) {
      Entry& info = entries[i];
      // The members are packed: they are answered into aligned copies.
      INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
      size_t size = info.iSize;
      info.iResult =
          Guard([&] { ask(*stream, *buffer, info, InfoQuery(&type, info.pBuffer, &size)); });
      info.iType = type;
      info.iSize = size;
    }
    ThreadLastError() = before;
  });
}

}  // namespace

extern "C" {

GC_ERROR DSAnnounceBuffer(DS_HANDLE hDataStream, void* pBuffer, size_t iSize, void* pPrivate,
                          BUFFER_HANDLE* phBuffer) {
  return Call([&] {
    const auto stream = Get<DataStream>(hDataStream);
    RequirePointer(pBuffer);
    RequirePointer(phBuffer);
    *phBuffer = stream->Announce(pBuffer, iSize, pPrivate)->Handle();
  });
}

GC_ERROR DSAllocAndAnnounceBuffer(DS_HANDLE hDataStream, size_t iSize, void* pPrivate,
                                  BUFFER_HANDLE* phBuffer) {
  return Call([&] {
    const auto stream = Get<DataStream>(hDataStream);
    RequirePointer(phBuffer);
    *phBuffer = stream->Announce(nullptr, iSize, pPrivate)->Handle();
  });
}

GC_ERROR DSAnnounceCompositeBuffer(DS_HANDLE hDataStream, size_t, void**, size_t*, void*,
                                   BUFFER_HANDLE*) {
  return Call([&] {
    Get<DataStream>(hDataStream);
    throw GcError(GC_ERR_NOT_IMPLEMENTED, "Composite buffers are not supported");
  });
}

GC_ERROR DSRevokeBuffer(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, void** pBuffer,
                        void** pPrivate) {
  return Call([&] {
    const auto stream = Get<DataStream>(hDataStream);
    const auto buffer = stream->BufferOf(hBuffer);
    stream->Revoke(buffer);
    if (pBuffer != nullptr) *pBuffer = buffer->OwnsMemory() ? nullptr : buffer->Base();
    if (pPrivate != nullptr) *pPrivate = buffer->Private();
  });
}

GC_ERROR DSQueueBuffer(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer) {
  return Call([&] {
    const auto stream = Get<DataStream>(hDataStream);
    stream->Queue(stream->BufferOf(hBuffer));
  });
}

GC_ERROR DSFlushQueue(DS_HANDLE hDataStream, ACQ_QUEUE_TYPE iOperation) {
  return Call([&] { Get<DataStream>(hDataStream)->Flush(iOperation); });
}

GC_ERROR DSStartAcquisition(DS_HANDLE hDataStream, ACQ_START_FLAGS iStartFlags,
                            uint64_t iNumToAcquire) {
  return Call([&] { Get<DataStream>(hDataStream)->Start(iStartFlags, iNumToAcquire); });
}

GC_ERROR DSStopAcquisition(DS_HANDLE hDataStream, ACQ_STOP_FLAGS iStopFlags) {
  return Call([&] { Get<DataStream>(hDataStream)->Stop(iStopFlags); });
}

GC_ERROR DSGetInfo(DS_HANDLE hDataStream, STREAM_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                   void* pBuffer, size_t* piSize) {
  return Call(
      [&] { Get<DataStream>(hDataStream)->Info(iInfoCmd, InfoQuery(piType, pBuffer, piSize)); });
}

GC_ERROR DSGetBufferID(DS_HANDLE hDataStream, uint32_t iIndex, BUFFER_HANDLE* phBuffer) {
  return Call([&] {
    const auto stream = Get<DataStream>(hDataStream);
    RequirePointer(phBuffer);
    *phBuffer = stream->BufferAt(iIndex)->Handle();
  });
}

GC_ERROR DSClose(DS_HANDLE hDataStream) {
  return Call([&] { Get<DataStream>(hDataStream)->Close(); });
}

GC_ERROR DSGetBufferInfo(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, BUFFER_INFO_CMD iInfoCmd,
                         INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
  return Call([&] {
    const auto stream = Get<DataStream>(hDataStream);
    stream->BufferInfo(*stream->BufferOf(hBuffer), iInfoCmd, InfoQuery(piType, pBuffer, piSize));
  });
}

GC_ERROR DSGetBufferChunkData(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer,
                              SINGLE_CHUNK_DATA* pChunkData, size_t* piNumChunks) {
  return Call([&] {
    const auto stream = Get<DataStream>(hDataStream);
    stream->BufferChunks(*stream->BufferOf(hBuffer), pChunkData, piNumChunks);
  });
}

GC_ERROR DSGetParentDev(DS_HANDLE hDataStream, DEV_HANDLE* phDevice) {
  return Call([&] {
    const auto parent = Get<DataStream>(hDataStream)->Parent();
    RequirePointer(phDevice);
    RequirePointer(parent.get());
    *phDevice = parent->Handle();
  });
}

GC_ERROR DSGetBufferInfoStacked(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer,
                                DS_BUFFER_INFO_STACKED* pInfoStacked, size_t iNumInfos) {
  return Stacked(
      hDataStream, hBuffer, pInfoStacked, iNumInfos,
      [](const DataStream& stream, const StreamBuffer& buffer, const DS_BUFFER_INFO_STACKED& info,
         InfoQuery query) { stream.BufferInfo(buffer, info.iInfoCmd, query); });
}

GC_ERROR DSGetNumBufferParts(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, uint32_t* piNumParts) {
  return Call([&] {
    const auto stream = Get<DataStream>(hDataStream);
    const auto buffer = stream->BufferOf(hBuffer);
    RequirePointer(piNumParts);
    *piNumParts = stream->BufferPartCount(*buffer);
  });
}

GC_ERROR DSGetBufferPartInfo(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, uint32_t iPartIndex,
                             BUFFER_PART_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                             size_t* piSize) {
  return Call([&] {
    const auto stream = Get<DataStream>(hDataStream);
    stream->BufferPartInfo(*stream->BufferOf(hBuffer), iPartIndex, iInfoCmd,
                           InfoQuery(piType, pBuffer, piSize));
  });
}

GC_ERROR DSGetBufferPartInfoStacked(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer,
                                    DS_BUFFER_PART_INFO_STACKED* pInfoStacked, size_t iNumInfos) {
  uint32_t parts = 0;
  const GC_ERROR error = DSGetNumBufferParts(hDataStream, hBuffer, &parts);
  if (error != GC_ERR_SUCCESS) return error;
  return Stacked(hDataStream, hBuffer, pInfoStacked, iNumInfos,
                 [](const DataStream& stream, const StreamBuffer& buffer,
                    const DS_BUFFER_PART_INFO_STACKED& info, InfoQuery query) {
                   stream.BufferPartInfo(buffer, info.iPartIndex, info.iInfoCmd, query);
                 });
}

// Flows and segments: no buffer of this producer has any.
static GC_ERROR NoSegments(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer) {
  return Call([&] {
    Get<DataStream>(hDataStream)->BufferOf(hBuffer);
    InfoQuery::NoData();
  });
}

GC_ERROR DSGetNumFlows(DS_HANDLE hDataStream, uint32_t*) {
  return Call([&] {
    Get<DataStream>(hDataStream);
    InfoQuery::NoData();
  });
}

GC_ERROR DSGetFlowInfo(DS_HANDLE hDataStream, uint32_t, FLOW_INFO_CMD, INFO_DATATYPE*, void*,
                       size_t*) {
  return Call([&] {
    Get<DataStream>(hDataStream);
    InfoQuery::NoData();
  });
}

GC_ERROR DSGetNumBufferSegments(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, uint32_t*) {
  return NoSegments(hDataStream, hBuffer);
}

GC_ERROR DSGetBufferSegmentInfo(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, uint32_t,
                                SEGMENT_INFO_CMD, INFO_DATATYPE*, void*, size_t*) {
  return NoSegments(hDataStream, hBuffer);
}

GC_ERROR DSWaitForNextLeader(DS_HANDLE hDataStream, uint64_t timeoutMs) {
  return Call([&] { Get<DataStream>(hDataStream)->WaitForNextLeader(timeoutMs); });
}

GC_ERROR DSResetWaitForNextLeader(DS_HANDLE hDataStream) {
  return Call([&] { Get<DataStream>(hDataStream)->ResetWaitForNextLeader(); });
}

GC_ERROR DSSetupResendRetryParams(DS_HANDLE hDataStream, uint64_t windowFrameCount,
                                  double frameRate, const char*, const char*, int64_t width,
                                  int64_t height) {
  return Call([&] {
    Get<DataStream>(hDataStream)->SetupResend(windowFrameCount, frameRate, width, height);
  });
}

}  // extern "C"
}  // namespace GenTL
