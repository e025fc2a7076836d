#pragma once
// SPDX-License-Identifier: Apache-2.0
// Registers: where they lie, how their bytes are read, cached and written, and the node kinds that
// interpret them.
#include <GenApi/IRegister.h>

#include <memory>
#include <vector>

#include "engine/Values.h"

namespace OrvexGenApi {

class PortNode;

// The bytes of one register. Part of a node; the lock is held in all its functions.
class RegisterCore {
 public:
  explicit RegisterCore(Node& owner) : m_owner(owner) {}
  ~RegisterCore();
  RegisterCore(const RegisterCore&) = delete;
  RegisterCore& operator=(const RegisterCore&) = delete;

  bool Take(Element id, pugi::xml_node element, Builder& builder);
  void Finish(Builder& builder);

  // With verify, the nodes that it comes from are checked too.
  int64_t Address(bool verify = false);
  int64_t Length();
  // The length as a size that memory may be taken for; throws OutOfRangeException when it makes no
  // sense.
  size_t CheckedLength();
  bool HasPort() const { return m_pPort != nullptr; }
  bool HasConstantLength() const { return m_pLength == nullptr; }
  // The first so many bytes; at most the register's length.
  void Read(uint8_t* pBuffer, int64_t length, ReadMode mode);
  void Write(const uint8_t* pBuffer, int64_t length, bool verify);
  void Drop() {
    m_cacheValid = false;
    m_addressValid = false;
  }
  bool IsCacheValid() const { return m_cacheValid; }
  EAccessMode BaseAccess() const;
  bool BaseAccessCacheable() const;
  ECachingMode Caching() const { return m_caching; }
  void SetDefaultLength(int64_t length) {
    m_length = length;
    m_hasLength = true;
  }
  void SetDefaultCaching(ECachingMode mode) { m_caching = mode; }
  bool IsBigEndian() const { return m_bigEndian; }
  Node& Owner() const { return m_owner; }

  // For the port's list of cached registers.
  int64_t CachedAddress() const { return m_address; }
  int64_t CachedLength() const { return m_cachedLength; }
  int64_t listedAddress = 0;
  int64_t listedLength = -1;

 private:
  // A contribution to the address that is read from other nodes: node, or node times offset.
  struct Term {
    Node* pNode;
    Node* pOffset;
    int64_t offset;
    bool isIndex;
    bool isLengthOffset;
  };

  uint8_t* CacheBytes() { return m_pBytes ? m_pBytes.get() : m_bytes; }
  bool CanCache() const;
  void Keep(const uint8_t* pBuffer, int64_t length);

  Node& m_owner;
  PortNode* m_pPort = nullptr;
  Node* m_pLength = nullptr;
  int64_t m_constant = 0;
  int64_t m_length = 0;
  int64_t m_address = 0;
  int64_t m_cachedLength = 0;
  int64_t m_capacity = 0;
  std::vector<Term> m_terms;
  std::unique_ptr<uint8_t[]> m_pBytes;
  uint8_t m_bytes[8] = {};
  EAccessMode m_access = RO;
  ECachingMode m_caching = WriteThrough;
  bool m_bigEndian = false;
  bool m_cacheValid = false;
  bool m_addressValid = false;
  bool m_hasLength = false;
};

// Adds the register interface to a kind of value.
template <class Base>
class WithRegister : public Base, public IRegister {
 public:
  WithRegister(NodeMap& map, pugi::xml_node element) : Base(map, element), m_core(*this) {}

  void Set(const uint8_t* pBuffer, int64_t Length, bool Verify) override;
  void Get(uint8_t* pBuffer, int64_t Length, bool Verify, bool IgnoreCache) override;
  int64_t GetLength(bool Verify) override;
  int64_t GetAddress(bool Verify) override;

  bool Take(Element id, pugi::xml_node element, Builder& builder) override {
    return m_core.Take(id, element, builder) || Base::Take(id, element, builder);
  }
  void Finish(Builder& builder) override { m_core.Finish(builder); }
  void DropValue() override {
    Base::DropValue();
    m_core.Drop();
  }
  RegisterCore& Core() { return m_core; }

