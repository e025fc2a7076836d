// SPDX-License-Identifier: Apache-2.0
#include "simulator/Tone.h"

#include <algorithm>
#include <cmath>

#include "simulator/Feature.h"

namespace OrvexSim {
namespace {

constexpr int64_t sk_maxEntry = 4095;

}  // namespace

Tone::Tone() {
  for (size_t i = 0; i < m_lut.size(); ++i) m_lut[i] = static_cast<uint16_t>(i);
}

void Tone::AddAnalogFeatures(FeatureTable& t) {
  m_black = &t.Float("BlackLevel")
                 .RealRange(0, 255)
                 .Then([this] { Changed(); })
                 .Docu("What is added to every sample, in steps of 12 bits.");
  m_gamma = &t.Float("Gamma")
                 .RealRange(0.25, 4)
                 .DefaultReal(1)
                 .Then([this] { Changed(); })
                 .Docu("Exponent that samples are raised to.");
}

void Tone::AddLutFeatures(FeatureTable& t) {
  t.Category("LUTControl", "A table that every sample goes through.");
  t.Enumeration("LUTSelector", {{"Luminance", 0}})
      .Expert()
      .Selects({"LUTEnable", "LUTIndex", "LUTValue", "LUTValueAll"})
      .Docu("Table that the following features are of.");
  m_enable = &t.Boolean("LUTEnable")
                  .Expert()
                  .Then([this] { Changed(); })
                  .Docu("Whether samples go through the table.");
  Feature* index = &t.Integer("LUTIndex")
                        .Expert()
                        .Transient()
                        .Range(0, sk_maxEntry)
                        .Selects({"LUTValue"})
                        .Docu("Entry that LUTValue is: a sample's high 12 bits.");
  t.Integer("LUTValue")
      .Expert()
      .Range(0, sk_maxEntry)
      .DependsOn({"LUTIndex", "LUTValueAll"})
      .Get([this, index] { return int64_t{m_lut[static_cast<size_t>(index->Int())]}; })
      .OnSet([this, index](int64_t value, size_t) {
        m_lut[static_cast<size_t>(index->Int())] = static_cast<uint16_t>(value);
        return Changed(), Status::Success;
      })
      .Docu("What the table makes of it, 12 bits.");
  t.Bytes("LUTValueAll", 2 * static_cast<uint32_t>(m_lut.size()))
      .Expert()
      .GetBytes([this](std::span<uint8_t> out) {
        for (size_t i = 0; i < m_lut.size(); ++i) GigEVision::StoreBe16(&out[2 * i], m_lut[i]);
      })
      .OnSetBytes([this](std::span<const uint8_t> in) {
        for (size_t i = 0; i < m_lut.size(); ++i) {
          m_lut[i] = std::min<uint16_t>(GigEVision::LoadBe16(&in[2 * i]), sk_maxEntry);
        }
        return Changed(), Status::Success;
      })
      .Docu("The whole table, entries of two bytes, high byte first.");
}

std::shared_ptr<const ToneTable> Tone::Table() {
  if (m_valid) return m_table;
  m_valid = true;
  m_table.reset();
  const double gamma = m_gamma->Real(), black = m_black->Real();
  const bool lut = m_enable->Bool();
  if (gamma == 1 && black == 0 && !lut) return m_table;
  auto table = std::make_shared<ToneTable>();
  for (size_t i = 0; i < table->size(); ++i) {
    double value = std::pow(static_cast<double>(i) / sk_maxEntry, gamma) * sk_maxEntry + black;
    value = std::clamp(value, 0.0, double{sk_maxEntry});
    const uint32_t entry = lut ? m_lut[static_cast<size_t>(std::lround(value))]
                               : static_cast<uint32_t>(std::lround(value));
    (*table)[i] = static_cast<uint16_t>(entry << 4 | entry >> 8);
  }
  return m_table = std::move(table);
}

}  // namespace OrvexSim
