#pragma once
// SPDX-License-Identifier: Apache-2.0
// A port over a C structure in memory, for tests: register addresses are offsets into the
// structure. One thread at a time.

#include <cstring>

#include <Base/GCException.h>
#include <GenApi/PortImpl.h>

namespace GENAPI_NAMESPACE {

// CDataStruct must be a plain structure; its members are what the registers hold.
template <class CDataStruct>
class CTestPortStruct : public CDataStruct, public CPortImpl {
 public:
  // BaseAddress is the register address of the structure's first byte.
  explicit CTestPortStruct(int64_t BaseAddress = 0) : m_BaseAddress(BaseAddress) {}

  EAccessMode GetAccessMode() const override { return RW; }
  EInterfaceType GetPrincipalInterfaceType() const { return intfIPort; }
  // Throw OutOfRangeException outside of the structure.
  void Read(void* pBuffer, int64_t Address, int64_t Length) override {
    std::memcpy(pBuffer, At(Address, Length), static_cast<size_t>(Length));
    ++m_NumReads;
  }
  void Write(const void* pBuffer, int64_t Address, int64_t Length) override {
    std::memcpy(At(Address, Length), pBuffer, static_cast<size_t>(Length));
    ++m_NumWrites;
  }
  void MemSet(const char FillValue) {
    std::memset(static_cast<void*>(static_cast<CDataStruct*>(this)), FillValue,
                sizeof(CDataStruct));
  }

  void ResetStatistics() { m_NumReads = m_NumWrites = 0; }
  int64_t GetNumReads() { return m_NumReads; }
  int64_t GetNumWrites() { return m_NumWrites; }

 private:
  uint8_t* At(int64_t Address, int64_t Length) {
    const int64_t size = static_cast<int64_t>(sizeof(CDataStruct));
    if (Address < m_BaseAddress || Length < 0 || Length > size ||
        Address - m_BaseAddress > size - Length) {
      throw OUT_OF_RANGE_EXCEPTION("Access to %lld bytes at address %lld is outside of the port",
                                   static_cast<long long>(Length), static_cast<long long>(Address));
    }
    return reinterpret_cast<uint8_t*>(static_cast<CDataStruct*>(this)) + (Address - m_BaseAddress);
  }

  int64_t m_BaseAddress;
  int64_t m_NumReads = 0;
  int64_t m_NumWrites = 0;
};

}  // namespace GENAPI_NAMESPACE
