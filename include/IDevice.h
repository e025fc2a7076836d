#pragma once
// SPDX-License-Identifier: Apache-2.0
/// @file
/// One open camera: its features, its stream, its events.

#include <GenApi/INodeMap.h>

#include <cstddef>
#include <cstdint>

#include "OrvexExport.h"

namespace Orvex {

class IBuffer;
class ICompressedImage;
class IImage;
class IImageCallback;

/// One open camera. Made by ISystem::CreateDevice, freed by ISystem::DestroyDevice and by nothing
/// else.
///
/// Threads: any thread may call any operation, unless said otherwise. StartStream and StopStream
/// wait for each other. Several threads may take frames and hand them back at once; one frame
/// belongs to one thread at a time.
///
/// Failures are GenICam exceptions. Every operation that asks the producer throws the class that
/// belongs to the producer's status (GenICam::TimeoutException, GenICam::AccessException,
/// GenICam::InvalidArgumentException, GenICam::OutOfRangeException,
/// GenICam::LogicalErrorException, GenICam::RuntimeException, else GenICam::GenericException), and
/// what the camera's nodes throw passes through. What an operation throws beyond that is said with
/// it.
class ORVEX_API IDevice {
 public:
  /// Asks the producer whether the camera still answers.
  /// @return False once the connection is lost; true again when it is back.
  virtual bool IsConnected() = 0;

  /// Starts streaming. Which stream is used follows from the camera: event-based sensor, TCP, RDMA
  /// or UDP. Allocates the buffers, locks the parameters that must not change ("TLParamsLocked"),
  /// begins to receive and tells the camera to start, unless it was opened for reading only. While
  /// image callbacks are registered, their thread begins to run. After a failure the stream is idle
  /// and has no buffers.
  /// @param numBuffers Buffers of the camera's "PayloadSize"; all ones (the default) asks for as
  /// many as 40 ms (event-based sensors: 1 s) of "DeviceMaxThroughput" fill, between 10 and 1000.
  /// @throws GenICam::InvalidArgumentException for 0 buffers.
  /// @throws GenICam::LogicalErrorException for a camera without streams, and inside an image
  /// callback.
  /// @throws GenICam::RuntimeException for a transport or event format that is not supported.
  virtual void StartStream(size_t numBuffers = static_cast<size_t>(-1)) = 0;

  /// Stops streaming, frees all buffers and tells the camera to stop last. Frames that were not
  /// handed back become invalid: requeue them before. Image callbacks stay registered; none of them
  /// runs any more when this returns.
  /// @throws GenICam::LogicalErrorException for a camera without streams, for a stream that does
  /// not run, and inside an image callback.
  /// @throws GenICam::RuntimeException for a camera that has no "AcquisitionStop".
  virtual void StopStream() = 0;

  /// Waits for the next frame and returns it as an image.
  /// @param timeout Milliseconds to wait.
  /// @return The frame. It belongs to the stream: hand it back with RequeueBuffer, before
  /// StopStream.
  /// @throws GenICam::TimeoutException when none comes in that time.
  /// @throws GenICam::InvalidArgumentException when the stream is not started.
  /// @throws GenICam::RuntimeException while image callbacks are registered, and when the stream is
  /// stopped while this waits.
  /// @throws GenICam::LogicalErrorException when the frame is no image, and for a camera without
  /// streams.
  virtual IImage* GetImage(uint64_t timeout) = 0;

  /// Waits for the next frame and returns it as a compressed image; in all else as GetImage.
  /// @param timeout Milliseconds to wait.
  /// @return The frame. It belongs to the stream: hand it back with RequeueBuffer.
  /// @throws GenICam::LogicalErrorException when the frame is no compressed image.
  virtual ICompressedImage* GetCompressedImage(uint64_t timeout) = 0;

  /// Waits for the next frame of any kind; does not look at image callbacks. In all else as
  /// GetImage.
  /// @param timeout Milliseconds to wait.
  /// @return The frame. It belongs to the stream: hand it back with RequeueBuffer.
  /// @throws GenICam::DynamicCastException for a camera without streams.
  /// @throws GenICam::LogicalErrorException for a payload type that is not known.
  virtual IBuffer* GetBuffer(uint64_t timeout) = 0;

  /// Hands a frame back so that it can be filled again. The object is gone unless this throws.
  /// @param pBuffer A frame of this device's stream, by any of its views; images of the
  /// ImageFactory don't belong here.
  /// @throws GenICam::InvalidArgumentException for null.
  /// @throws GenICam::LogicalErrorException for a camera without streams.
  virtual void RequeueBuffer(IBuffer* pBuffer) = 0;

