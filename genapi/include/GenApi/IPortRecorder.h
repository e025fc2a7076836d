#pragma once
// SPDX-License-Identifier: Apache-2.0
// Recording the writes that reach a port, and playing them back (GenICam GenApi). Lists belong to
// the application.
#include <GenApi/IPort.h>

namespace GENAPI_NAMESPACE {

struct GENAPI_DECL_ABSTRACT IPortWriteList {
  virtual void Write(const void* pBuffer, int64_t Address, int64_t Length) = 0;
  virtual void Replay(IPort* pPort) = 0;
  // A number that the application may use to tell its lists apart.
  virtual void SetCookie(const int64_t Value) = 0;
  virtual int64_t GetCookie() = 0;
  virtual ~IPortWriteList() {}
};

struct GENAPI_DECL_ABSTRACT IPortReplay : virtual public IPort {
  // Writes the list to the port; Invalidate drops all caches behind the port afterwards.
  virtual void Replay(IPortWriteList* pPortRecorder, bool Invalidate = true) = 0;
};

struct GENAPI_DECL_ABSTRACT IPortRecorder : virtual public IPortReplay {
  // While recording, writes go to the list and not to the device.
  virtual void StartRecording(IPortWriteList* pPortRecorder) = 0;
  virtual void StopRecording() = 0;
};

}  // namespace GENAPI_NAMESPACE
