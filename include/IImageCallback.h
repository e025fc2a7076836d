#pragma once
// SPDX-License-Identifier: Apache-2.0
/// @file
/// To be handed each new image.

#include "OrvexExport.h"

namespace Orvex {

class IImage;

/// What an application implements to be handed each new image. The application owns the object and
/// keeps it alive until it is deregistered (IDevice::DeregisterImageCallback).
class ORVEX_API IImageCallback {
 public:
  virtual ~IImageCallback() = default;

  /// Called for each image on a thread of the library, one call at a time for each device. An
  /// exception that leaves the call is dropped, and the callbacks after this one miss that image.
  /// From inside, image callbacks of the same device can neither be registered nor deregistered,
  /// its stream not started or stopped, and no image taken with GetImage. ISystem::DestroyDevice
  /// waits for a call in progress, which must not wait for the system then: deregister before.
  /// @param pImage Valid only during the call: copy what is to be kept (ImageFactory::Copy), never
  /// requeue it.
  virtual void OnImage(IImage* pImage) = 0;
};

}  // namespace Orvex
