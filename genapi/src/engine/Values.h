#pragma once
// SPDX-License-Identifier: Apache-2.0
// The published number and text interfaces over what a kind of node can fetch and store. Locking,
// access checks, range checks and the value cache live here, once for all kinds.
#include <GenApi/IFloat.h>
#include <GenApi/IInteger.h>
#include <GenApi/IString.h>

#include <algorithm>
#include <limits>

#include "engine/Node.h"
#include "engine/NodeMap.h"

namespace OrvexGenApi {

// What numbers of both kinds share: how they are shown. What a node does not say itself comes from
// the node that its value comes from.
class NumberNodeBase : public ValueNode {
 public:
  using ValueNode::ValueNode;
  bool Take(Element id, pugi::xml_node element, Builder& builder) override;
  ERepresentation InternalRepresentation() override;
  std::string_view InternalUnit() const override;
  EDisplayNotation InternalNotation() const override;
  int64_t InternalPrecision() const override;

 protected:
  virtual Node* DisplaySource() const { return nullptr; }
  void CheckAvailable() const;
  gcstring UnitText() const;
  // Runs a question of the application under the lock.
  template <class Question>
  auto Ask(Question question) const {
    ReadScope scope(m_map);
    return question();
  }
  // The same for one that makes no sense while the node is not available.
  template <class Question>
  auto AskAvailable(Question question) const {
    ReadScope scope(m_map);
    CheckAvailable();
    return question();
  }

 private:
  static constexpr int16_t sk_noPrecision = -1;
  int16_t m_precision = sk_noPrecision;
  uint8_t m_representation = _UndefinedRepresentation;
  uint8_t m_notation = _UndefinedEDisplayNotation;
};

// The published interface of a number, its cache and its range. T is int64_t or double.
template <class T, class Interface>
class TypedNumber : public NumberNodeBase, public Interface {
 public:
  using NumberNodeBase::NumberNodeBase;
  void SetValue(T Value, bool Verify) override {
    WriteScope scope(m_map);
    Write(Value, Verify);
    scope.Finish();
  }
  Interface& operator=(T Value) override {
    SetValue(Value, true);
    return *this;
  }
  T GetValue(bool Verify, bool IgnoreCache) override {
    ReadScope scope(m_map);
    return Read({Verify, IgnoreCache});
  }
  T operator()() override { return GetValue(false, false); }
  T operator*() override { return GetValue(false, false); }
  T GetMin() override {
    return AskAvailable([&] { return Min(); });
  }
  T GetMax() override {
    return AskAvailable([&] { return Max(); });
  }
  T GetInc() override {
    return AskAvailable([&] { return Increment(); });
  }
  ERepresentation GetRepresentation() override {
    return Ask([&] { return InternalRepresentation(); });
  }
  void ImposeMin(T Value) override { Impose(m_imposedMin, Value); }
  void ImposeMax(T Value) override { Impose(m_imposedMax, Value); }

 protected:
  T Read(ReadMode mode);
  void Write(T value, bool verify);
  T Min() { return std::max(OwnMin(), m_imposedMin); }
  T Max() { return std::min(OwnMax(), m_imposedMax); }
  // The value from below the cache, and to it.
  virtual T Fetch(ReadMode mode) = 0;
  virtual void Store(T value, bool verify) = 0;
  virtual T OwnMin() { return sk_lowest; }
  virtual T OwnMax() { return sk_highest; }
  virtual T Increment() = 0;
  virtual void CheckValue(T value) = 0;

  static constexpr T sk_lowest = std::numeric_limits<T>::lowest();
  static constexpr T sk_highest = std::numeric_limits<T>::max();
  T m_value{};

 private:
  void Impose(T& bound, T value);

  T m_imposedMin = sk_lowest;
  T m_imposedMax = sk_highest;
};

class IntegerNodeBase : public TypedNumber<int64_t, IInteger> {
 public:
  using TypedNumber::TypedNumber;
  EInterfaceType GetPrincipalInterfaceType() const override { return intfIInteger; }

  // IInteger
  EIncMode GetIncMode() override;
  int64_autovector_t GetListOfValidValues(bool bounded) override;
  gcstring GetUnit() override { return UnitText(); }

