#pragma once
// SPDX-License-Identifier: Apache-2.0
// What an application implements to be handed each new image. The application owns the object and
// keeps it alive until it is deregistered (IDevice::DeregisterImageCallback).

#include "OrvexExport.h"

namespace Orvex {

class IImage;

class ORVEX_API IImageCallback {
 public:
  virtual ~IImageCallback() = default;

  // Called for each image on a thread of the library, one call at a time for each device. The image
  // is valid only during the call: copy what is to be kept, never requeue it. An exception that
  // leaves the call is dropped. From inside, image callbacks of the same device can neither be
  // registered nor deregistered, its stream not stopped, and no image taken with GetImage.
  virtual void OnImage(IImage* pImage) = 0;
};

}  // namespace Orvex
