#pragma once
// SPDX-License-Identifier: Apache-2.0
// The text form of stored settings: what an entry is, and reading and writing files with one bag or
// several.

#include <GenApi/Persistence.h>

#include <istream>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace OrvexGenApi {

// A feature's value, and the values of its selectors for which it holds, outermost first.
struct FeatureEntry {
  std::string Name;
  std::vector<std::pair<std::string, std::string>> Selectors;
  std::string Value;
  bool operator==(const FeatureEntry&) const = default;
};

struct FeatureBagContent {
  GenICam::gcstring BagName;
  std::string Info;
  std::vector<FeatureEntry> Entries;
};

// Whether a value can stand in a line of text and be read back.
bool IsStorable(const std::string& value);

void WriteBag(std::ostream& os, const FeatureBagContent& bag);
void WriteBags(std::ostream& os, const std::string& info,
               const std::vector<const FeatureBagContent*>& bags);

// Both read to the end of the stream and throw RuntimeException for text that is no such file,
// naming the line.
FeatureBagContent ReadBag(std::istream& is);
std::vector<FeatureBagContent> ReadBags(std::istream& is);

}  // namespace OrvexGenApi

namespace GENAPI_NAMESPACE {

struct CFeatureBag::Impl : OrvexGenApi::FeatureBagContent {};

}  // namespace GENAPI_NAMESPACE