  // Node
  int64_t ReadInt(ReadMode mode) override { return Read(mode); }
  double ReadFloat(ReadMode mode) override { return static_cast<double>(ReadInt(mode)); }
  void WriteInt(int64_t value, bool verify) override { Write(value, verify); }
  void WriteFloat(double value, bool verify) override;
  int64_t IntMin() override { return Min(); }
  int64_t IntMax() override { return Max(); }
  double FloatMin() override { return static_cast<double>(IntMin()); }
  double FloatMax() override { return static_cast<double>(IntMax()); }
  bool FloatHasInc() override { return IntIncMode() == fixedIncrement; }
  double FloatInc() override { return static_cast<double>(IntInc()); }
  EIncMode FloatIncMode() override { return IntIncMode(); }
  void FloatValidValues(std::vector<double>& values) override;
  std::string ReadText(ReadMode mode) override;
  void WriteText(const std::string& text, bool verify) override;
  bool IsIntegerKind() const override { return true; }

 protected:
  int64_t Increment() override { return IntInc(); }
  void CheckValue(int64_t value) override;
};

class FloatNodeBase : public TypedNumber<double, IFloat> {
 public:
  using TypedNumber::TypedNumber;
  EInterfaceType GetPrincipalInterfaceType() const override { return intfIFloat; }

  // IFloat
  bool HasInc() override;
  EIncMode GetIncMode() override;
  double_autovector_t GetListOfValidValues(bool bounded) override;
  gcstring GetUnit() const override { return UnitText(); }
  EDisplayNotation GetDisplayNotation() const override;
  int64_t GetDisplayPrecision() const override;

  // Node
  int64_t ReadInt(ReadMode mode) override;
  double ReadFloat(ReadMode mode) override { return Read(mode); }
  void WriteInt(int64_t value, bool verify) override {
    WriteFloat(static_cast<double>(value), verify);
  }
  void WriteFloat(double value, bool verify) override { Write(value, verify); }
  double FloatMin() override { return Min(); }
  double FloatMax() override { return Max(); }
  int64_t IntMin() override;
  int64_t IntMax() override;
  std::string ReadText(ReadMode mode) override;
  void WriteText(const std::string& text, bool verify) override;

 protected:
  double Increment() override { return FloatInc(); }
  void CheckValue(double value) override;
  ECachingMode OwnCaching() const override { return WriteAround; }
};

// How the one number or the other is asked of another node, so that kinds of both are written once.
template <class T>
struct NumberTraits;
template <>
struct NumberTraits<int64_t> {
  using Base = IntegerNodeBase;
  static int64_t Read(Node& node, ReadMode mode) { return node.ReadInt(mode); }
  static void Write(Node& node, int64_t value, bool verify) { node.WriteInt(value, verify); }
  static int64_t Min(Node& node) { return node.IntMin(); }
  static int64_t Max(Node& node) { return node.IntMax(); }
  static int64_t Inc(Node& node) { return node.IntInc(); }
};
template <>
struct NumberTraits<double> {
  using Base = FloatNodeBase;
  static double Read(Node& node, ReadMode mode) { return node.ReadFloat(mode); }
  static void Write(Node& node, double value, bool verify) { node.WriteFloat(value, verify); }
  static double Min(Node& node) { return node.FloatMin(); }
  static double Max(Node& node) { return node.FloatMax(); }
  static double Inc(Node& node) { return node.FloatInc(); }
};

class StringNodeBase : public ValueNode, public IString {
 public:
  using ValueNode::ValueNode;
  EInterfaceType GetPrincipalInterfaceType() const override { return intfIString; }

  // IString
  void SetValue(const gcstring& Value, bool Verify) override;
  IString& operator=(const gcstring& Value) override {
    SetValue(Value, true);
    return *this;
  }
  gcstring GetValue(bool Verify, bool IgnoreCache) override;
  gcstring operator()() override { return GetValue(false, false); }
  gcstring operator*() override { return GetValue(false, false); }
  int64_t GetMaxLength(bool Verify) override;

  std::string ReadText(ReadMode mode) override;
  void WriteText(const std::string& text, bool verify) override;
  virtual int64_t MaxLength() = 0;

 protected:
  virtual std::string FetchText(ReadMode mode) = 0;
  virtual void StoreText(const std::string& text, bool verify) = 0;
};

// Text of an integer in the way its representation asks for, and back. False when the text is no
// such number.
std::string IntToText(int64_t value, ERepresentation representation);
bool TextToInt(std::string_view text, ERepresentation representation, int64_t& value);
// Text of a float; the digits are chosen so that the text stays inside min..max.
std::string FloatToText(double value, EDisplayNotation notation, int64_t precision, double min,
                        double max);

}  // namespace OrvexGenApi
