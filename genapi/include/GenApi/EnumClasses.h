#pragma once
// SPDX-License-Identifier: Apache-2.0
// Texts of the interface's enumerations, as they stand in camera descriptions. Each class has only
// static members:
//   FromString  false when the text names no value; then the target is left alone
//   ToString    the text; values outside the enumeration give the "_Undefined..." text
// Any thread.
#include <GenApi/Types.h>

#define GENAPI_ENUM_TEXT_CLASS(ClassName, EnumName)                                    \
  class GENAPI_DECL ClassName {                                                        \
   public:                                                                             \
    static bool FromString(const GENICAM_NAMESPACE::gcstring& Text, EnumName* pValue); \
    static void ToString(GENICAM_NAMESPACE::gcstring& Text, EnumName* pValue);         \
    static GENICAM_NAMESPACE::gcstring ToString(EnumName Value);                       \
  };

namespace GENAPI_NAMESPACE {

GENAPI_ENUM_TEXT_CLASS(EEndianessClass, EEndianess)
GENAPI_ENUM_TEXT_CLASS(ERepresentationClass, ERepresentation)
GENAPI_ENUM_TEXT_CLASS(EVisibilityClass, EVisibility)
GENAPI_ENUM_TEXT_CLASS(EAccessModeClass, EAccessMode)
GENAPI_ENUM_TEXT_CLASS(ECachingModeClass, ECachingMode)
GENAPI_ENUM_TEXT_CLASS(ENameSpaceClass, ENameSpace)
GENAPI_ENUM_TEXT_CLASS(EYesNoClass, EYesNo)
GENAPI_ENUM_TEXT_CLASS(EStandardNameSpaceClass, EStandardNameSpace)
GENAPI_ENUM_TEXT_CLASS(ESlopeClass, ESlope)
GENAPI_ENUM_TEXT_CLASS(EDisplayNotationClass, EDisplayNotation)
GENAPI_ENUM_TEXT_CLASS(EInputDirectionClass, EInputDirection)
GENAPI_ENUM_TEXT_CLASS(EGenApiSchemaVersionClass, EGenApiSchemaVersion)
GENAPI_ENUM_TEXT_CLASS(ESignClass, ESign)

}  // namespace GENAPI_NAMESPACE

#undef GENAPI_ENUM_TEXT_CLASS
