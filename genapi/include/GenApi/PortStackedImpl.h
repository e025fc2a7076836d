#pragma once
// SPDX-License-Identifier: Apache-2.0
// Base class for stacked ports written by applications: passes everything on to another stacked
// port until overridden. Does not own that port. Threads as for IPort.

#include <GenApi/IPortConstruct.h>
#include <GenApi/IPortRecorder.h>
#include <GenApi/IPortStacked.h>

namespace GENAPI_NAMESPACE {

class GENAPI_DECL CPortStackedImpl : public IPortStackedConstruct, public IPortReplay {
 public:
  CPortStackedImpl();
  ~CPortStackedImpl() override;

  // The mode of the port behind; NI without one.
  EAccessMode GetAccessMode() const override;
  // AccessException without a port behind.
  void Read(void* pBuffer, int64_t Address, int64_t Length) override;
  void Write(const void* pBuffer, int64_t Address, int64_t Length) override;
  // Without a port behind, one Write of this class an entry.
  void Write(PORT_REGISTER_STACK_ENTRY* pEntries, size_t numEntries) override;
  void SetPortImpl(IPortStacked* pPort) override;
  EYesNo GetSwapEndianess() override;
  void Replay(IPortWriteList* pPortRecorder, bool Invalidate = true) override;
  virtual void InvalidateNode();

 protected:
  IPortStacked* m_pPort = nullptr;
};

}  // namespace GENAPI_NAMESPACE
