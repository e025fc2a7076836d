#pragma once
// SPDX-License-Identifier: Apache-2.0
// One camera opened through a System. Made by System::CreateDevice, freed by System::DestroyDevice;
// applications hold it as IDevice. Owns every producer handle below the device, its node maps and
// its image-callback thread. Lock order: m_streamMutex before m_imageCallbackListLock.
//
// Its code stands in Device.cpp (opening, closing, node maps), Device_Stream.cpp, Device_Evs.cpp,
// Device_Buffer.cpp and Device_Events.cpp.
#include <GenApi/ChunkAdapterGEV.h>
#include <GenApi/EventAdapter.h>
#include <GenApi/NodeMapFactory.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "IDevice.h"
#include "IImageCallback.h"
#include "Orvex/Interface.h"
#include "Orvex/Port.h"
#include "Orvex/StoppableMutex.h"
#include "Orvex/StreamInfo.h"
#include "Orvex/TLDataStream.h"
#include "Orvex/TLDevice.h"
#include "Orvex/TLEvent.h"

namespace Orvex {

class Device : public IDevice {
 public:
  // Every handle empty; for tests and for nothing else.
  Device();
  // Loads the node maps and opens the streams of an opened device. When this throws, all that was
  // opened here is closed again; the wrapper stays the caller's. Afterwards it is the device's.
  Device(TLDevice* pDevice, Interface* pInterface);
  Device(const Device&) = delete;
  Device& operator=(const Device&) = delete;

  bool IsConnected() override;
  void StartStream(size_t numBuffers) override;
  void StopStream() override;
  IImage* GetImage(uint64_t timeout) override;
  ICompressedImage* GetCompressedImage(uint64_t timeout) override;
  IBuffer* GetBuffer(uint64_t timeout) override;
  void RequeueBuffer(IBuffer* pBuffer) override;
  void WaitForNextLeader(uint64_t timeout) override;
  void ResetWaitForNextLeader() override;
  void InitializeEvents() override;
  void DeinitializeEvents() override;
  void WaitOnEvent(uint64_t timeout) override;
  GenApi::INodeMap* GetNodeMap() override { return m_pDeviceNodeMap; }
  GenApi::INodeMap* GetTLDeviceNodeMap() override { return m_pTLDeviceNodeMap; }
  GenApi::INodeMap* GetTLStreamNodeMap() override;
  GenApi::INodeMap* GetTLInterfaceNodeMap() override;
  void SendActionCommand(uint32_t deviceKey, uint32_t groupKey, uint32_t groupMask,
                         uint64_t actionTime) override;
  void RegisterImageCallback(IImageCallback* pCallback) override;
  bool DeregisterImageCallback(IImageCallback* pCallback) override;
  bool DeregisterAllImageCallbacks() override;
  void DownloadXml() override;
  // The image-callback thread must have been joined.
  ~Device() override;

  // The same operations on a given stream; indices: 0 UDP, 1 TCP, 2 RDMA, 3 event-based sensor.
  virtual GenApi::INodeMap* GetTLStreamNodeMap(int stream);
  virtual void StartStream(int stream, size_t numBuffers);
  virtual void StopStream(int stream);
  virtual ICompressedImage* GetCompressedImage(int stream, uint64_t timeout);
  virtual IImage* GetImage(int stream, uint64_t timeout);
  virtual IBuffer* GetBuffer(int stream, uint64_t timeout);
  virtual void RequeueBuffer(int stream, IBuffer* pBuffer);
  virtual void WaitForNextLeader(int stream, uint64_t timeout);
  virtual void ResetWaitForNextLeader(int stream);
  // Body of the image-callback thread.
  virtual void ImageCallbackThread();
  // The interface object goes away while the device lives on.
  virtual void ResetInterface();
  virtual Interface* GetInterface();
  virtual void StartStreamEVS(int stream, size_t numBuffers);
  virtual void StopStreamEVS(int stream);

 private:
  class EventUse;

  void InitializeDeviceNodeMap();
  void LoadChunkSubtree(GenApi::CNodeMapFactory& factory);
  void EnumerateStreams();
  void ConfigureEventRateControl();
  // Everything below the transport-layer device, in the order of the destructor.
  void ReleaseNodeMapsAndStreams() noexcept;

