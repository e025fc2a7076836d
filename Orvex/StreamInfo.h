#pragma once
// SPDX-License-Identifier: Apache-2.0
// One opened data stream of a device with its port and node map. Does not own the stream's wrapper:
// the device closes and deletes it after this object.
#include <GenApi/INodeMap.h>

#include "Orvex/Port.h"
#include "Orvex/TLDataStream.h"

namespace Orvex {

class StreamInfo {
 public:
  // Throws what loading the node map throws.
  explicit StreamInfo(TLDataStream* pStream);
  StreamInfo(const StreamInfo&) = delete;
  StreamInfo& operator=(const StreamInfo&) = delete;

  virtual ~StreamInfo();
  virtual TLDataStream* GetTLDataStream() { return m_pStream; }
  // Null when the producer has no description for streams.
  virtual GenApi::INodeMap* GetNodeMap() { return m_pNodeMap; }

 private:
  TLDataStream* m_pStream;
  Port m_port;
  GenApi::INodeMap* m_pNodeMap;  // owned
};

}  // namespace Orvex
