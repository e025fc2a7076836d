// SPDX-License-Identifier: Apache-2.0
// What the shared library lets out: the public interface and nothing of its inside.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "tests/Places.h"

namespace {

// Defined dynamic symbols of the library, demangled, without their addresses: "T
// Orvex::OpenSystem()".
std::vector<std::string> ExportedSymbols() {
  const std::string command =
      std::string("nm -DC --defined-only ") + places::sk_binaryDir + "/lib/liborvex.so 2>/dev/null";
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(::popen(command.c_str(), "r"),
                                                             &::pclose);
  std::vector<std::string> symbols;
  std::array<char, 4096> line{};
  while (pipe && std::fgets(line.data(), line.size(), pipe.get()) != nullptr) {
    std::string symbol = line.data();
    symbol = symbol.substr(symbol.find(' ') + 1);
    symbols.push_back(symbol.substr(0, symbol.find('\n')));
  }
  return symbols;
}

TEST(ExportedSymbols, AreThePublicInterface) {
  const std::vector<std::string> symbols = ExportedSymbols();
  if (symbols.empty()) GTEST_SKIP() << "nm is not installed";
  const auto exported = [&](const std::string& name) {
    for (const std::string& symbol : symbols) {
      if (symbol.find(name) != std::string::npos) return true;
    }
    return false;
  };
  for (const char* name :
       {"Orvex::OpenSystem(", "Orvex::CloseSystem(", "Orvex::GetVersion(",
        "Orvex::CalculateMaximumNumberOfBuffers(", "Orvex::ExecuteNode(", "Orvex::GetNodeValue<",
        "Orvex::SetNodeValue<", "Orvex::GetNodeInc<", "Orvex::FeatureStream::Write(",
        "Orvex::DeviceInfo::IpAddressStr(", "Orvex::InterfaceInfo::IpAddressStr(",
        "Orvex::ImageFactory::Convert(", "typeinfo for Orvex::IDevice"}) {
    EXPECT_TRUE(exported(name)) << name << " is missing";
  }
  for (const char* name :
       {"Orvex::System::", "Orvex::Device::StartStream", "Orvex::Interface::", "Orvex::TL",
        "Orvex::ALogger", "Orvex::ThrowGenTL",
        "TavikLog::", "GenTL::", "nlohmann::", "Orvex::Buffer::", "Orvex::Image::"}) {
    EXPECT_FALSE(exported(name)) << name << " is let out";
  }
}

}  // namespace
