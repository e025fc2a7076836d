#pragma once
// SPDX-License-Identifier: Apache-2.0
// Boolean, Command, Enumeration with its entries, String, Category and the nodes without a value of
// their own.
#include <GenApi/IBoolean.h>
#include <GenApi/ICategory.h>
#include <GenApi/ICommand.h>
#include <GenApi/IEnumEntry.h>
#include <GenApi/IEnumeration.h>

#include <vector>

#include "engine/Values.h"

namespace OrvexGenApi {

class BooleanNode final : public ValueNode, public IBoolean {
 public:
  using ValueNode::ValueNode;
  EInterfaceType GetPrincipalInterfaceType() const override { return intfIBoolean; }
  void SetValue(bool Value, bool Verify) override;
  IBoolean& operator=(bool Value) override {
    SetValue(Value, true);
    return *this;
  }
  bool GetValue(bool Verify, bool IgnoreCache) const override;
  bool operator()() const override { return GetValue(false, false); }

  bool Take(Element id, pugi::xml_node element, Builder& builder) override;
  void Finish(Builder& builder) override;
  int64_t ReadInt(ReadMode mode) override;
  void WriteInt(int64_t value, bool verify) override;
  void WriteFloat(double value, bool verify) override { WriteInt(value != 0, verify); }
  int64_t IntMin() override { return 0; }
  int64_t IntMax() override { return 1; }
  bool IsIntegerKind() const override { return true; }
  std::string ReadText(ReadMode mode) override;
  void WriteText(const std::string& text, bool verify) override;

 protected:
  EAccessMode BaseAccess() const override { return m_pValue ? m_pValue->InternalAccess() : RW; }

 private:
  Node* m_pValue = nullptr;
  int64_t m_stored = 0;
  int64_t m_on = 1;
  int64_t m_off = 0;
  bool m_hasValue = false;
  bool m_value = false;
};

class CommandNode final : public ValueNode, public ICommand {
 public:
  using ValueNode::ValueNode;
  EInterfaceType GetPrincipalInterfaceType() const override { return intfICommand; }
  void Execute(bool Verify) override;
  void operator()() override { Execute(true); }
  bool IsDone(bool Verify) override;

  bool Take(Element id, pugi::xml_node element, Builder& builder) override;
  void Finish(Builder& builder) override;
  int64_t ReadInt(ReadMode mode) override;
  void WriteInt(int64_t value, bool verify) override;
  std::string ReadText(ReadMode mode) override;
  void WriteText(const std::string& text, bool verify) override;
  bool IsIntegerKind() const override { return true; }
  bool MayPoll() override { return m_active; }

 protected:
  EAccessMode BaseAccess() const override;

 private:
  int64_t CommandValue();
  bool InternalIsDone();

  Node* m_pValue = nullptr;
  Node* m_pCommandValue = nullptr;
  int64_t m_commandValue = 0;
  int64_t m_stored = 0;
  bool m_active = false;  // executed and not yet seen to be done
};

class EnumEntryNode final : public ValueNode, public IEnumEntry {
 public:
  using ValueNode::ValueNode;
  EInterfaceType GetPrincipalInterfaceType() const override { return intfIEnumEntry; }
  int64_t GetValue() override { return m_value; }
  gcstring GetSymbolic() const override { return gcstring(Symbolic()); }
  double GetNumericValue() override { return Numeric(); }
  bool IsSelfClearing() override { return m_selfClearing; }

  bool Take(Element id, pugi::xml_node element, Builder& builder) override;
  void Finish(Builder& builder) override;
  int64_t ReadInt(ReadMode) override { return m_value; }
  bool IsIntegerKind() const override { return true; }
  std::string ReadText(ReadMode mode) override;
  const char* ShortName() const override { return Symbolic(); }
  // The entry's name; one that stands for itself may have another as a node.
  const char* Symbolic() const {
    return m_symbolic.empty() ? m_element.attribute("Name").value() : m_symbolic.c_str();
  }
  int64_t Value() const { return m_value; }
  double Numeric() const { return m_hasNumeric ? m_numeric : static_cast<double>(m_value); }
  bool SelfClearing() const { return m_selfClearing; }

 protected:
  EAccessMode BaseAccess() const override { return RO; }

