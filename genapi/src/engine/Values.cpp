// SPDX-License-Identifier: Apache-2.0
#include "engine/Values.h"

#include <algorithm>
#include <cmath>

#include "engine/Builder.h"
#include "engine/Formula.h"

namespace OrvexGenApi {

// ---- what all numbers share ----

bool NumberNodeBase::Take(Element id, pugi::xml_node element, Builder& builder) {
  switch (id) {
    case Element::Unit:
      return true;  // looked up when it is asked for
    case Element::Representation: {
      ERepresentation representation = PureNumber;
      builder.Choice<ERepresentationClass>(*this, element, representation, "is no representation");
      m_representation = static_cast<uint8_t>(representation);
      return true;
    }
    case Element::DisplayNotation: {
      EDisplayNotation notation = fnAutomatic;
      builder.Choice<EDisplayNotationClass>(*this, element, notation, "is no notation");
      m_notation = static_cast<uint8_t>(notation);
      return true;
    }
    case Element::DisplayPrecision:
      m_precision = static_cast<int16_t>(
          std::clamp<int64_t>(builder.Int(*this, element), sk_noPrecision, INT16_MAX));
      return true;
    default:
      return ValueNode::Take(id, element, builder);
  }
}

ERepresentation NumberNodeBase::InternalRepresentation() {
  if (m_representation != _UndefinedRepresentation) {
    return static_cast<ERepresentation>(m_representation);
  }
  NodeMap::ReadDepth depth(m_map, *this);
  Node* source = DisplaySource();
  return source ? source->InternalRepresentation() : PureNumber;
}

std::string_view NumberNodeBase::InternalUnit() const {
  const auto own = Trim(ChildText("Unit"));
  if (!own.empty()) return own;
  NodeMap::ReadDepth depth(m_map, *this);
  const Node* source = DisplaySource();
  return source ? source->InternalUnit() : own;
}

EDisplayNotation NumberNodeBase::InternalNotation() const {
  if (m_notation != _UndefinedEDisplayNotation) return static_cast<EDisplayNotation>(m_notation);
  NodeMap::ReadDepth depth(m_map, *this);
  const Node* source = DisplaySource();
  return source ? source->InternalNotation() : fnAutomatic;
}

int64_t NumberNodeBase::InternalPrecision() const {
  if (m_precision != sk_noPrecision) return m_precision;
  NodeMap::ReadDepth depth(m_map, *this);
  const Node* source = DisplaySource();
  return source ? source->InternalPrecision() : ValueNode::InternalPrecision();
}

void NumberNodeBase::CheckAvailable() const {
  const EAccessMode mode = InternalAccess();
  if (!IsAvailable(mode)) {
    GENAPI_RAISE(AccessException, *this, "the node is not available (access mode %s)",
                 EAccessModeClass::ToString(mode).c_str());
  }
}

gcstring NumberNodeBase::UnitText() const {
  return Ask([&] {
    const auto unit = InternalUnit();
    return gcstring(unit.data(), unit.size());
  });
}

template <class T, class Interface>
T TypedNumber<T, Interface>::Read(ReadMode mode) {
  if (m_valueValid && !mode.verify && !mode.ignoreCache &&
      IsReadable(static_cast<EAccessMode>(m_accessCache))) {
    return m_value;
  }
  NodeMap::ReadDepth depth(m_map, *this);
  CheckReadable();
  T value = m_value;
  // Verifying reaches down to what the value comes from.
  if (!m_valueValid || mode.ignoreCache || mode.verify) {
    value = Fetch(mode);
    m_value = value;
    m_valueValid = IsCacheable(InternalCaching());
  }
  if (mode.verify) {
    CheckValue(value);
    CheckErrors();
  }
  return value;
}

template <class T, class Interface>
void TypedNumber<T, Interface>::Write(T value, bool verify) {
  NodeMap::ReadDepth depth(m_map, *this);
  CheckWritable();
  if (verify) CheckValue(value);
  Store(value, verify);
  if (verify) CheckErrors();
}

template <class T, class Interface>
void TypedNumber<T, Interface>::Impose(T& bound, T value) {
  WriteScope scope(m_map);
  bound = value;
  m_map.RangeChanged(*this);
  scope.Finish();
}

template class TypedNumber<int64_t, IInteger>;
template class TypedNumber<double, IFloat>;

// ---- integer ----

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

EIncMode IntegerNodeBase::GetIncMode() {
  return Ask([&] { return IntIncMode(); });
}

namespace {

// The values as the published list type, without those outside of the bounds.
template <class List, class T>
List Listed(std::vector<T> values, bool bounded, T min, T max) {
  if (bounded) std::erase_if(values, [&](T v) { return v < min || v > max; });
  List list(values.size());
  for (size_t i = 0; i < values.size(); ++i) list[i] = values[i];
  return list;
}

}  // namespace

int64_autovector_t IntegerNodeBase::GetListOfValidValues(bool bounded) {
  ReadScope scope(m_map);
  std::vector<int64_t> values;
  if (IntIncMode() != listIncrement) return int64_autovector_t();
  IntValidValues(values);
  return Listed<int64_autovector_t>(std::move(values), bounded, IntMin(), IntMax());
}

void IntegerNodeBase::FloatValidValues(std::vector<double>& values) {
  std::vector<int64_t> integers;
  IntValidValues(integers);
  values.assign(integers.begin(), integers.end());
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

int64_t FloatNodeBase::ReadInt(ReadMode mode) {
  const double value = ReadFloat(mode);
  try {
    return RoundToInt(value);
  } catch (const FormulaDomainError&) {
    GENAPI_RAISE(OutOfRangeException, *this, "%g does not fit into an integer", value);
  }
}

void FloatNodeBase::CheckValue(double value) {
  if (m_map.IsStreaming()) return;
  const double min = FloatMin();
  const double max = FloatMax();
  if (!(value >= min && value <= max)) {
    GENAPI_RAISE(OutOfRangeException, *this, "%.12g is outside of %.12g to %.12g", value, min, max);
  }
}

bool FloatNodeBase::HasInc() {
  return Ask([&] { return FloatHasInc(); });
}
EIncMode FloatNodeBase::GetIncMode() {
  return Ask([&] { return FloatIncMode(); });
}
double_autovector_t FloatNodeBase::GetListOfValidValues(bool bounded) {
  ReadScope scope(m_map);
  if (FloatIncMode() != listIncrement) return double_autovector_t();
  std::vector<double> values;
  FloatValidValues(values);
  return Listed<double_autovector_t>(std::move(values), bounded, FloatMin(), FloatMax());
}
EDisplayNotation FloatNodeBase::GetDisplayNotation() const {
  return Ask([&] { return InternalNotation(); });
}
int64_t FloatNodeBase::GetDisplayPrecision() const {
  return Ask([&] { return InternalPrecision(); });
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
