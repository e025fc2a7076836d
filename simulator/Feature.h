#pragma once
// SPDX-License-Identifier: Apache-2.0
// Features of a virtual camera. A model lists its features as rows of one table; the table makes
// both the description XML and the registers behind it, so they cannot disagree. Rows are added
// while the camera is built and live as long as it; the values are read and written under the
// camera's lock only.

#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "simulator/RegisterMap.h"

namespace OrvexSim {

enum class Visibility { Beginner, Expert, Guru, Invisible };

struct EnumEntry {
  std::string name;
  int64_t value = 0;
};

// One row. The describing functions return the row, so that a model reads as a table.
class Feature {
 public:
  enum class Kind { Integer, Float, Boolean, Enumeration, Command, String, Bytes };

  Feature(Kind kind, std::string name, std::string category);

  // ---- description ----
  Feature& Docu(std::string text);
  Feature& Expert();
  Feature& Guru();
  Feature& Invisible();
  Feature& Custom();  // not a name of the standard feature naming convention
  Feature& Unit(std::string unit);
  Feature& Representation(std::string representation);
  Feature& ReadOnly();
  Feature& WriteOnly();
  Feature&
  Locked();  // while transport parameters are locked: by pIsLocked, and refused on the wire
  Feature& Transient();                   // not part of user sets
  Feature& Polled(int64_t milliseconds);  // worth looking at that often
  Feature& Volatile();                    // changes on its own: never cached by hosts
  Feature& DependsOn(std::initializer_list<const char*> features);  // whose change may change this
  Feature& Selects(std::initializer_list<const char*> features);
  Feature& SelectedBy(std::string selector,
                      size_t count);  // one value for each value of the selector
  Feature& Range(int64_t min, int64_t max, int64_t increment = 1);
  Feature& Max(std::function<int64_t()> max);
  Feature& RealRange(double min, double max);
  Feature& RealMax(std::function<double()> max);
  Feature& Entries(std::vector<EnumEntry> entries);
  Feature& Size(uint32_t bytes);  // String, Bytes, and 8 for wide integers
  // At a bootstrap register instead of one of its own; the mask picks its bits.
  Feature& AtBootstrap(uint32_t address, uint32_t mask = 0xFFFFFFFF);
  Feature& AvailableIf(std::function<bool()> available);
  // Initial values.
  Feature& Default(int64_t value);
  Feature& DefaultReal(double value);
  Feature& DefaultText(std::string value);
  // Computed instead of stored.
  Feature& Get(std::function<int64_t()> get);
  Feature& GetReal(std::function<double()> get);
  Feature& GetText(std::function<std::string()> get);
  Feature& GetBytes(std::function<void(std::span<uint8_t>)> get);
  // Called with a value that passed the range check, before it is stored; an error refuses the
  // write. Commands do their work here.
  Feature& OnSet(std::function<Status(int64_t value, size_t index)> check);
  Feature& OnSetReal(std::function<Status(double value)> check);
  Feature& OnSetText(std::function<Status(const std::string&)> check);
  Feature& OnSetBytes(std::function<Status(std::span<const uint8_t>)> set);
  // Called after a value was stored.
  Feature& Then(std::function<void()> consequence);

  // ---- values ----
  int64_t Int(size_t index = 0) const { return m_getInt ? m_getInt() : m_ints[index]; }
  bool Bool(size_t index = 0) const { return Int(index) != 0; }
  double Real(size_t index = 0) const { return m_getReal ? m_getReal() : m_reals[index]; }
  std::string Text() const { return m_getText ? m_getText() : m_text; }
  int64_t MaxInt() const { return m_maxInt ? m_maxInt() : m_max; }
  double MaxReal() const { return m_maxReal ? m_maxReal() : m_realMax; }
  int64_t MinInt() const { return m_min; }
  int64_t Increment() const { return m_increment; }
  // With all checks of a write from the host.
  Status SetInt(int64_t value, size_t index = 0);
  Status SetReal(double value, size_t index = 0);
  Status SetText(const std::string& value);
  // A number, the name of an entry, true or false, or text, as the kind asks; commands ignore it.
  Status SetFromText(const std::string& text);
  // The same the other way: what SetFromText reads.
  std::string ToText() const;
  // Without checks, for the camera itself.
  void Force(int64_t value, size_t index = 0) { m_ints[index] = value; }
  void ForceReal(double value, size_t index = 0) { m_reals[index] = value; }

  const std::string& Name() const { return m_name; }
  // Its registers, known once the table is built; 0 where there is none.
  uint32_t Address() const { return m_address; }
  uint32_t BootstrapMask() const { return m_mask; }  // 0: a register of its own
  uint32_t Bytes() const { return RegisterLength() * static_cast<uint32_t>(m_count); }
  bool Stored() const;  // part of user sets
  // Whether it could have this value at some time, whatever the others are.
  bool Allows(int64_t value) const;
  bool Allows(double value) const { return value >= m_realMin && value <= m_realMax; }