 private:
  int64_t m_value = 0;
  double m_numeric = 0;
  std::string m_symbolic;
  bool m_hasValue = false;
  bool m_hasNumeric = false;
  bool m_selfClearing = false;
};

class EnumerationNode final : public ValueNode, public IEnumeration {
 public:
  using ValueNode::ValueNode;
  EInterfaceType GetPrincipalInterfaceType() const override { return intfIEnumeration; }
  void GetSymbolics(StringList_t& Symbolics) override;
  void GetEntries(NodeList_t& Entries) override;
  IEnumeration& operator=(const gcstring& ValueStr) override {
    FromString(ValueStr, true);
    return *this;
  }
  void SetIntValue(int64_t Value, bool Verify) override;
  gcstring operator*() override { return ToString(false, false); }
  int64_t GetIntValue(bool Verify, bool IgnoreCache) override;
  IEnumEntry* GetEntryByName(const gcstring& Symbolic) override;
  IEnumEntry* GetEntry(const int64_t IntValue) override;
  IEnumEntry* GetCurrentEntry(bool Verify, bool IgnoreCache) override;

  bool Take(Element id, pugi::xml_node element, Builder& builder) override;
  void Finish(Builder& builder) override;
  // Seen from other nodes an enumeration is the number of its current entry.
  int64_t ReadInt(ReadMode mode) override;
  double ReadFloat(ReadMode mode) override;
  void WriteInt(int64_t value, bool verify) override {
    WriteFloat(static_cast<double>(value), verify);
  }
  void WriteFloat(double value, bool verify) override;
  bool IsIntegerKind() const override { return m_allWhole; }
  std::string ReadText(ReadMode mode) override;
  void WriteText(const std::string& text, bool verify) override;
  std::string ErrorText() override;
  bool MayPoll() override;

 protected:
  EAccessMode BaseAccess() const override;
  bool BaseAccessCacheable() const override;

 private:
  int64_t ReadRaw(ReadMode mode);
  void WriteRaw(int64_t value, bool verify);
  EnumEntryNode* ByValue(int64_t value) const;
  EnumEntryNode* ByName(std::string_view name) const;

  std::vector<EnumEntryNode*> m_entries;
  Node* m_pValue = nullptr;
  int64_t m_stored = 0;
  int64_t m_raw = 0;
  bool m_hasValue = false;
  bool m_allWhole = true;
};

class StringNode final : public StringNodeBase {
 public:
  using StringNodeBase::StringNodeBase;
  bool Take(Element id, pugi::xml_node element, Builder& builder) override;
  int64_t MaxLength() override;

 protected:
  std::string FetchText(ReadMode mode) override;
  void StoreText(const std::string& text, bool verify) override;
  EAccessMode BaseAccess() const override { return m_pValue ? m_pValue->InternalAccess() : RW; }

 private:
  Node* m_pValue = nullptr;
  std::string m_stored;
};

class CategoryNode final : public ValueNode, public ICategory {
 public:
  using ValueNode::ValueNode;
  EInterfaceType GetPrincipalInterfaceType() const override { return intfICategory; }
  void GetFeatures(FeatureList_t& Features) const override;
  bool Take(Element id, pugi::xml_node element, Builder& builder) override;
  std::string ReadText(ReadMode) override;

 protected:
  EAccessMode BaseAccess() const override;
  bool BaseAccessCacheable() const override { return false; }
  EVisibility InternalVisibility() const override;

 private:
  mutable bool m_inVisibility = false;
  mutable EVisibility m_lowest = Beginner;
  mutable uint32_t m_lowestEpoch = 0;  // of the map, when m_lowest was found
};

// Node, and the kinds that only one kind of bus has: there, but not implemented.
class PlainNode final : public ValueNode {
 public:
  PlainNode(NodeMap& map, pugi::xml_node element, EAccessMode mode)
      : ValueNode(map, element), m_mode(mode) {}
  EInterfaceType GetPrincipalInterfaceType() const override { return intfIValue; }
  bool Take(Element id, pugi::xml_node element, Builder& builder) override;

 protected:
  EAccessMode BaseAccess() const override { return m_mode; }

 private:
  EAccessMode m_mode;
};

// Value of an entry as the description gives it; false when the enumeration has no such entry.
bool EntryValue(pugi::xml_node enumeration, std::string_view entry, int64_t& value);

}  // namespace OrvexGenApi
