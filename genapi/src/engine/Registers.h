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
  // Length given as a constant; 0 when it comes from a node.
  int64_t ConstantLength() const { return m_pLength ? 0 : m_length; }
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
  ERepresentation InternalRepresentation() override { return m_representation; }
  std::string_view InternalUnit() const override { return Trim(ChildText("Unit")); }

 protected:
  int64_t FetchInt(ReadMode mode) override;
  void StoreInt(int64_t value, bool verify) override;
  int64_t OwnMin() override;
  int64_t OwnMax() override;

 private:
  uint64_t Assemble(const uint8_t* pBytes) const;
  void Disassemble(uint64_t raw, uint8_t* pBytes) const;
  unsigned Width() const { return m_masked ? unsigned(m_high - m_low + 1) : m_bytes * 8u; }

  bool m_masked;
  bool m_signed = false;
  uint8_t m_bytes = 0;
  ERepresentation m_representation = PureNumber;
  int m_low = -1;  // bits in little-endian numbering after Finish
  int m_high = -1;
};

class FloatRegNode final : public WithRegister<FloatNodeBase> {
 public:
  FloatRegNode(NodeMap& map, pugi::xml_node element) : WithRegister(map, element) {
    m_core.SetDefaultCaching(WriteAround);
  }
  bool Take(Element id, pugi::xml_node element, Builder& builder) override;
  void Finish(Builder& builder) override;
  ERepresentation InternalRepresentation() override { return m_representation; }
  std::string_view InternalUnit() const override { return Trim(ChildText("Unit")); }
  EDisplayNotation InternalNotation() const override { return m_notation; }
  int64_t InternalPrecision() const override { return m_precision; }

 protected:
  double FetchFloat(ReadMode mode) override;
  void StoreFloat(double value, bool verify) override;
  double OwnMin() override;
  double OwnMax() override { return -OwnMin(); }
  ECachingMode OwnCaching() const override { return m_core.Caching(); }

 private:
  ERepresentation m_representation = PureNumber;
  EDisplayNotation m_notation = fnAutomatic;
  int64_t m_precision = 6;
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

class RegisterNode final : public WithRegister<ValueNode> {
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
