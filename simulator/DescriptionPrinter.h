#pragma once
// SPDX-License-Identifier: Apache-2.0
// Prints a feature table as a GenApi description (schema 1.1). Used by FeatureTable::Xml only.

#include "simulator/Feature.h"

namespace OrvexSim {

class DescriptionPrinter {
 public:
  explicit DescriptionPrinter(const FeatureTable& table) : m_table(table) {}
  std::string Print(const DescriptionHead& head);

 private:
  void PrintCategories();
  void PrintFeature(const Feature& feature);
  void PrintValueNode(const Feature& feature);
  void PrintRegister(const Feature& feature);
  void PrintLimits(const Feature& feature);
  void PrintMax(const Feature& feature);
  void Common(const Feature& feature);
  void Register(const Feature& feature, const char* node, const std::string& name, uint32_t address,
                uint32_t length);
  void Invalidators(const Feature& feature);
  void Open(const char* node, const std::string& name, bool standard);
  void Close(const char* node);
  void Element(const char* name, const std::string& text);
  void Element(const char* name, int64_t value);
  void Element(const char* name, double value);

  const FeatureTable& m_table;
  std::string m_out;
};

}  // namespace OrvexSim
