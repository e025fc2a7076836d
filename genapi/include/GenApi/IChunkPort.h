#pragma once
// SPDX-License-Identifier: Apache-2.0
// A port over one chunk of a frame (GenICam GenApi). Owned by the node map. Any thread.
#include <GenApi/IPort.h>

namespace GENAPI_NAMESPACE {

struct GENAPI_DECL_ABSTRACT IChunkPort : virtual public IPort {
  // Hexadecimal text of the chunk id.
  virtual GENICAM_NAMESPACE::gcstring GetChunkID() const = 0;
  // Whether a copy of the chunk's bytes must outlive the frame.
  virtual EYesNo CacheChunkData() const = 0;
};

}  // namespace GENAPI_NAMESPACE
