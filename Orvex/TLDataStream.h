#pragma once
// SPDX-License-Identifier: Apache-2.0
// One data stream module. Rules: TLBase.h.
#include "Orvex/TLBase.h"
#include "gentl/GenTLExtensions.h"

namespace Orvex {

class TLDataStream : public TLBase {
 public:
  using TLBase::TLBase;

  virtual GenTL::GC_ERROR Close();
  virtual GenTL::GC_ERROR AnnounceBuffer(void* pBuffer, size_t size, void* pPrivate,
                                         GenTL::BUFFER_HANDLE* phBuffer);
  virtual GenTL::GC_ERROR AllocAndAnnounceBuffer(size_t size, void* pPrivate,
                                                 GenTL::BUFFER_HANDLE* phBuffer);
  virtual GenTL::GC_ERROR QueueBuffer(GenTL::BUFFER_HANDLE hBuffer);
  virtual GenTL::GC_ERROR RevokeBuffer(GenTL::BUFFER_HANDLE hBuffer, void** ppBuffer,
                                       void** ppPrivate);
  virtual GenTL::GC_ERROR FlushQueue(GenTL::ACQ_QUEUE_TYPE operation);
  virtual GenTL::GC_ERROR GetInfo(GenTL::STREAM_INFO_CMD command, GenTL::INFO_DATATYPE* pType,
                                  void* pBuffer, size_t* pSize);
  virtual GenTL::GC_ERROR GetBufferID(uint32_t index, GenTL::BUFFER_HANDLE* phBuffer);
  virtual GenTL::GC_ERROR GetBufferInfo(GenTL::BUFFER_HANDLE hBuffer,
                                        GenTL::BUFFER_INFO_CMD command, GenTL::INFO_DATATYPE* pType,
                                        void* pBuffer, size_t* pSize);
  virtual GenTL::GC_ERROR StartAcquisition(GenTL::ACQ_START_FLAGS flags, uint64_t count);
  virtual GenTL::GC_ERROR StopAcquisition(GenTL::ACQ_STOP_FLAGS flags);
  virtual GenTL::GC_ERROR GetBufferChunkData(GenTL::BUFFER_HANDLE hBuffer,
                                             GenTL::SINGLE_CHUNK_DATA* pChunks, size_t* pCount);
  virtual GenTL::GC_ERROR WaitForNextLeader(uint64_t timeout);
  virtual GenTL::GC_ERROR ResetWaitForNextLeader();
  virtual GenTL::GC_ERROR SetupResendRetryParams(uint64_t window, double frameRate,
                                                 const char* pSerial, const char* pFirmware,
                                                 int64_t width, int64_t height);
};

}  // namespace Orvex