  int SelectStream();
  bool IsControlled();
  uint64_t EvsBufferSize();
  // The steps that both kinds of start and stop share; `function` is the name in messages.
  void AnnounceAndQueueBuffers(StreamInfo* pInfo, size_t numBuffers,
                               const std::function<uint64_t()>& size, const char* function);
  void SetupResendParams(StreamInfo* pInfo, bool withGeometry);
  void RegisterStreamEvent(StreamInfo* pInfo, GenTL::EVENT_TYPE type, TLEvent*& slot,
                           const char* function);
  void StartHostAndCamera(int stream, size_t numBuffers, bool evs, const char* function);
  void UndoStart(int stream, bool evs) noexcept;
  void StopHostAndCamera(int stream, bool evs, const char* function);
  // Both with m_imageCallbackListLock held.
  void StartImageCallbackThread();
  void StopImageCallbackThread();
  // From the callback thread, where nobody else could free a frame that cannot be requeued.
  void RequeueOrFree(IImage* pImage);
  void DropEvent(std::vector<TLEvent*>& events, int stream);
  bool WaitUntilUnused(const int& users);

  IBuffer* WrapBuffer(TLDataStream* pStream, void* hBuffer);
  GenApi::INodeMap* CreateChunkNodeMap();
  void AttachChunks(const uint8_t* pData, size_t size);
  void DetachChunks();
  void ThrowIfInsideCallback(const char* message, const char* function) const;
  void ThrowIfCallbacksRegistered(const char* message, const char* function);

  std::vector<TLEvent*> m_hEventEvsTriggers;       // one slot a stream; null when not registered
  TLDevice* m_pDevice = nullptr;                   // owned
  TLBase* m_pDeviceRemote = nullptr;               // owned
  Interface* m_pIfInfo = nullptr;                  // not owned; by m_interfaceMtx
  GenApi::INodeMap* m_pTLDeviceNodeMap = nullptr;  // owned
  GenApi::INodeMap* m_pDeviceNodeMap = nullptr;    // owned
  Port m_pTLDevicePort;
  Port m_pDevicePort;
  std::vector<StreamInfo*> m_streams;        // owned, with their wrappers
  std::vector<TLEvent*> m_hEventNewBuffers;  // one slot a stream, null while not streaming; by
                                             // m_eventUseMtx
  TLEvent* m_hEventRemoteDevice = nullptr;   // owned; null when events are not initialised
  GenApi::CEventAdapter* m_pEventAdapter = nullptr;     // owned
  GenApi::CChunkAdapterGEV* m_pChunkAdapter = nullptr;  // owned
  GenApi::CNodeMapFactory m_chunkDataNodeMapFactory;    // by m_chunkMtx
  std::mutex m_interfaceMtx;
  std::mutex m_streamMutex;                // start, stop, construction, destruction
  StoppableMutex m_imageCallbackListLock;  // the list, and starting and joining the thread
  std::vector<IImageCallback*> m_imageCallbackList;
  std::thread m_imageCallbackThread;
  std::atomic<bool> m_imageCallbackThreadRunEnable{false};
  GenICam::gcstring m_access;
  std::string m_xmlString;          // the description, for DownloadXml
  int64_t m_cachedPacketSize = -1;  // before a start over TCP changed it; -1 when none did
  std::atomic<int> m_streamNumber{0};

  std::mutex m_chunkMtx;
  std::mutex m_eventUseMtx;
  std::condition_variable m_eventUnused;  // one of the two counts has become 0
  int m_bufferEventUsers = 0;             // calls that wait on a new-buffer event; by m_eventUseMtx
  int m_remoteEventUsers = 0;             // calls that wait on the device's event; by m_eventUseMtx
};

// Empties a stream's queues and revokes its buffers, after a start that failed.
void CleanupAnnouncedBuffersOnStartFailure(StreamInfo* pInfo);

// Index of the stream that a camera with n data streams uses, by its nodes. May switch the camera's
// transport to TCP where it is enabled. Throws RuntimeException for a format or transport that is
// not supported.
int ChooseStream(GenApi::INodeMap* pNodeMap, size_t numStreams);

// Buffers that hold `timeToBuffer` milliseconds of the camera's highest throughput, between 10 and
// 1000; 10 when the camera does not tell its throughput.
uint64_t AutomaticBufferCount(GenApi::INodeMap* pNodeMap, uint64_t payloadSize,
                              uint64_t timeToBuffer);

}  // namespace Orvex