  /// Waits until the camera begins to send the next frame, long before that frame is complete.
  /// @param timeout Milliseconds to wait.
  /// @throws GenICam::TimeoutException when none begins in that time.
  /// @throws GenICam::LogicalErrorException for a camera without streams.
  virtual void WaitForNextLeader(uint64_t timeout) = 0;

  /// Forgets a frame begun before, so that the next wait is for one that begins after this call.
  /// @throws GenICam::LogicalErrorException for a camera without streams.
  virtual void ResetWaitForNextLeader() = 0;

  /// Begins to receive the camera's event messages. Which events the camera sends is set by its
  /// nodes "EventSelector" and "EventNotification".
  virtual void InitializeEvents() = 0;

  /// Ends the receiving; a WaitOnEvent that waits in another thread returns with an exception.
  virtual void DeinitializeEvents() = 0;

  /// Waits for one event message and delivers it to the node map: event nodes get their values, and
  /// the callbacks that are registered on them run on this thread.
  /// @param timeout Milliseconds to wait.
  /// @throws GenICam::TimeoutException when none comes in that time.
  /// @throws GenICam::LogicalErrorException before InitializeEvents, and for devices other than
  /// GigE Vision cameras, whose messages cannot be read.
  virtual void WaitOnEvent(uint64_t timeout) = 0;

  /// The camera's own features.
  /// @return The node map; it belongs to the device and lives as long.
  virtual GenApi::INodeMap* GetNodeMap() = 0;

  /// Features of the transport layer's device module.
  /// @return The node map; it belongs to the device and lives as long. Null when the producer has
  /// none.
  virtual GenApi::INodeMap* GetTLDeviceNodeMap() = 0;

  /// Features of the stream that StartStream would use.
  /// @return The node map; it belongs to the device and lives as long. Null when the producer has
  /// none.
  /// @throws GenICam::LogicalErrorException for a camera without streams.
  /// @throws GenICam::RuntimeException for a transport or event format that is not supported.
  virtual GenApi::INodeMap* GetTLStreamNodeMap() = 0;

  /// Features of the interface through which the camera was found.
  /// @return The node map; it belongs to the system. Null once the interfaces have been rebuilt.
  virtual GenApi::INodeMap* GetTLInterfaceNodeMap() = 0;

  /// Sends an action command to the camera, which acts and acknowledges when its own keys fit. The
  /// command "ActionCommand" of GetTLInterfaceNodeMap reaches all cameras of the interface instead.
  /// @param deviceKey Equal to the camera's "ActionDeviceKey".
  /// @param groupKey Equal to the camera's "ActionGroupKey" of the action meant.
  /// @param groupMask Has a bit in common with the camera's "ActionGroupMask" of that action.
  /// @param actionTime When to act, in ticks of the camera's clock; 0 is at once.
  virtual void SendActionCommand(uint32_t deviceKey, uint32_t groupKey, uint32_t groupMask,
                                 uint64_t actionTime) = 0;

  /// Has each new image handed to a callback, on a thread of the library. Several callbacks are
  /// called in the order of their registration. May be called before or while streaming.
  /// @param pCallback Stays the caller's, who keeps it alive until it is deregistered.
  /// @throws GenICam::InvalidArgumentException for null.
  /// @throws GenICam::LogicalErrorException for one that is registered already, for a camera
  /// without streams, and inside an image callback.
  virtual void RegisterImageCallback(IImageCallback* pCallback) = 0;

  /// Ends a registration. When it returns, the callback neither runs nor will run.
  /// @param pCallback The callback.
  /// @return True when it was registered.
  /// @throws GenICam::InvalidArgumentException for null.
  /// @throws GenICam::LogicalErrorException inside an image callback.
  virtual bool DeregisterImageCallback(IImageCallback* pCallback) = 0;

  /// Ends all registrations. When it returns, no callback runs or will run.
  /// @return True when there was any.
  /// @throws GenICam::LogicalErrorException inside an image callback.
  virtual bool DeregisterAllImageCallbacks() = 0;

  /// Writes the camera's description to a file in the current directory, named by the camera's
  /// serial number with ".xml".
  /// @throws GenICam::RuntimeException when there is no serial number or the file cannot be
  /// written.
  virtual void DownloadXml() = 0;

 protected:
  virtual ~IDevice() = default;
};

}  // namespace Orvex