 protected:
  EAccessMode BaseAccess() const override { return m_core.BaseAccess(); }
  bool BaseAccessCacheable() const override { return m_core.BaseAccessCacheable(); }
  ECachingMode OwnCaching() const override { return m_core.Caching(); }

  RegisterCore m_core;
};

// IntReg, MaskedIntReg and StructEntry.
class IntRegNode final : public WithRegister<IntegerNodeBase> {
 public:
  IntRegNode(NodeMap& map, pugi::xml_node element, bool masked)
      : WithRegister(map, element), m_masked(masked) {}
  bool Take(Element id, pugi::xml_node element, Builder& builder) override;
  void Finish(Builder& builder) override;

 protected:
  int64_t Fetch(ReadMode mode) override;
  void Store(int64_t value, bool verify) override;
  int64_t OwnMin() override;
  int64_t OwnMax() override;

 private:
  // Which bits of how many bytes the value is; bits count from the least significant one.
  struct Field {
    uint8_t bytes;
    uint8_t low;
    uint8_t width;
  };
  // Throws PropertyException when the length or the bits make no sense.
  Field FieldOf(int64_t length) const;
  // A length that another node gives may change at any time.
  Field Now() { return m_field.bytes ? m_field : FieldOf(m_core.Length()); }
  uint64_t Assemble(const uint8_t* pBytes, unsigned count) const;
  void Disassemble(uint64_t raw, uint8_t* pBytes, unsigned count) const;

  bool m_masked;
  bool m_signed = false;
  Field m_field{};  // of a constant length; no bytes otherwise
  int m_lsb = -1;   // as the description says
  int m_msb = -1;
};

class FloatRegNode final : public WithRegister<FloatNodeBase> {
 public:
  FloatRegNode(NodeMap& map, pugi::xml_node element) : WithRegister(map, element) {
    m_core.SetDefaultCaching(WriteAround);
  }
  void Finish(Builder& builder) override;

 protected:
  double Fetch(ReadMode mode) override;
  void Store(double value, bool verify) override;
  double OwnMin() override;
  double OwnMax() override { return -OwnMin(); }
  ECachingMode OwnCaching() const override { return m_core.Caching(); }

 private:
  size_t Bytes() { return CheckedBytes(m_core.Length()); }
  size_t CheckedBytes(int64_t length) const;
};

class StringRegNode final : public WithRegister<StringNodeBase> {
 public:
  using WithRegister::WithRegister;
  int64_t MaxLength() override { return m_core.Length(); }
  bool IsValueCacheValid() const override { return m_core.IsCacheValid(); }

 protected:
  std::string FetchText(ReadMode mode) override;
  void StoreText(const std::string& text, bool verify) override;
};

class RegisterNode : public WithRegister<ValueNode> {
 public:
  using WithRegister::WithRegister;
  EInterfaceType GetPrincipalInterfaceType() const override { return intfIRegister; }
  bool IsValueCacheValid() const override { return m_core.IsCacheValid(); }
  std::string ReadText(ReadMode mode) override;
  void WriteText(const std::string& text, bool verify) override;
};

template <class Base>
void WithRegister<Base>::Set(const uint8_t* pBuffer, int64_t Length, bool Verify) {
  WriteScope scope(this->m_map);
  NodeMap::ReadDepth depth(this->m_map, *this);
  this->CheckWritable();
  m_core.Write(pBuffer, Length, Verify);
  if (Verify) this->CheckErrors();
  scope.Finish();
}

template <class Base>
void WithRegister<Base>::Get(uint8_t* pBuffer, int64_t Length, bool Verify, bool IgnoreCache) {
  ReadScope scope(this->m_map);
  NodeMap::ReadDepth depth(this->m_map, *this);
  this->CheckReadable();
  m_core.Read(pBuffer, Length, {Verify, IgnoreCache});
  if (Verify) this->CheckErrors();
}

template <class Base>
int64_t WithRegister<Base>::GetLength(bool) {
  ReadScope scope(this->m_map);
  return m_core.Length();
}

template <class Base>
int64_t WithRegister<Base>::GetAddress(bool) {
  ReadScope scope(this->m_map);
  return m_core.Address();
}

}  // namespace OrvexGenApi
