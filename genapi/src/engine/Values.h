#pragma once
// SPDX-License-Identifier: Apache-2.0
// The published number and text interfaces over what a kind of node can fetch and store. Locking,
// access checks, range checks and the value cache live here, once for all kinds.
#include <GenApi/IFloat.h>
#include <GenApi/IInteger.h>
#include <GenApi/IString.h>

#include "engine/Node.h"
#include "engine/NodeMap.h"

namespace OrvexGenApi {

class IntegerNodeBase : public ValueNode, public IInteger {
 public:
  using ValueNode::ValueNode;
  EInterfaceType GetPrincipalInterfaceType() const override { return intfIInteger; }

  // IInteger
  void SetValue(int64_t Value, bool Verify) override;
  IInteger& operator=(int64_t Value) override {
    SetValue(Value, true);
    return *this;
  }
  int64_t GetValue(bool Verify, bool IgnoreCache) override;
  int64_t operator()() override { return GetValue(false, false); }
  int64_t operator*() override { return GetValue(false, false); }
  int64_t GetMin() override;
  int64_t GetMax() override;
  EIncMode GetIncMode() override;
  int64_t GetInc() override;
  int64_autovector_t GetListOfValidValues(bool bounded) override;
  ERepresentation GetRepresentation() override;
  gcstring GetUnit() override;
  void ImposeMin(int64_t Value) override;
  void ImposeMax(int64_t Value) override;

  // Node
  int64_t ReadInt(ReadMode mode) override;
  double ReadFloat(ReadMode mode) override { return static_cast<double>(ReadInt(mode)); }
  void WriteInt(int64_t value, bool verify) override;
  void WriteFloat(double value, bool verify) override;
  int64_t IntMin() override { return std::max(OwnMin(), m_imposedMin); }
  int64_t IntMax() override { return std::min(OwnMax(), m_imposedMax); }
  double FloatMin() override { return static_cast<double>(IntMin()); }
  double FloatMax() override { return static_cast<double>(IntMax()); }
  bool FloatHasInc() override { return IntIncMode() == fixedIncrement; }
  double FloatInc() override { return static_cast<double>(IntInc()); }
  std::string ReadText(ReadMode mode) override;
  void WriteText(const std::string& text, bool verify) override;
  bool IsIntegerKind() const override { return true; }

 protected:
  // The value from below the cache, and to it.
  virtual int64_t FetchInt(ReadMode mode) = 0;
  virtual void StoreInt(int64_t value, bool verify) = 0;
  virtual int64_t OwnMin() { return INT64_MIN; }
  virtual int64_t OwnMax() { return INT64_MAX; }
  void CheckValue(int64_t value);
  void CheckAvailable() const;

  int64_t m_value = 0;

 private:
  int64_t m_imposedMin = INT64_MIN;
  int64_t m_imposedMax = INT64_MAX;
};

class FloatNodeBase : public ValueNode, public IFloat {
 public:
  using ValueNode::ValueNode;
  EInterfaceType GetPrincipalInterfaceType() const override { return intfIFloat; }

  // IFloat
  void SetValue(double Value, bool Verify) override;
  IFloat& operator=(double Value) override {
    SetValue(Value, true);
    return *this;
  }
  double GetValue(bool Verify, bool IgnoreCache) override;
  double operator()() override { return GetValue(false, false); }
  double operator*() override { return GetValue(false, false); }
  double GetMin() override;
  double GetMax() override;
  bool HasInc() override;
  EIncMode GetIncMode() override;
  double GetInc() override;
  double_autovector_t GetListOfValidValues(bool bounded) override;
  ERepresentation GetRepresentation() override;
  gcstring GetUnit() const override;
  EDisplayNotation GetDisplayNotation() const override;
  int64_t GetDisplayPrecision() const override;
  void ImposeMin(double Value) override;
  void ImposeMax(double Value) override;

  // Node
  int64_t ReadInt(ReadMode mode) override;
  double ReadFloat(ReadMode mode) override;
  void WriteInt(int64_t value, bool verify) override {
    WriteFloat(static_cast<double>(value), verify);
  }
  void WriteFloat(double value, bool verify) override;
  double FloatMin() override { return std::max(OwnMin(), m_imposedMin); }
  double FloatMax() override { return std::min(OwnMax(), m_imposedMax); }
  int64_t IntMin() override;
  int64_t IntMax() override;
  std::string ReadText(ReadMode mode) override;
  void WriteText(const std::string& text, bool verify) override;

 protected:
  virtual double FetchFloat(ReadMode mode) = 0;
  virtual void StoreFloat(double value, bool verify) = 0;
  virtual double OwnMin() { return -sk_max; }
  virtual double OwnMax() { return sk_max; }
  ECachingMode OwnCaching() const override { return WriteAround; }
  void CheckValue(double value);
  void CheckAvailable() const;

  static constexpr double sk_max = 1.7976931348623157e308;
  double m_value = 0;

 private:
  double m_imposedMin = -sk_max;
  double m_imposedMax = sk_max;
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
