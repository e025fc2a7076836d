// SPDX-License-Identifier: Apache-2.0
#include <GenApi/EnumClasses.h>

#include <cstring>

namespace GENAPI_NAMESPACE {
namespace {

using GENICAM_NAMESPACE::gcstring;

template <class E>
struct Row {
  E value;
  const char* text;
};

template <class E, size_t N>
bool Parse(const Row<E> (&rows)[N], const gcstring& text, E* pValue) {
  for (const auto& row : rows) {
    if (std::strcmp(row.text, text.c_str()) == 0) {
      *pValue = row.value;
      return true;
    }
  }
  return false;
}

// The last row is the undefined value: it also answers for every number without a row.
template <class E, size_t N>
const char* Text(const Row<E> (&rows)[N], E value) {
  for (const auto& row : rows) {
    if (row.value == value) return row.text;
  }
  return rows[N - 1].text;
}

constexpr Row<EEndianess> sk_endianess[] = {{BigEndian, "BigEndian"},
                                            {LittleEndian, "LittleEndian"},
                                            {_UndefinedEndian, "_UndefinedEndian"}};
constexpr Row<ERepresentation> sk_representation[] = {
    {Linear, "Linear"},         {Logarithmic, "Logarithmic"},
    {Boolean, "Boolean"},       {PureNumber, "PureNumber"},
    {HexNumber, "HexNumber"},   {IPV4Address, "IPV4Address"},
    {MACAddress, "MACAddress"}, {_UndefinedRepresentation, "_UndefinedRepresentation"}};
constexpr Row<EVisibility> sk_visibility[] = {{Beginner, "Beginner"},
                                              {Expert, "Expert"},
                                              {Guru, "Guru"},
                                              {Invisible, "Invisible"},
                                              {_UndefinedVisibility, "_UndefinedVisibility"}};
constexpr Row<EAccessMode> sk_accessMode[] = {{NI, "NI"},
                                              {NA, "NA"},
                                              {WO, "WO"},
                                              {RO, "RO"},
                                              {RW, "RW"},
                                              {_CycleDetectAccesMode, "_CycleDetectAccesMode"},
                                              {_UndefinedAccesMode, "_UndefinedAccesMode"}};
constexpr Row<ECachingMode> sk_cachingMode[] = {{NoCache, "NoCache"},
                                                {WriteThrough, "WriteThrough"},
                                                {WriteAround, "WriteAround"},
                                                {_UndefinedCachingMode, "_UndefinedCachingMode"}};
constexpr Row<ENameSpace> sk_nameSpace[] = {
    {Custom, "Custom"}, {Standard, "Standard"}, {_UndefinedNameSpace, "_UndefinedNameSpace"}};
constexpr Row<EYesNo> sk_yesNo[] = {{Yes, "Yes"}, {No, "No"}, {_UndefinedYesNo, "_UndefinedYesNo"}};
constexpr Row<EStandardNameSpace> sk_standardNameSpace[] = {
    {None, "None"}, {GEV, "GEV"}, {IIDC, "IIDC"},
    {CL, "CL"},     {USB, "USB"}, {_UndefinedStandardNameSpace, "_UndefinedStandardNameSpace"}};
constexpr Row<ESlope> sk_slope[] = {{Increasing, "Increasing"},
                                    {Decreasing, "Decreasing"},
                                    {Varying, "Varying"},
                                    {Automatic, "Automatic"},
                                    {_UndefinedESlope, "_UndefinedESlope"}};
constexpr Row<EDisplayNotation> sk_displayNotation[] = {
    {fnAutomatic, "Automatic"},
    {fnFixed, "Fixed"},
    {fnScientific, "Scientific"},
    {_UndefinedEDisplayNotation, "_UndefinedEDisplayNotation"}};
constexpr Row<EInputDirection> sk_inputDirection[] = {
    {idFrom, "From"},
    {idTo, "To"},
    {idNone, "None"},
    {static_cast<EInputDirection>(3), "_UndefinedEInputDirection"}};
constexpr Row<EGenApiSchemaVersion> sk_schemaVersion[] = {
    {v1_0, "v1_0"}, {v1_1, "v1_1"}, {_Undefined, "_Undefined"}};
constexpr Row<ESign> sk_sign[] = {
    {Signed, "Signed"}, {Unsigned, "Unsigned"}, {_UndefinedSign, "_UndefinedSign"}};

}  // namespace

#define ORVEX_ENUM_TEXTS(ClassName, EnumName, rows)                    \
  bool ClassName::FromString(const gcstring& Text, EnumName* pValue) { \
    return pValue != nullptr && Parse(rows, Text, pValue);             \
  }                                                                    \
  void ClassName::ToString(gcstring& Text, EnumName* pValue) {         \
    Text = ToString(*pValue);                                          \
  }                                                                    \
  gcstring ClassName::ToString(EnumName Value) {                       \
    return gcstring(Text(rows, Value));                                \
  }

ORVEX_ENUM_TEXTS(EEndianessClass, EEndianess, sk_endianess)
ORVEX_ENUM_TEXTS(ERepresentationClass, ERepresentation, sk_representation)
ORVEX_ENUM_TEXTS(EVisibilityClass, EVisibility, sk_visibility)
ORVEX_ENUM_TEXTS(EAccessModeClass, EAccessMode, sk_accessMode)
ORVEX_ENUM_TEXTS(ECachingModeClass, ECachingMode, sk_cachingMode)
ORVEX_ENUM_TEXTS(ENameSpaceClass, ENameSpace, sk_nameSpace)
ORVEX_ENUM_TEXTS(EYesNoClass, EYesNo, sk_yesNo)
ORVEX_ENUM_TEXTS(EStandardNameSpaceClass, EStandardNameSpace, sk_standardNameSpace)
ORVEX_ENUM_TEXTS(ESlopeClass, ESlope, sk_slope)
ORVEX_ENUM_TEXTS(EDisplayNotationClass, EDisplayNotation, sk_displayNotation)
ORVEX_ENUM_TEXTS(EInputDirectionClass, EInputDirection, sk_inputDirection)
ORVEX_ENUM_TEXTS(EGenApiSchemaVersionClass, EGenApiSchemaVersion, sk_schemaVersion)
ORVEX_ENUM_TEXTS(ESignClass, ESign, sk_sign)

}  // namespace GENAPI_NAMESPACE
