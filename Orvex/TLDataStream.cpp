// SPDX-License-Identifier: Apache-2.0
#include "Orvex/TLDataStream.h"

#include "gentl/Producer.h"

namespace Orvex {

GenTL::GC_ERROR TLDataStream::Close() {
  return GenTL::Producer().DSClose(m_hModule);
}

GenTL::GC_ERROR TLDataStream::AnnounceBuffer(void* pBuffer, size_t size, void* pPrivate,
                                             GenTL::BUFFER_HANDLE* phBuffer) {
  return GenTL::Producer().DSAnnounceBuffer(m_hModule, pBuffer, size, pPrivate, phBuffer);
}

GenTL::GC_ERROR TLDataStream::AllocAndAnnounceBuffer(size_t size, void* pPrivate,
                                                     GenTL::BUFFER_HANDLE* phBuffer) {
  return GenTL::Producer().DSAllocAndAnnounceBuffer(m_hModule, size, pPrivate, phBuffer);
}

GenTL::GC_ERROR TLDataStream::QueueBuffer(GenTL::BUFFER_HANDLE hBuffer) {
  return GenTL::Producer().DSQueueBuffer(m_hModule, hBuffer);
}

GenTL::GC_ERROR TLDataStream::RevokeBuffer(GenTL::BUFFER_HANDLE hBuffer, void** ppBuffer,
                                           void** ppPrivate) {
  return GenTL::Producer().DSRevokeBuffer(m_hModule, hBuffer, ppBuffer, ppPrivate);
}

GenTL::GC_ERROR TLDataStream::FlushQueue(GenTL::ACQ_QUEUE_TYPE operation) {
  return GenTL::Producer().DSFlushQueue(m_hModule, operation);
}

GenTL::GC_ERROR TLDataStream::GetInfo(GenTL::STREAM_INFO_CMD command, GenTL::INFO_DATATYPE* pType,
                                      void* pBuffer, size_t* pSize) {
  return GenTL::Producer().DSGetInfo(m_hModule, command, pType, pBuffer, pSize);
}

GenTL::GC_ERROR TLDataStream::GetBufferID(uint32_t index, GenTL::BUFFER_HANDLE* phBuffer) {
  return GenTL::Producer().DSGetBufferID(m_hModule, index, phBuffer);
}

GenTL::GC_ERROR TLDataStream::GetBufferInfo(GenTL::BUFFER_HANDLE hBuffer,
                                            GenTL::BUFFER_INFO_CMD command,
                                            GenTL::INFO_DATATYPE* pType, void* pBuffer,
                                            size_t* pSize) {
  return GenTL::Producer().DSGetBufferInfo(m_hModule, hBuffer, command, pType, pBuffer, pSize);
}

GenTL::GC_ERROR TLDataStream::StartAcquisition(GenTL::ACQ_START_FLAGS flags, uint64_t count) {
  return GenTL::Producer().DSStartAcquisition(m_hModule, flags, count);
}

GenTL::GC_ERROR TLDataStream::StopAcquisition(GenTL::ACQ_STOP_FLAGS flags) {
  return GenTL::Producer().DSStopAcquisition(m_hModule, flags);
}

GenTL::GC_ERROR TLDataStream::GetBufferChunkData(GenTL::BUFFER_HANDLE hBuffer,
                                                 GenTL::SINGLE_CHUNK_DATA* pChunks,
                                                 size_t* pCount) {
  return GenTL::Producer().DSGetBufferChunkData(m_hModule, hBuffer, pChunks, pCount);
}

GenTL::GC_ERROR TLDataStream::WaitForNextLeader(uint64_t timeout) {
  return GenTL::Producer().DSWaitForNextLeader(m_hModule, timeout);
}

GenTL::GC_ERROR TLDataStream::ResetWaitForNextLeader() {
  return GenTL::Producer().DSResetWaitForNextLeader(m_hModule);
}

GenTL::GC_ERROR TLDataStream::SetupResendRetryParams(uint64_t window, double frameRate,
                                                     const char* pSerial, const char* pFirmware,
                                                     int64_t width, int64_t height) {
  return GenTL::Producer().DSSetupResendRetryParams(m_hModule, window, frameRate, pSerial,
                                                    pFirmware, width, height);
}

}  // namespace Orvex
