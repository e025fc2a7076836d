#pragma once
// SPDX-License-Identifier: Apache-2.0
// One open camera. Made by ISystem::CreateDevice, freed by ISystem::DestroyDevice and by nothing
// else. Failures are GenICam exceptions; a failing producer call throws by its code
// (TimeoutException, AccessException, InvalidArgumentException, LogicalErrorException,
// RuntimeException, ...), and what an operation throws beyond that is said with it.
//
// Threads: getters and callback operations may be called from any thread. StartStream and
// StopStream wait for each other. Frames may be taken and handed back by several threads at once;
// one frame belongs to one thread at a time.

#include <GenApi/INodeMap.h>

#include <cstddef>
#include <cstdint>

#include "OrvexExport.h"

namespace Orvex {

class IBuffer;
class ICompressedImage;
class IImage;
class IImageCallback;

class ORVEX_API IDevice {
 public:
  // Whether the camera still answers.
  virtual bool IsConnected() = 0;

  // Starts streaming with that many buffers of the camera's "PayloadSize"; all ones (the default)
  // asks for as many as 40 ms of the camera's highest throughput fill, between 10 and 1000. Which
  // stream is used follows from the camera: event-based sensor, TCP, RDMA or UDP. Locks the
  // parameters that must not change ("TLParamsLocked"). A camera that was opened read-only is not
  // told to start. Throws InvalidArgumentException for 0 buffers, LogicalErrorException for a
  // camera without streams, RuntimeException for a transport or event format that is not supported.
  virtual void StartStream(size_t numBuffers = static_cast<size_t>(-1)) = 0;

  // Stops streaming, frees all buffers and tells the camera to stop last. Frames that were not
  // handed back become invalid: requeue them before. Throws LogicalErrorException for a camera
  // without streams and, as the producer reports it, for a stream that does not run.
  virtual void StopStream() = 0;

  // Waits at most `timeout` milliseconds for the next frame and returns it as an image. It belongs
  // to the stream: hand it back with RequeueBuffer, before StopStream. Throws TimeoutException when
  // none comes, InvalidArgumentException when the stream is not started, RuntimeException while
  // image callbacks are registered, LogicalErrorException when the frame is no image.
  virtual IImage* GetImage(uint64_t timeout) = 0;

  // The same for compressed images.
  virtual ICompressedImage* GetCompressedImage(uint64_t timeout) = 0;

  // The same for a frame of any kind; does not look at image callbacks. Throws DynamicCastException
  // for a camera without streams, LogicalErrorException for a payload type that is not known.
  virtual IBuffer* GetBuffer(uint64_t timeout) = 0;

  // Hands a frame back so that it can be filled again. The object is gone unless this throws.
  // Throws InvalidArgumentException for null. Images of the image factory don't belong here.
  virtual void RequeueBuffer(IBuffer* pBuffer) = 0;

  // Waits at most `timeout` milliseconds until the camera begins to send the next frame.
  virtual void WaitForNextLeader(uint64_t timeout) = 0;

  // Forgets a frame begun before, so that the next wait is for one that begins after this call.
  virtual void ResetWaitForNextLeader() = 0;

  // Begins to receive the camera's event messages.
  virtual void InitializeEvents() = 0;

  // Ends that; a waiting WaitOnEvent returns with an exception.
  virtual void DeinitializeEvents() = 0;

  // Waits at most `timeout` milliseconds for one event message and delivers it to the node map:
  // event nodes get their values and their registered callbacks run on this thread. Throws
  // LogicalErrorException before InitializeEvents and for cameras whose messages cannot be read.
  virtual void WaitOnEvent(uint64_t timeout) = 0;

  // The camera's own features. Lives as long as the device; not owned by the caller.
  virtual GenApi::INodeMap* GetNodeMap() = 0;

  // Features of the transport layer's device module. As above; null when the producer has none.
  virtual GenApi::INodeMap* GetTLDeviceNodeMap() = 0;

  // Features of the stream that StartStream would use. Throws LogicalErrorException for a camera
  // without streams.
  virtual GenApi::INodeMap* GetTLStreamNodeMap() = 0;

  // Features of the interface through which the camera was found; null once the interfaces have
  // been rebuilt.
  virtual GenApi::INodeMap* GetTLInterfaceNodeMap() = 0;

  // Sends an action command: cameras of this group whose device key is equal act at the time
  // `actionTime` (camera clock, nanoseconds; 0 is at once).
  virtual void SendActionCommand(uint32_t deviceKey, uint32_t groupKey, uint32_t groupMask,
                                 uint64_t actionTime) = 0;

  // Has each new image delivered to the callback on a thread of the library; several callbacks are
  // called in the order of their registration. May be called before or while streaming. The caller
  // keeps the object alive until it is deregistered. Throws InvalidArgumentException for null,
  // LogicalErrorException for one that is registered already.
  virtual void RegisterImageCallback(IImageCallback* pCallback) = 0;

  // When it returns, the callback is neither running nor will it be called again. True when it was
  // registered. Throws InvalidArgumentException for null. Both deregistrations throw
  // LogicalErrorException when called from inside a callback.
  virtual bool DeregisterImageCallback(IImageCallback* pCallback) = 0;

  // The same for all callbacks. True when there was any.
  virtual bool DeregisterAllImageCallbacks() = 0;

  // Writes the camera's description to a file in the current directory, named by the camera's
  // serial number with ".xml". Throws RuntimeException when it cannot.
  virtual void DownloadXml() = 0;

 protected:
  virtual ~IDevice() = default;
};

}  // namespace Orvex
