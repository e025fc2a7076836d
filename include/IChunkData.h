#pragma once
// SPDX-License-Identifier: Apache-2.0
// A frame with chunk data: values that the camera appended to it. Ownership and threads as for
// IBuffer.

#include <GenApi/INode.h>

#include "IBuffer.h"

namespace Orvex {

class ORVEX_API IChunkData : public IBuffer {
 public:
  /// The node of the chunk called `name` (for example "ChunkExposureTime"); its value is that of
  /// this frame. Null when the camera has no such chunk or the data hold no valid chunk layout.
  /// The node belongs to the frame and ends with it.
  virtual GenApi::INode* GetChunk(GenICam::gcstring name) = 0;
};

}  // namespace Orvex
