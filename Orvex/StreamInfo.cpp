// SPDX-License-Identifier: Apache-2.0
#include "Orvex/StreamInfo.h"

#include "Orvex/NodeMapUtility.h"

namespace Orvex {

StreamInfo::StreamInfo(TLDataStream* pStream)
    : m_pStream(pStream), m_port(pStream), m_pNodeMap(InitNodeMap(pStream, m_port)) {}

StreamInfo::~StreamInfo() {
  DestroyNodeMap(m_pNodeMap);
}

}  // namespace Orvex
