#pragma once
// SPDX-License-Identifier: Apache-2.0
// Base class for ports written by applications: passes everything on to another port until
// overridden. Does not own that port. Threads as for IPort.

#include <GenApi/IPortConstruct.h>
#include <GenApi/IPortRecorder.h>

namespace GENAPI_NAMESPACE {

class GENAPI_DECL CPortImpl : public IPortConstruct, public IPortReplay {
 public:
  CPortImpl();
  ~CPortImpl() override;

  // The mode of the port behind; NI without one.
  EAccessMode GetAccessMode() const override;
  // AccessException without a port behind.
  void Read(void* pBuffer, int64_t Address, int64_t Length) override;
  void Write(const void* pBuffer, int64_t Address, int64_t Length) override;
  void SetPortImpl(IPort* pPort) override;
  EYesNo GetSwapEndianess() override;
  // Writes the list to this port.
  void Replay(IPortWriteList* pPortRecorder, bool Invalidate = true) override;
  // Called after a replay; there is nothing to drop here.
  virtual void InvalidateNode();

 protected:
  IPort* m_pPort = nullptr;
};

}  // namespace GENAPI_NAMESPACE
