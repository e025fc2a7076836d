// SPDX-License-Identifier: Apache-2.0
// Frames: from the new-buffer event to the application and back.
#include <stdexcept>
#include <type_traits>
#include <utility>

#include "ICompressedImage.h"
#include "IImage.h"
#include "Orvex/Buffer.h"
#include "Orvex/Check.h"
#include "Orvex/ChunkData.h"
#include "Orvex/CompressedImage.h"
#include "Orvex/CompressedImageExtendedChunk.h"
#include "Orvex/Device.h"
#include "Orvex/DeviceEventUse.h"
#include "Orvex/Image.h"
#include "Orvex/ImageExtendedChunk.h"
#include "Orvex/NodeMapUtility.h"

namespace Orvex {
namespace {

constexpr const char* sk_noStreams = "Device has no available streams";

template <typename T>
T QueryBuffer(TLDataStream* pStream, GenTL::BUFFER_HANDLE hBuffer, GenTL::BUFFER_INFO_CMD command,
              const char* whatFailed) {
  T value = 0;
  size_t size = sizeof(value);
  GenTL::INFO_DATATYPE type = GenTL::INFO_DATATYPE_UNKNOWN;
  CHECK_GENTL_FN(pStream->GetBufferInfo(hBuffer, command, &type, &value, &size), whatFailed,
                 "DSGetBufferInfo", "GetBuffer");
  return value;
}

template <typename Frame>
std::unique_ptr<Frame> MakeWithChunks(TLDataStream* pStream, GenTL::BUFFER_HANDLE hBuffer,
                                      UniqueNodeMap pNodeMap) {
  auto pFrame = std::make_unique<Frame>(pStream, hBuffer, pNodeMap.get());
  static_cast<void>(pNodeMap.release());  // the frame's from here on
  return pFrame;
}

// Frames are freed as what they are: the interfaces' bases in them are not the one Buffer.
void DeleteFrame(IBuffer* pBuffer) {
  delete dynamic_cast<Buffer*>(pBuffer);
}

}  // namespace

IBuffer* Device::GetBuffer(uint64_t timeout) {
  // Kept on purpose: another class than the other operations throw here.
  CHECK_ARG(!m_streams.empty(), DynamicCastException, sk_noStreams);
  return GetBuffer(m_streamNumber, timeout);
}

IBuffer* Device::GetBuffer(int stream, uint64_t timeout) {
  try {
    GenTL::EVENT_NEW_BUFFER_DATA data{};
    {
      TLEvent* pEvent = nullptr;
      const EventUse use(*this, m_bufferEventUsers,
                         [&] { pEvent = m_hEventNewBuffers.at(static_cast<size_t>(stream)); });
      if (pEvent == nullptr) {
        THROW_GENTL_FN(GenTL::GC_ERR_INVALID_HANDLE,
                       "Unable to get buffer data, event handle is NULL", "EventGetData", __func__);
      }
      size_t size = sizeof(data);
      CHECK_GENTL(pEvent->GetData(&data, &size, timeout), "Unable to get buffer data",
                  "EventGetData");
    }
    if (m_streams.empty()) {
      THROW_GENTL_FN(GenTL::GC_ERR_ABORT, "Unable to get buffer data, stream aborted",
                     "EventGetData", __func__);
    }
    TLDataStream* pStream = m_streams.at(static_cast<size_t>(stream))->GetTLDataStream();
    return WrapBuffer(pStream, data.BufferHandle);
  } catch (const std::out_of_range&) {
    THROW_PLAIN(RuntimeException, "error indexing a stream!");
  }
}

IBuffer* Device::WrapBuffer(TLDataStream* pStream, void* hBuffer) {
  const auto withChunks = [&](auto pFrame) {
    const auto size = QueryBuffer<size_t>(pStream, hBuffer, GenTL::BUFFER_INFO_DATA_SIZE,
                                          "Unable to get buffer data size");
    AttachChunks(pFrame->GetData(), size);
    // The filled size of a compressed image ends before its chunks.
    if constexpr (std::is_same_v<typename decltype(pFrame)::element_type,
                                 CompressedImageExtendedChunk>) {
      pFrame->AttachChunks(size);
    }
    return static_cast<Buffer*>(pFrame.release());
  };
  const auto payloadType = QueryBuffer<uint64_t>(pStream, hBuffer, GenTL::BUFFER_INFO_PAYLOADTYPE,
                                                 "Unable to get buffer payload type");
  switch (payloadType) {
    case BufferPayloadTypeImage:
      return static_cast<Buffer*>(new Image(pStream, hBuffer));
    case BufferPayloadTypeCompressedImage:
      return static_cast<Buffer*>(new CompressedImage(pStream, hBuffer));
    case BufferPayloadTypeImageExtendedChunk:
      return withChunks(MakeWithChunks<ImageExtendedChunk>(pStream, hBuffer,
                                                           UniqueNodeMap(CreateChunkNodeMap())));
    case BufferPayloadTypeChunkData: {
      auto pFrame =
          MakeWithChunks<ChunkData>(pStream, hBuffer, UniqueNodeMap(CreateChunkNodeMap()));
      const uint8_t* pData = pFrame->GetData();
      AttachChunks(pData, pFrame->GetSizeFilled());
      return static_cast<Buffer*>(pFrame.release());
    }
    case BufferPayloadTypeCompressedImageExtendedChunk:
      return withChunks(MakeWithChunks<CompressedImageExtendedChunk>(
          pStream, hBuffer, UniqueNodeMap(CreateChunkNodeMap())));
    default:
      THROW_PLAIN_FN(LogicalErrorException, "Unknown payload type", "GetBuffer");
  }
}

// One of its own for each frame; null when the camera describes no chunks.
GenApi::INodeMap* Device::CreateChunkNodeMap() {
  const std::lock_guard lock(m_chunkMtx);
  if (m_chunkDataNodeMapFactory.IsEmpty()) return nullptr;
  return m_chunkDataNodeMapFactory.CreateNodeMap("Device");
}

// Lets the device's own chunk nodes read this frame.
void Device::AttachChunks(const uint8_t* pData, size_t size) {
  const std::lock_guard lock(m_chunkMtx);
  try {
    m_pChunkAdapter->AttachBuffer(const_cast<uint8_t*>(pData), static_cast<int64_t>(size), nullptr);
  } catch (const GenICam::GenericException& error) {
    // Kept on purpose: a frame whose chunks cannot be parsed is delivered all the same.
    const std::string description = error.GetDescription();
    if (description.find("Invalid layout of buffer attached to chunk parser!") == std::string::npos)
      throw;
  }
}

// The frame that is attached is about to be freed.
void Device::DetachChunks() {
  const std::lock_guard lock(m_chunkMtx);
  if (m_pChunkAdapter != nullptr) m_pChunkAdapter->DetachBuffer();
}

void Device::ThrowIfCallbacksRegistered(const char* message, const char* function) {
  bool registered = m_imageCallbackListLock.IsHeldByThisThread();  // inside a callback
  if (!registered) {
    const std::lock_guard lock(m_imageCallbackListLock);
    registered = !m_imageCallbackList.empty();
  }
  CHECK_ARG_FN(!registered, RuntimeException, message, function);
}

IImage* Device::GetImage(uint64_t timeout) {
  CHECK_ARG(!m_streams.empty(), LogicalErrorException, sk_noStreams);
  return GetImage(m_streamNumber, timeout);
}

IImage* Device::GetImage(int stream, uint64_t timeout) {
  ThrowIfCallbacksRegistered(
      "GetImage should not be called while there are registered image callbacks", __func__);
  IBuffer* pBuffer = GetBuffer(stream, timeout);
  auto* pImage = dynamic_cast<IImage*>(pBuffer);
  if (pImage == nullptr) {
    DeleteFrame(pBuffer);
    // Kept on purpose: the blank at the end, which callers match.
    THROW_PLAIN(LogicalErrorException, "Failed to cast Orvex::IBuffer* to Orvex::IImage* ");
  }
  return pImage;
}

ICompressedImage* Device::GetCompressedImage(uint64_t timeout) {
  CHECK_ARG(!m_streams.empty(), LogicalErrorException, sk_noStreams);
  return GetCompressedImage(m_streamNumber, timeout);
}

ICompressedImage* Device::GetCompressedImage(int stream, uint64_t timeout) {
  ThrowIfCallbacksRegistered(
      "GetCompressedImage should not be called while there are registered image callbacks",
      __func__);
  IBuffer* pBuffer = GetBuffer(stream, timeout);
  auto* pImage = dynamic_cast<ICompressedImage*>(pBuffer);
  if (pImage == nullptr) {
    DeleteFrame(pBuffer);
    THROW_PLAIN(LogicalErrorException,
                "Failed to cast Orvex::IBuffer* to Orvex::ICompressedImage* (perhaps an "
                "unsupported compressed pixel format)");
  }
  return pImage;
}

void Device::RequeueBuffer(IBuffer* pBuffer) {
  CHECK_ARG(!m_streams.empty(), LogicalErrorException, sk_noStreams);
  RequeueBuffer(m_streamNumber, pBuffer);
}

void Device::RequeueBuffer(int stream, IBuffer* pBuffer) {
  auto* pConcrete = dynamic_cast<Buffer*>(pBuffer);
  CHECK_ARG(pConcrete != nullptr, InvalidArgumentException, "Image is null");
  TLDataStream* pStream = m_streams.at(static_cast<size_t>(stream))->GetTLDataStream();
  CHECK_GENTL(pStream->QueueBuffer(pConcrete->GetBufferHandle()),
              "Unable to requeue internal buffer", "DSQueueBuffer");
  delete pConcrete;
}

void Device::WaitForNextLeader(uint64_t timeout) {
  CHECK_ARG(!m_streams.empty(), LogicalErrorException, sk_noStreams);
  WaitForNextLeader(m_streamNumber, timeout);
}

void Device::WaitForNextLeader(int stream, uint64_t timeout) {
  CHECK_GENTL(
      m_streams.at(static_cast<size_t>(stream))->GetTLDataStream()->WaitForNextLeader(timeout),
      "Wait for next leader failed", "DSWaitForNextLeader");
}

void Device::ResetWaitForNextLeader() {
  CHECK_ARG(!m_streams.empty(), LogicalErrorException, sk_noStreams);
  ResetWaitForNextLeader(m_streamNumber);
}

void Device::ResetWaitForNextLeader(int stream) {
  // Kept on purpose: the same text as the wait's.
  CHECK_GENTL(
      m_streams.at(static_cast<size_t>(stream))->GetTLDataStream()->ResetWaitForNextLeader(),
      "Wait for next leader failed", "DSResetWaitForNextLeader");
}

}  // namespace Orvex
