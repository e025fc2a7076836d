// SPDX-License-Identifier: Apache-2.0
#include "engine/Elements.h"

#include <array>

namespace OrvexGenApi {
namespace {

struct Row {
  std::string_view name;
  Element element;
};

constexpr Row sk_rows[] = {
    {"Extension", Element::Extension},
    {"ToolTip", Element::ToolTip},
    {"Description", Element::Description},
    {"DisplayName", Element::DisplayName},
    {"Visibility", Element::Visibility},
    {"DocuURL", Element::DocuURL},
    {"IsDeprecated", Element::IsDeprecated},
    {"EventID", Element::EventID},
    {"pIsImplemented", Element::pIsImplemented},
    {"pIsAvailable", Element::pIsAvailable},
    {"pIsLocked", Element::pIsLocked},
    {"pBlockPolling", Element::pBlockPolling},
    {"ImposedAccessMode", Element::ImposedAccessMode},
    {"pError", Element::pError},
    {"pAlias", Element::pAlias},
    {"pCastAlias", Element::pCastAlias},
    {"pInvalidator", Element::pInvalidator},
    {"Node", Element::Node},
    {"Category", Element::Category},
    {"Integer", Element::Integer},
    {"IntReg", Element::IntReg},
    {"MaskedIntReg", Element::MaskedIntReg},
    {"StructReg", Element::StructReg},
    {"StructEntry", Element::StructEntry},
    {"Boolean", Element::Boolean},
    {"Command", Element::Command},
    {"Float", Element::Float},
    {"FloatReg", Element::FloatReg},
    {"Enumeration", Element::Enumeration},
    {"EnumEntry", Element::EnumEntry},
    {"String", Element::String},
    {"StringReg", Element::StringReg},
    {"Register", Element::Register},
    {"SwissKnife", Element::SwissKnife},
    {"IntSwissKnife", Element::IntSwissKnife},
    {"Converter", Element::Converter},
    {"IntConverter", Element::IntConverter},
    {"Port", Element::Port},
    {"ConfRom", Element::ConfRom},
    {"TextDesc", Element::TextDesc},
    {"IntKey", Element::IntKey},
    {"AdvFeatureLock", Element::AdvFeatureLock},
    {"SmartFeature", Element::SmartFeature},
    {"Group", Element::Group},
    {"pFeature", Element::pFeature},
    {"Address", Element::Address},
    {"pAddress", Element::pAddress},
    {"pIndex", Element::pIndex},
    {"Length", Element::Length},
    {"pLength", Element::pLength},
    {"AccessMode", Element::AccessMode},
    {"pPort", Element::pPort},
    {"Cachable", Element::Cachable},
    {"PollingTime", Element::PollingTime},
    {"Streamable", Element::Streamable},
    {"Sign", Element::Sign},
    {"Endianess", Element::Endianess},
    {"Unit", Element::Unit},
    {"Representation", Element::Representation},
    {"pSelected", Element::pSelected},
    {"Bit", Element::Bit},
    {"LSB", Element::LSB},
    {"MSB", Element::MSB},
    {"OnValue", Element::OnValue},
    {"OffValue", Element::OffValue},
    {"Value", Element::Value},
    {"pValue", Element::pValue},
    {"CommandValue", Element::CommandValue},
    {"pCommandValue", Element::pCommandValue},
    {"DisplayNotation", Element::DisplayNotation},
    {"DisplayPrecision", Element::DisplayPrecision},
    {"NumericValue", Element::NumericValue},
    {"Symbolic", Element::Symbolic},
    {"IsSelfClearing", Element::IsSelfClearing},
    {"pVariable", Element::pVariable},
    {"Constant", Element::Constant},
    {"Expression", Element::Expression},
    {"Formula", Element::Formula},
    {"FormulaTo", Element::FormulaTo},
    {"FormulaFrom", Element::FormulaFrom},
    {"Slope", Element::Slope},
    {"IsLinear", Element::IsLinear},
    {"ChunkID", Element::ChunkID},
    {"pChunkID", Element::pChunkID},
    {"SwapEndianess", Element::SwapEndianess},
    {"CacheChunkData", Element::CacheChunkData},
    {"pValueCopy", Element::pValueCopy},
    {"ValueIndexed", Element::ValueIndexed},
    {"pValueIndexed", Element::pValueIndexed},
    {"ValueDefault", Element::ValueDefault},
    {"pValueDefault", Element::pValueDefault},
    {"Min", Element::Min},
    {"pMin", Element::pMin},
    {"Max", Element::Max},
    {"pMax", Element::pMax},
    {"Inc", Element::Inc},
    {"pInc", Element::pInc},
    {"ValidValueSet", Element::ValidValueSet},
    {"pEnumEntry", Element::pEnumEntry},
    {"pOffset", Element::pOffset},
    {"FeatureID", Element::FeatureID},
    {"Timeout", Element::Timeout},
    {"Key", Element::Key},
    {"p1212Parser", Element::p1212Parser},
    {"ValidValuesSet", Element::ValidValueSet},  // some files write it with an s
};

constexpr size_t sk_buckets = 512;
constexpr uint32_t Hash(std::string_view name) {
  uint32_t h = 2166136261u;
  for (const char c : name) h = (h ^ static_cast<unsigned char>(c)) * 16777619u;
  return (h ^ (h >> 15)) % sk_buckets;
}

// Open addressing; slots hold the row's number plus one.
constexpr std::array<uint8_t, sk_buckets> MakeSlots() {
  std::array<uint8_t, sk_buckets> slots{};
  for (size_t row = 0; row < std::size(sk_rows); ++row) {
    uint32_t at = Hash(sk_rows[row].name);
    while (slots[at] != 0) at = (at + 1) % sk_buckets;
    slots[at] = static_cast<uint8_t>(row + 1);
  }
  return slots;
}
constexpr auto sk_slots = MakeSlots();
static_assert(std::size(sk_rows) < 256);

}  // namespace

Element ElementByName(std::string_view name) {
  for (uint32_t at = Hash(name); sk_slots[at] != 0; at = (at + 1) % sk_buckets) {
    const Row& row = sk_rows[sk_slots[at] - 1];
    if (row.name == name) return row.element;
  }
  return Element::Unknown;
}

const char* ElementName(Element element) {
  for (const Row& row : sk_rows) {
    if (row.element == element) return row.name.data();
  }
  return "?";
}

}  // namespace OrvexGenApi
