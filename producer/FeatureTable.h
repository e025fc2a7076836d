#pragma once
// SPDX-License-Identifier: Apache-2.0
// The node map of one producer module: rows of features from which both the description XML
// (schema 1.1) and the registers behind it are made, so that the two cannot disagree. Owned by its
// module; rows are added while the module is built and never change afterwards. Reads and writes
// may come from any thread: getters and setters lock for themselves.
//
// Registers are little endian: integers, enumerations, booleans and commands take 8 bytes, floats 8
// (IEEE 754), strings sk_stringBytes. Feature i stands at sk_firstRegister + i * sk_registerStride,
// the XML text at sk_xmlAddress.

#include <cstdint>
#include <functional>
#include <limits>
#include <span>
#include <string>
#include <vector>

namespace OrvexGev {

enum class FeatureType { Integer, Float, Boolean, String, Enumeration, Command };
enum class Visibility { Beginner, Expert, Guru, Invisible };

struct EnumEntry {
  const char* name;
  int64_t value;
};

// One row. Made by one of the named constructors and refined by the setters, which return the row.
class Feature {
 public:
  using IntGetter = std::function<int64_t()>;
  using IntSetter = std::function<void(int64_t)>;
  using FloatGetter = std::function<double()>;
  using FloatSetter = std::function<void(double)>;
  using StringGetter = std::function<std::string()>;
  using StringSetter = std::function<void(const std::string&)>;

  static Feature Integer(const char* name, IntGetter get, IntSetter set = nullptr);
  static Feature Float(const char* name, FloatGetter get, FloatSetter set = nullptr);
  static Feature Boolean(const char* name, IntGetter get, IntSetter set = nullptr);
  static Feature String(const char* name, StringGetter get, StringSetter set = nullptr);
  static Feature Enumeration(const char* name, std::vector<EnumEntry> entries, IntGetter get,
                             IntSetter set = nullptr);
  static Feature Command(const char* name, std::function<void()> execute);

  Feature In(const char* category) &&;
  Feature Expert() &&;
  Feature Guru() &&;
  Feature Hidden() &&;
  Feature Tip(const char* text) &&;
  Feature Unit(const char* text) &&;
  Feature Shown(const char* representation) &&;
  Feature SelectedBy(const char* selector) &&;
  Feature Range(int64_t min, int64_t max, int64_t increment = 1) &&;
  // An upper bound that changes; read through a register of its own.
  Feature Max(IntGetter max) &&;
  Feature FloatRange(double min, double max) &&;
  // The value never changes while the module lives: node maps may cache it.
  Feature Constant() &&;

 private:
  friend class FeatureTable;
  Feature(const char* name, FeatureType type) : m_name(name), m_type(type) {}
  bool Readable() const {
    return m_type == FeatureType::Command || m_getInt || m_getFloat || m_getString;
  }
  bool Writable() const { return m_setInt || m_setFloat || m_setString; }

  std::string m_name;
  FeatureType m_type;
  std::string m_category;
  Visibility m_visibility = Visibility::Beginner;
  std::string m_tip;
  std::string m_unit;
  std::string m_representation;
  std::string m_selector;
  int64_t m_min = 0;
  int64_t m_max = std::numeric_limits<int64_t>::max();
  int64_t m_increment = 1;
  bool m_hasRange = false;
  bool m_dynamicMax = false;
  double m_floatMin = 0;
  double m_floatMax = 0;
  bool m_hasFloatRange = false;
  bool m_constant = false;
  std::vector<EnumEntry> m_entries;
  IntGetter m_getInt, m_getMax;
  IntSetter m_setInt;
  FloatGetter m_getFloat;
  FloatSetter m_setFloat;
  StringGetter m_getString;
  StringSetter m_setString;
};

class FeatureTable {
 public:
  static constexpr uint64_t sk_firstRegister = 0x1000;
  static constexpr uint64_t sk_registerStride = 0x200;
  static constexpr size_t sk_stringBytes = 0x200;
  static constexpr uint64_t sk_xmlAddress = 0x1000000;

  // model names the XML ("GenTLSystem"), portName its port node ("TLPort").
  FeatureTable(std::string model, std::string portName);

  void Add(Feature feature);
  // Writes the XML; nothing can be added afterwards.
  void Finish();

  const std::string& Xml() const { return m_xml; }
  const std::string& PortName() const { return m_portName; }
  // "local:MODEL_1_0_0.xml;ADDRESS;LENGTH", both numbers hexadecimal.
  std::string Url() const;
  std::string FileName() const { return m_model + "_1_0_0.xml"; }

  // Any address and length; throws GcError (invalid address, access denied, invalid value).
  void Read(uint64_t address, std::span<uint8_t> target) const;
  void Write(uint64_t address, std::span<const uint8_t> source);

  // Address of a feature's register, 0 when there is no such feature.
  uint64_t AddressOf(const std::string& name) const;

 private:
  struct Piece;
  Piece Locate(uint64_t address, size_t wanted) const;
  std::vector<uint8_t> ReadRegister(const Feature& feature) const;
  void WriteRegister(const Feature& feature, std::span<const uint8_t> bytes) const;
  void CheckRange(const Feature& feature, int64_t value) const;
  uint64_t AddressAt(size_t index) const { return sk_firstRegister + index * sk_registerStride; }
  std::string NodeXml(const Feature& feature, size_t index) const;

  const std::string m_model;
  const std::string m_portName;
  std::vector<Feature> m_features;
  std::string m_xml;
};

}  // namespace OrvexGev
