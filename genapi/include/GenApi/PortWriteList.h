#pragma once
// SPDX-License-Identifier: Apache-2.0
// Register writes kept to be played back later, in their order. Owned by the application. One
// thread at a time.

#include <vector>

#include <GenApi/IPortRecorder.h>

namespace GENAPI_NAMESPACE {

class GENAPI_DECL CPortWriteList : public IPortWriteList {
 public:
  CPortWriteList();
  ~CPortWriteList() override;

  // Adds a copy of the bytes.
  void Write(const void* pBuffer, int64_t Address, int64_t Length) override;
  void Replay(IPort* pPort) override;
  void SetCookie(const int64_t Value) override;
  int64_t GetCookie() override;

 private:
  struct Command {
    int64_t Address;
    std::vector<uint8_t> Bytes;
  };
  std::vector<Command> m_commands;
  int64_t m_cookie = -1;
};

}  // namespace GENAPI_NAMESPACE