 private:
  friend class FeatureTable;
  friend class DescriptionPrinter;
  friend struct FeatureValues;

  bool Writable() const { return m_access != Access::ReadOnly; }
  uint32_t RegisterLength() const;
  void ReadRegister(size_t index, std::span<uint8_t> out) const;
  Status WriteRegister(size_t index, std::span<const uint8_t> bytes);

  enum class Access { ReadWrite, ReadOnly, WriteOnly };

  Kind m_kind;
  std::string m_name, m_category, m_docu, m_unit, m_representation, m_selector;
  Visibility m_visibility = Visibility::Beginner;
  Access m_access = Access::ReadWrite;
  bool m_standard = true, m_locked = false, m_transient = false, m_volatile = false;
  std::vector<std::string> m_dependsOn, m_selects;
  std::vector<EnumEntry> m_entries;
  size_t m_count = 1;
  uint32_t m_size = 0;
  int64_t m_pollingMs = 0;
  int64_t m_min = 0, m_max = 0xFFFFFFFF, m_increment = 1;
  double m_realMin = 0, m_realMax = 0;
  uint32_t m_address = 0, m_mask = 0;  // mask 0: a register of its own
  uint32_t m_maxAddress = 0, m_availableAddress = 0;

  std::function<int64_t()> m_maxInt, m_getInt;
  std::function<double()> m_maxReal, m_getReal;
  std::function<std::string()> m_getText;
  std::function<void(std::span<uint8_t>)> m_getBytes;
  std::function<bool()> m_available;
  std::function<Status(int64_t, size_t)> m_onSet;
  std::function<Status(double)> m_onSetReal;
  std::function<Status(const std::string&)> m_onSetText;
  std::function<Status(std::span<const uint8_t>)> m_onSetBytes;
  std::function<void()> m_then;
  std::function<bool()> m_lockHolds;  // set by the table for locked rows

  std::vector<int64_t> m_ints;
  std::vector<double> m_reals;
  std::string m_text;
};

// The values of all stored features: what a user set keeps.
struct FeatureValues {
  struct Value {
    std::vector<int64_t> ints;
    std::vector<double> reals;
    std::string text;
  };
  std::unordered_map<std::string, Value> values;

  static FeatureValues Of(const std::vector<std::unique_ptr<Feature>>& features);
  void ApplyTo(const std::vector<std::unique_ptr<Feature>>& features) const;
  // Those values of another set that the features can have.
  void Take(const FeatureValues& other, const std::vector<std::unique_ptr<Feature>>& features);
};

// What the description says of itself.
struct DescriptionHead {
  std::string modelName, vendorName, toolTip, productGuid, versionGuid;
};

class FeatureTable {
 public:
  // The category that the following rows go into; made on first use.
  void Category(std::string name, std::string docu = {}, std::string parent = "Root");
  Feature& Integer(std::string name);
  Feature& Float(std::string name);
  Feature& Boolean(std::string name);
  Feature& Enumeration(std::string name, std::vector<EnumEntry> entries);
  Feature& Command(std::string name);
  Feature& String(std::string name, uint32_t size);
  Feature& Bytes(std::string name, uint32_t size);
  // Nodes that have no register of their own (formulas, converters, ports), as XML; `feature` is
  // listed in the category.
  void Node(std::string feature, std::string xml);

  // When the rows with Locked() refuse writes.
  void SetLock(std::function<bool()> holds) { m_lockHolds = std::move(holds); }

  // Gives every row its address, from `base` on, and adds its registers. Call once, after the last
  // row.
  void Build(RegisterMap& registers, uint32_t base);
  std::string Xml(const DescriptionHead& head) const;

  const std::vector<std::unique_ptr<Feature>>& Features() const { return m_features; }
  Feature* Find(const std::string& name) const;  // null when there is none
  const std::vector<EnumEntry>& EntriesOf(const std::string& enumeration) const;

 private:
  friend class DescriptionPrinter;
  struct CategoryRow {
    std::string name, docu, parent;
    std::vector<std::string> members;
  };
  Feature& Add(Feature::Kind kind, std::string name);
  void AddRegisters(Feature& feature, RegisterMap& registers);
  uint32_t Allocate(uint32_t bytes);

  std::vector<CategoryRow> m_categories;
  size_t m_current = 0;
  std::vector<std::unique_ptr<Feature>> m_features;
  std::unordered_map<std::string, Feature*> m_byName;
  std::vector<std::string> m_rawNodes;
  std::function<bool()> m_lockHolds;
  uint32_t m_next = 0;
};

}  // namespace OrvexSim
