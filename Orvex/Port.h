#pragma once
// SPDX-License-Identifier: Apache-2.0
// A producer module's registers as GenApi sees them. Does not own the module's wrapper, which must
// live as long as the node map that is connected to the port. GenApi calls it under the node map's
// lock.
#include <GenApi/IPort.h>

#include "Orvex/TLBase.h"

namespace Orvex {

class Port : public GenApi::IPort {
 public:
  Port() = default;
  explicit Port(TLBase* pPort) : m_pPort(pPort) {}
  Port(const Port& other) : m_pPort(other.m_pPort) {}
  Port& operator=(const Port& other) {
    m_pPort = other.m_pPort;
    return *this;
  }

  // Kept on purpose: read-write for every module; the producer refuses what it does not allow.
  GenApi::EAccessMode GetAccessMode() const override { return GenApi::RW; }
  ~Port() override = default;

  // Both throw what the producer's status maps to. How many bytes the producer says it moved is not
  // looked at.
  void Read(void* pBuffer, int64_t address, int64_t length) override;
  void Write(const void* pBuffer, int64_t address, int64_t length) override;

 private:
  TLBase* m_pPort = nullptr;
};

}  // namespace Orvex
