#pragma once
// SPDX-License-Identifier: Apache-2.0
/// @file
/// A frame with chunk data.

#include <GenApi/INode.h>

#include "IBuffer.h"

namespace Orvex {

/// A frame with chunk data: values that the camera appended to it, such as its exposure time.
/// Ownership and threads as for IBuffer.
class ORVEX_API IChunkData : public IBuffer {
 public:
  /// Finds one of the frame's chunks.
  /// @param name Feature name of the chunk, for example "ChunkExposureTime".
  /// @return Its node, whose value is that of this frame. The node belongs to the frame and ends
  /// with it. Null when the camera has no such chunk, the data hold no valid chunk layout, or the
  /// frame is a copy.
  virtual GenApi::INode* GetChunk(GenICam::gcstring name) = 0;
};

}  // namespace Orvex
