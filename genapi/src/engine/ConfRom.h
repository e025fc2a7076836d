#pragma once
// SPDX-License-Identifier: Apache-2.0
// Configuration ROM after IEEE 1212, clause 7: quadlets in big-endian order, a directory of keyed
// entries that leads to values, texts and further directories. ConfRom is the register that holds
// it; TextDesc and IntKey are what stands in it under a key.
#include <string>
#include <vector>

#include "engine/Registers.h"

namespace OrvexGenApi {

class ConfRomNode final : public RegisterNode {
 public:
  ConfRomNode(NodeMap& map, pugi::xml_node element) : RegisterNode(map, element) {
    m_core.SetDefaultLength(1024);  // what the standard reserves
  }
  // The value of the first entry with this key. Throws RuntimeException naming the user when there
  // is none.
  int64_t IntOf(const Node& user, int64_t key, ReadMode mode);
  // The text that the entry leads to, or that describes it.
  std::string TextOf(const Node& user, int64_t key, ReadMode mode);
  // Files that no bus of today can read may leave the register out.
  void Finish(Builder& builder) override {
    if (m_core.HasPort()) RegisterNode::Finish(builder);
  }

 protected:
  EAccessMode BaseAccess() const override {
    return m_core.HasPort() ? RegisterNode::BaseAccess() : NI;
  }
  bool BaseAccessCacheable() const override {
    return !m_core.HasPort() || RegisterNode::BaseAccessCacheable();
  }

 private:
  struct Entry {
    size_t at;  // quadlet
    uint32_t key;
    uint32_t value;
    size_t directoryEnd;
  };
  class Rom;
  Rom Load(ReadMode mode);
};

// The reference of TextDesc and IntKey into the ROM.
class RomKey {
 protected:
  bool Take(Node& owner, Element id, pugi::xml_node element, Builder& builder);
  // Without a ROM to look into there is nothing.
  EAccessMode RomAccess() const { return m_pRom ? m_pRom->InternalAccess() : NI; }

  ConfRomNode* m_pRom = nullptr;
  int64_t m_key = 0;
};

class TextDescNode final : public StringNodeBase, private RomKey {
 public:
  using StringNodeBase::StringNodeBase;
  bool Take(Element id, pugi::xml_node element, Builder& builder) override;
  int64_t MaxLength() override { return 0; }  // it is never written

 protected:
  std::string FetchText(ReadMode mode) override { return m_pRom->TextOf(*this, m_key, mode); }
  void StoreText(const std::string&, bool) override {}
  EAccessMode BaseAccess() const override { return Combine(RO, RomAccess()); }
};

class IntKeyNode final : public IntegerNodeBase, private RomKey {
 public:
  using IntegerNodeBase::IntegerNodeBase;
  bool Take(Element id, pugi::xml_node element, Builder& builder) override;

 protected:
  int64_t Fetch(ReadMode mode) override { return m_pRom->IntOf(*this, m_key, mode); }
  void Store(int64_t, bool) override {}
  EAccessMode BaseAccess() const override { return Combine(RO, RomAccess()); }
};

}  // namespace OrvexGenApi
