// SPDX-License-Identifier: Apache-2.0
#include "engine/Values.h"

#include <algorithm>
#include <cmath>

#include "engine/Builder.h"
#include "engine/Formula.h"

namespace OrvexGenApi {

// ---- integer ----

int64_t IntegerNodeBase::GetValue(bool Verify, bool IgnoreCache) {
  ReadScope scope(m_map);
  return ReadInt({Verify, IgnoreCache});
}

int64_t IntegerNodeBase::ReadInt(ReadMode mode) {
  if (m_valueValid && !mode.verify && !mode.ignoreCache &&
      IsReadable(static_cast<EAccessMode>(m_accessCache))) {
    return m_value;
  }
  NodeMap::ReadDepth depth(m_map, *this);
  CheckReadable();
  int64_t value = m_value;
  // Verifying reaches down to what the value comes from.
  if (!m_valueValid || mode.ignoreCache || mode.verify) {
    value = FetchInt(mode);
    m_value = value;
    m_valueValid = IsCacheable(InternalCaching());
  }
  if (mode.verify) {
    CheckValue(value);
    CheckErrors();
  }
  return value;
}

void IntegerNodeBase::SetValue(int64_t Value, bool Verify) {
  WriteScope scope(m_map);
  WriteInt(Value, Verify);
  scope.Finish();
}

void IntegerNodeBase::WriteInt(int64_t value, bool verify) {
  NodeMap::ReadDepth depth(m_map, *this);
  CheckWritable();
  if (verify) CheckValue(value);
  StoreInt(value, verify);
  if (verify) CheckErrors();
}

// To the nearest integer, and from there to the nearest valid value.
void IntegerNodeBase::WriteFloat(double value, bool verify) {
  const double rounded = std::round(value);
  if (!(rounded >= -9223372036854775808.0 && rounded < 9223372036854775808.0)) {
    GENAPI_RAISE(OutOfRangeException, *this, "%g does not fit into an integer", value);
  }
  int64_t integer = static_cast<int64_t>(rounded);
  if (verify && IntIncMode() == fixedIncrement) {
    const int64_t inc = IntInc();
    const int64_t min = IntMin();
    if (inc > 1 && integer > min) {
      const uint64_t distance = static_cast<uint64_t>(integer) - static_cast<uint64_t>(min);
      const uint64_t rest = distance % static_cast<uint64_t>(inc);
      const uint64_t below = distance - rest;
      const uint64_t step = rest * 2 >= static_cast<uint64_t>(inc) ? static_cast<uint64_t>(inc) : 0;
      const int64_t up = static_cast<int64_t>(static_cast<uint64_t>(min) + below + step);
      integer = up <= IntMax() ? up : static_cast<int64_t>(static_cast<uint64_t>(min) + below);
    }
  }
  WriteInt(integer, verify);
}

void IntegerNodeBase::CheckValue(int64_t value) {
  if (m_map.IsStreaming()) return;  // while features are restored ranges may still move
  const int64_t min = IntMin();
  const int64_t max = IntMax();
  if (value < min || value > max) {
    GENAPI_RAISE(OutOfRangeException, *this, "%lld is outside of %lld to %lld",
                 static_cast<long long>(value), static_cast<long long>(min),
                 static_cast<long long>(max));
  }
  switch (IntIncMode()) {
    case fixedIncrement: {
      const int64_t inc = IntInc();
      if (inc == 1) break;
      if (inc == 0) GENAPI_RAISE(LogicalErrorException, *this, "the increment is zero");
      const uint64_t step = inc < 0 ? 0 - static_cast<uint64_t>(inc) : static_cast<uint64_t>(inc);
      if ((static_cast<uint64_t>(value) - static_cast<uint64_t>(min)) % step != 0) {
        GENAPI_RAISE(OutOfRangeException, *this, "%lld is not %lld plus a multiple of %lld",
                     static_cast<long long>(value), static_cast<long long>(min),
                     static_cast<long long>(inc));
      }
      break;
    }
    case listIncrement: {
      std::vector<int64_t> values;
      IntValidValues(values);
      if (std::find(values.begin(), values.end(), value) == values.end()) {
        GENAPI_RAISE(OutOfRangeException, *this, "%lld is none of the valid values",
                     static_cast<long long>(value));
      }
      break;
    }
    case noIncrement:
      break;
  }
}

void IntegerNodeBase::CheckAvailable() const {
  const EAccessMode mode = InternalAccess();
  if (!IsAvailable(mode)) {
    GENAPI_RAISE(AccessException, *this, "the node is not available (access mode %s)",
                 EAccessModeClass::ToString(mode).c_str());
  }
}

int64_t IntegerNodeBase::GetMin() {
  ReadScope scope(m_map);
  CheckAvailable();
  return IntMin();
}
int64_t IntegerNodeBase::GetMax() {
  ReadScope scope(m_map);
  CheckAvailable();
  return IntMax();
}
EIncMode IntegerNodeBase::GetIncMode() {
  ReadScope scope(m_map);
  return IntIncMode();
}
int64_t IntegerNodeBase::GetInc() {
  ReadScope scope(m_map);
  CheckAvailable();
  return IntInc();
}

int64_autovector_t IntegerNodeBase::GetListOfValidValues(bool bounded) {
  ReadScope scope(m_map);
  std::vector<int64_t> values;
  if (IntIncMode() == listIncrement) IntValidValues(values);
  if (bounded && !values.empty()) {
    const int64_t min = IntMin();
    const int64_t max = IntMax();
    std::erase_if(values, [&](int64_t v) { return v < min || v > max; });
  }
  int64_autovector_t list(values.size());
  for (size_t i = 0; i < values.size(); ++i) list[i] = values[i];
  return list;
}

ERepresentation IntegerNodeBase::GetRepresentation() {
  ReadScope scope(m_map);
  return InternalRepresentation();
}
gcstring IntegerNodeBase::GetUnit() {
  ReadScope scope(m_map);
  const auto unit = InternalUnit();
  return gcstring(unit.data(), unit.size());
}
void IntegerNodeBase::ImposeMin(int64_t Value) {
  WriteScope scope(m_map);
  m_imposedMin = Value;
  m_map.NodeChanged(*this);
  scope.Finish();
}
void IntegerNodeBase::ImposeMax(int64_t Value) {
  WriteScope scope(m_map);
  m_imposedMax = Value;
  m_map.NodeChanged(*this);
  scope.Finish();
}

std::string IntegerNodeBase::ReadText(ReadMode mode) {
  return IntToText(ReadInt(mode), InternalRepresentation());
}

void IntegerNodeBase::WriteText(const std::string& text, bool verify) {
  CheckWritable();
  int64_t value = 0;
  if (!TextToInt(text, InternalRepresentation(), value)) {
    GENAPI_RAISE(InvalidArgumentException, *this, "'%.64s' is no integer", text.c_str());
  }
  WriteInt(value, verify);
}

// ---- float ----

double FloatNodeBase::GetValue(bool Verify, bool IgnoreCache) {
  ReadScope scope(m_map);
  return ReadFloat({Verify, IgnoreCache});
}

double FloatNodeBase::ReadFloat(ReadMode mode) {
  if (m_valueValid && !mode.verify && !mode.ignoreCache &&
      IsReadable(static_cast<EAccessMode>(m_accessCache))) {
    return m_value;
  }
  NodeMap::ReadDepth depth(m_map, *this);
  CheckReadable();
  double value = m_value;
  if (!m_valueValid || mode.ignoreCache || mode.verify) {
    value = FetchFloat(mode);
    m_value = value;
    m_valueValid = IsCacheable(InternalCaching());
  }
  if (mode.verify) {
    CheckValue(value);
    CheckErrors();
  }
  return value;
}

int64_t FloatNodeBase::ReadInt(ReadMode mode) {
  const double value = ReadFloat(mode);
  try {
    return RoundToInt(value);
  } catch (const FormulaDomainError&) {
    GENAPI_RAISE(OutOfRangeException, *this, "%g does not fit into an integer", value);
  }
}

void FloatNodeBase::SetValue(double Value, bool Verify) {
  WriteScope scope(m_map);
  WriteFloat(Value, Verify);
  scope.Finish();
}

void FloatNodeBase::WriteFloat(double value, bool verify) {
  NodeMap::ReadDepth depth(m_map, *this);
  CheckWritable();
  if (verify) CheckValue(value);
  StoreFloat(value, verify);
  if (verify) CheckErrors();
}

void FloatNodeBase::CheckValue(double value) {
  if (m_map.IsStreaming()) return;
  const double min = FloatMin();
  const double max = FloatMax();
  if (!(value >= min && value <= max)) {
    GENAPI_RAISE(OutOfRangeException, *this, "%.12g is outside of %.12g to %.12g", value, min, max);
  }
}

void FloatNodeBase::CheckAvailable() const {
  const EAccessMode mode = InternalAccess();
  if (!IsAvailable(mode)) {
    GENAPI_RAISE(AccessException, *this, "the node is not available (access mode %s)",
                 EAccessModeClass::ToString(mode).c_str());
  }
}

double FloatNodeBase::GetMin() {
  ReadScope scope(m_map);
  CheckAvailable();
  return FloatMin();
}
double FloatNodeBase::GetMax() {
  ReadScope scope(m_map);
  CheckAvailable();
  return FloatMax();
}
bool FloatNodeBase::HasInc() {
  ReadScope scope(m_map);
  return FloatHasInc();
}
EIncMode FloatNodeBase::GetIncMode() {
  ReadScope scope(m_map);
  return FloatHasInc() ? fixedIncrement : noIncrement;
}
double FloatNodeBase::GetInc() {
  ReadScope scope(m_map);
  CheckAvailable();
  return FloatInc();
}
double_autovector_t FloatNodeBase::GetListOfValidValues(bool) {
  return double_autovector_t();
}
ERepresentation FloatNodeBase::GetRepresentation() {
  ReadScope scope(m_map);
  return InternalRepresentation();
}
gcstring FloatNodeBase::GetUnit() const {
  ReadScope scope(m_map);
  const auto unit = InternalUnit();
  return gcstring(unit.data(), unit.size());
}
EDisplayNotation FloatNodeBase::GetDisplayNotation() const {
  ReadScope scope(m_map);
  return InternalNotation();
}
int64_t FloatNodeBase::GetDisplayPrecision() const {
  ReadScope scope(m_map);
  return InternalPrecision();
}
void FloatNodeBase::ImposeMin(double Value) {
  WriteScope scope(m_map);
  m_imposedMin = Value;
  m_map.NodeChanged(*this);
  scope.Finish();
}
void FloatNodeBase::ImposeMax(double Value) {
  WriteScope scope(m_map);
  m_imposedMax = Value;
  m_map.NodeChanged(*this);
  scope.Finish();
}

namespace {
int64_t Clamp(double value) {
  if (!(value > -9223372036854775808.0)) return INT64_MIN;
  if (!(value < 9223372036854775808.0)) return INT64_MAX;
  return static_cast<int64_t>(value);
}
}  // namespace
int64_t FloatNodeBase::IntMin() {
  return Clamp(std::ceil(FloatMin()));
}
int64_t FloatNodeBase::IntMax() {
  return Clamp(std::floor(FloatMax()));
}

std::string FloatNodeBase::ReadText(ReadMode mode) {
  const double value = ReadFloat(mode);
  return FloatToText(value, InternalNotation(), InternalPrecision(), FloatMin(), FloatMax());
}

void FloatNodeBase::WriteText(const std::string& text, bool verify) {
  CheckWritable();
  double value = 0;
  if (!ParseFloat(text, value)) {
    GENAPI_RAISE(InvalidArgumentException, *this, "'%.64s' is no number", text.c_str());
  }
  WriteFloat(value, verify);
}

// ---- string ----

gcstring StringNodeBase::GetValue(bool Verify, bool IgnoreCache) {
  ReadScope scope(m_map);
  const std::string text = ReadText({Verify, IgnoreCache});
  return gcstring(text.data(), text.size());
}

void StringNodeBase::SetValue(const gcstring& Value, bool Verify) {
  WriteScope scope(m_map);
  WriteText(std::string(Value.c_str(), Value.size()), Verify);
  scope.Finish();
}

int64_t StringNodeBase::GetMaxLength(bool) {
  ReadScope scope(m_map);
  const EAccessMode mode = InternalAccess();
  // What cannot be written can never be longer than it is.
  if (!IsWritable(mode)) return static_cast<int64_t>(ReadText({}).size());
  return MaxLength();
}

std::string StringNodeBase::ReadText(ReadMode mode) {
  NodeMap::ReadDepth depth(m_map, *this);
  CheckReadable();
  std::string text = FetchText(mode);
  if (mode.verify) CheckErrors();
  return text;
}

void StringNodeBase::WriteText(const std::string& text, bool verify) {
  NodeMap::ReadDepth depth(m_map, *this);
  CheckWritable();
  const int64_t limit = MaxLength();
  if (static_cast<int64_t>(text.size()) > limit) {
    GENAPI_RAISE(OutOfRangeException, *this, "the text has %zu characters, there is room for %lld",
                 text.size(), static_cast<long long>(limit));
  }
  StoreText(text, verify);
  if (verify) CheckErrors();
}

}  // namespace OrvexGenApi
