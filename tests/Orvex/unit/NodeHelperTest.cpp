// SPDX-License-Identifier: Apache-2.0
// Node helpers and feature streams over a small node map in memory.
#include <GenApi/GenApi.h>
#include <GenApi/NodeMapFactory.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <boost/any.hpp>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>

#include "FeatureStream.h"
#include "GenApiCustom.h"
#include "Orvex/NodeMapUtility.h"

namespace {

using namespace Orvex;
using GenICam::gcstring;

constexpr const char* sk_description = R"(<RegisterDescription ModelName="M" VendorName="V"
 StandardNameSpace="None" SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0"
 MajorVersion="1" MinorVersion="0" SubMinorVersion="0"
 ProductGuid="8A2E4A02-4E2B-4C5C-9F5D-0C6A6C3F7E11"
 VersionGuid="3D2B9C9A-7C4C-4F0E-8F43-52C1E5D0B0A2"
 xmlns="http://www.genicam.org/GenApi/Version_1_1">
<Category Name="Root"><pFeature>Integer</pFeature><pFeature>Float</pFeature>
 <pFeature>FloatWithStep</pFeature><pFeature>Boolean</pFeature><pFeature>Enumeration</pFeature>
 <pFeature>Text</pFeature><pFeature>Command</pFeature><pFeature>Bytes</pFeature>
 <pFeature>Hidden</pFeature><pFeature>WriteOnly</pFeature><pFeature>ReadOnly</pFeature></Category>
<Integer Name="Integer"><Streamable>Yes</Streamable><Value>5</Value><Min>-10</Min><Max>20</Max>
 <Inc>5</Inc></Integer>
<Float Name="Float"><Streamable>Yes</Streamable><Value>1.5</Value><Min>0.5</Min><Max>9.5</Max>
</Float>
<Float Name="FloatWithStep"><Value>1.5</Value><Min>0.5</Min><Max>9.5</Max><Inc>0.5</Inc></Float>
<Boolean Name="Boolean"><Value>true</Value></Boolean>
<Enumeration Name="Enumeration"><Streamable>Yes</Streamable>
 <EnumEntry Name="One"><Value>1</Value></EnumEntry>
 <EnumEntry Name="Two"><Value>2</Value></EnumEntry>
 <EnumEntry Name="Three"><pIsAvailable>Zero</pIsAvailable><Value>3</Value></EnumEntry>
 <Value>2</Value></Enumeration>
<String Name="Text"><Value>text</Value></String>
<Command Name="Command"><pValue>Executed</pValue><CommandValue>1</CommandValue></Command>
<Integer Name="Executed"><Value>0</Value></Integer>
<Integer Name="Zero"><Value>0</Value></Integer>
<Register Name="Bytes"><Address>0</Address><Length>4</Length><AccessMode>RW</AccessMode>
 <pPort>Device</pPort><Cachable>NoCache</Cachable></Register>
<Integer Name="Hidden"><pIsAvailable>Zero</pIsAvailable><Value>1</Value></Integer>
<Integer Name="Missing"><pIsImplemented>Zero</pIsImplemented><Value>1</Value></Integer>
<IntReg Name="WriteOnly"><Address>0</Address><Length>4</Length><AccessMode>WO</AccessMode>
 <pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
<IntReg Name="ReadOnly"><Address>0</Address><Length>4</Length><AccessMode>RO</AccessMode>
 <pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
<Port Name="Device"/>
</RegisterDescription>)";

// Four bytes of registers.
class MemoryPort : public GenApi::IPort {
 public:
  GenApi::EAccessMode GetAccessMode() const override { return GenApi::RW; }
  void Read(void* pBuffer, int64_t address, int64_t length) override {
    std::memcpy(pBuffer, bytes.data() + address, static_cast<size_t>(length));
  }
  void Write(const void* pBuffer, int64_t address, int64_t length) override {
    std::memcpy(bytes.data() + address, pBuffer, static_cast<size_t>(length));
  }
  std::array<uint8_t, 4> bytes{1, 2, 3, 4};
};

class NodeHelpers : public testing::Test {
 protected:
  NodeHelpers() {
    GenApi::CNodeMapFactory factory{gcstring(sk_description)};
    m_pOwner.reset(factory.CreateNodeMap());
    m_pMap = m_pOwner.get();
    m_pMap->Connect(&m_port);
  }

  MemoryPort m_port;
  UniqueNodeMap m_pOwner;
  GenApi::INodeMap* m_pMap;
};

std::string Description(const std::function<void()>& action) {
  try {
    action();
    return "";
  } catch (const boost::bad_any_cast&) {
    return "bad_any_cast";
  } catch (const GenICam::GenericException& error) {
    return error.GetDescription();
  }
}

std::string Plain(const char* exceptionClass, const std::string& message, const char* function) {
  return std::string(exceptionClass) + ": " + message + " (GenApiCustom.cpp, " + function + ")";
}

TEST_F(NodeHelpers, ReadAndWriteEachKindInItsOwnType) {
  EXPECT_EQ(GetNodeValue<int64_t>(m_pMap, "Integer"), 5);
  EXPECT_EQ(GetNodeValue<double>(m_pMap, "Float"), 1.5);
  EXPECT_EQ(GetNodeValue<bool>(m_pMap, "Boolean"), true);
  EXPECT_EQ(GetNodeValue<gcstring>(m_pMap, "Text"), "text");
  EXPECT_EQ(GetNodeValue<gcstring>(m_pMap, "Enumeration"), "Two");
  SetNodeValue<int64_t>(m_pMap, "Integer", 15);
  SetNodeValue<double>(m_pMap, "Float", 2.5);
  SetNodeValue<bool>(m_pMap, "Boolean", false);
  SetNodeValue<gcstring>(m_pMap, "Text", "other");
  SetNodeValue<gcstring>(m_pMap, "Enumeration", "One");
  EXPECT_EQ(GetNodeValue<int64_t>(m_pMap, "Integer"), 15);
  EXPECT_EQ(GetNodeValue<double>(m_pMap, "Float"), 2.5);
  EXPECT_EQ(GetNodeValue<bool>(m_pMap, "Boolean"), false);
  EXPECT_EQ(GetNodeValue<gcstring>(m_pMap, "Text"), "other");
  EXPECT_EQ(GetNodeValue<gcstring>(m_pMap, "Enumeration"), "One");
}

// Which type a node's message names; "" where the pair is accepted.
struct TypeRow {
  const char* node;
  const char* nodeType;
  const char* valueType;
};
constexpr TypeRow sk_kinds[] = {
    {"Integer", "GenApi::IInteger", "int64_t"},
    {"Float", "GenApi::IFloat", "double"},
    {"Boolean", "GenApi::IBoolean", "bool"},
    {"Text", "GenApi::IString", "GenICam::gcstring"},
    {"Enumeration", "GenApi::IEnumeration", "GenICam::gcstring"},
};

TEST_F(NodeHelpers, NameTheTypeThatANodeTakes) {
  const auto check = [&](const char* own, auto value) {
    using T = decltype(value);
    for (const TypeRow& row : sk_kinds) {
      const std::string head =
          std::string("Node ") + row.node + " of type " + row.nodeType + " must ";
      std::string reads, writes;
      if (std::strcmp(own, row.valueType) != 0) {
        reads = Plain("InvalidArgumentException", head + "return type " + row.valueType,
                      "GetNodeValue");
        writes =
            Plain("InvalidArgumentException", head + "set type " + row.valueType, "SetNodeValue");
      }
      // Kept on purpose: an enumeration may be asked for as a number, in vain.
      if (std::is_same_v<T, int64_t> && std::strcmp(row.node, "Enumeration") == 0)
        reads = "bad_any_cast";
      EXPECT_EQ(Description([&] { GetNodeValue<T>(m_pMap, row.node); }), reads);
      if (!writes.empty()) {
        EXPECT_EQ(Description([&] { SetNodeValue<T>(m_pMap, row.node, value); }), writes);
      }
    }
    for (const char* other : {"Bytes", "Command"}) {
      EXPECT_EQ(Description([&] { SetNodeValue<T>(m_pMap, other, value); }),
                Plain("LogicalErrorException",
                      std::string("Node ") + other + " unsupported node type", "SetNodeValue"));
    }
  };
  check("int64_t", int64_t{5});
  check("double", 1.5);
  check("bool", true);
  check("GenICam::gcstring", gcstring("x"));
}

struct StateRow {
  const char* node;
  const char* message;  // after the node's name
  bool reading;
};

TEST_F(NodeHelpers, CheckMapNameAndStateInThatOrder) {
  EXPECT_EQ(Description([] { GetNodeValue<bool>(nullptr, ""); }),
            Plain("InvalidArgumentException", "Node map is null", "GetNodeValue"));
  EXPECT_EQ(Description([&] { SetNodeValue<bool>(m_pMap, "", true); }),
            Plain("InvalidArgumentException", "Node name invalid", "SetNodeValue"));
  constexpr StateRow sk_rows[] = {{"Unheard", "not implemented", true},
                                  {"Missing", "not implemented", true},
                                  {"Hidden", "not available", true},
                                  {"WriteOnly", "not readable", true},
                                  {"ReadOnly", "not writable", false}};
  for (const StateRow& row : sk_rows) {
    const std::string message = std::string("Node ") + row.node + " " + row.message;
    if (row.reading) {
      EXPECT_EQ(Description([&] { GetNodeValue<int64_t>(m_pMap, row.node); }),
                Plain("RuntimeException", message, "GetNodeValue"));
      EXPECT_EQ(Description([&] { GetNodeMin<int64_t>(m_pMap, row.node); }),
                Plain("RuntimeException", message, "GetNodeMin"));
    } else {
      EXPECT_EQ(Description([&] { SetNodeValue<int64_t>(m_pMap, row.node, 1); }),
                Plain("RuntimeException", message, "SetNodeValue"));
      EXPECT_EQ(Description([&] { ExecuteNode(m_pMap, row.node); }),
                Plain("RuntimeException", message, "ExecuteNode"));
    }
  }
}

TEST_F(NodeHelpers, TellLimitsInTheNodesOwnType) {
  EXPECT_EQ(GetNodeMin<int64_t>(m_pMap, "Integer"), -10);
  EXPECT_EQ(GetNodeMax<int64_t>(m_pMap, "Integer"), 20);
  EXPECT_EQ(GetNodeInc<int64_t>(m_pMap, "Integer"), 5);
  EXPECT_EQ(GetNodeMin<double>(m_pMap, "Float"), 0.5);
  EXPECT_EQ(GetNodeMax<double>(m_pMap, "Float"), 9.5);
  EXPECT_EQ(GetNodeInc<double>(m_pMap, "FloatWithStep"), 0.5);
  EXPECT_EQ(Description([&] { GetNodeInc<double>(m_pMap, "Float"); }),
            Plain("LogicalErrorException", "Node Float unsupported increment", "GetNodeInc"));
  EXPECT_EQ(Description([&] { GetNodeMin<double>(m_pMap, "Integer"); }), "bad_any_cast");
  EXPECT_EQ(Description([&] { GetNodeMax<int64_t>(m_pMap, "Float"); }), "bad_any_cast");
  EXPECT_EQ(Description([&] { GetNodeMax<int64_t>(m_pMap, "Text"); }),
            Plain("LogicalErrorException", "Node Text unsupported node type", "GetNodeMax"));
}

TEST_F(NodeHelpers, ExecuteCommandsOnly) {
  ExecuteNode(m_pMap, "Command");
  EXPECT_EQ(GetNodeValue<int64_t>(m_pMap, "Executed"), 1);
  EXPECT_EQ(Description([&] { ExecuteNode(m_pMap, "Integer"); }),
            Plain("LogicalErrorException", "Node Integer unsupported node type", "ExecuteNode"));
}

TEST_F(NodeHelpers, ListTheEntriesOfAnEnumerationThatLacksOne) {
  EXPECT_EQ(Description([&] { SetNodeValue<gcstring>(m_pMap, "Enumeration", "Four"); }),
            Plain("LogicalErrorException",
                  "'Four' is invalid EnumEntry. Enumeration valid EnumEntries are:\n"
                  "One\nTwo\nThree\n",
                  "_throwLogicExceptionIfNotValidEnumEntry"));
}

TEST_F(NodeHelpers, ReadAndWriteRegistersByLength) {
  int64_t length = 0;
  GetNodeValue(m_pMap, "Bytes", nullptr, length);
  EXPECT_EQ(length, 4);
  std::array<uint8_t, 8> bytes{};
  length = 8;
  GetNodeValue(m_pMap, "Bytes", bytes.data(), length);
  EXPECT_EQ(length, 4);
  EXPECT_EQ(bytes, (std::array<uint8_t, 8>{1, 2, 3, 4}));
  bytes = {9, 8, 7, 6};
  SetNodeValue(m_pMap, "Bytes", bytes.data(), length);
  EXPECT_EQ(m_port.bytes, (std::array<uint8_t, 4>{9, 8, 7, 6}));

  const auto read = [&](const char* node, int64_t bytesLength) {
    return Description([&] { GetNodeValue(m_pMap, node, bytes.data(), bytesLength); });
  };
  const auto write = [&](const char* node, int64_t bytesLength) {
    const uint8_t* pBytes = bytes.data();
    return Description([&] { SetNodeValue(m_pMap, node, pBytes, bytesLength); });
  };
  const char* invalid = "InvalidArgumentException";
  EXPECT_EQ(read("Bytes", 0),
            Plain(invalid, "Buffer length cannot be zero. Bytes length = 4", "GetNodeValue"));
  EXPECT_EQ(write("Bytes", 0),
            Plain(invalid, "Buffer length cannot be zero. Bytes length = 4", "SetNodeValue"));
  EXPECT_EQ(write("Bytes", 5)
                .rfind("InvalidArgumentException: Buffer length is greater than the "
                       "length of the destination node, ",
                       0),
            0u);
  // Kept on purpose: with a colon here, without one there.
  EXPECT_EQ(read("Integer", 4),
            Plain(invalid, "Unsupported node type: this overload is for GenApi::intfIRegister",
                  "GetNodeValue"));
  EXPECT_EQ(write("Integer", 4),
            Plain(invalid, "Unsupported node type this overload is for GenApi::intfIRegister",
                  "SetNodeValue"));
}

// --- feature streams

class FeatureStreams : public NodeHelpers {
 protected:
  ~FeatureStreams() override { std::filesystem::remove(m_file); }
  std::string Written() const {
    std::stringstream text;
    text << std::ifstream(m_file).rdbuf();
    return text.str();
  }
  std::string m_file = std::filesystem::temp_directory_path() /
                       ("orvex-features-" + std::to_string(::getpid()) + ".txt");
};

TEST_F(FeatureStreams, SaveWhatWasSelectedInThatOrderAndRestoreIt) {
  FeatureStream stream(m_pMap);
  stream << "Float"
         << "Integer";
  stream.Write(m_file.c_str());
  const std::string text = Written();
  EXPECT_EQ(text.rfind(
                "# {05D8C294-F295-4dfb-9D01-096BD04049F4}\n# GenApi persistence file (version ", 0),
            0u);
  EXPECT_LT(text.find("\nFloat\t1.5"), text.find("\nInteger\t5"));
  EXPECT_EQ(text.find("Enumeration"), std::string::npos);
  SetNodeValue<int64_t>(m_pMap, "Integer", 20);
  FeatureStream(m_pMap).Read(m_file.c_str());
  EXPECT_EQ(GetNodeValue<int64_t>(m_pMap, "Integer"), 5);
}

TEST_F(FeatureStreams, SaveAllStreamableFeaturesUnlessSelected) {
  FeatureStream stream(m_pMap);
  EXPECT_EQ(Description([&] { stream.Select("Unheard"); }),
            "InvalidArgumentException: Selected feature Unheard not found (FeatureStream.cpp, "
            "Select)");
  EXPECT_EQ(Description([&] { stream.Select("Command"); }),
            "LogicalErrorException: Selected feature Command not streamable (FeatureStream.cpp, "
            "Select)");
  stream.Write(m_file.c_str());  // failed selections change nothing
  for (const char* name : {"Integer", "Float", "Enumeration"})
    EXPECT_NE(Written().find(name), std::string::npos) << name;
  EXPECT_EQ(Written().find("Boolean"), std::string::npos);
}

TEST_F(FeatureStreams, RefuseFilesOfOthers) {
  std::ofstream(m_file) << "Integer 5\n";
  EXPECT_NE(
      Description([&] { FeatureStream(m_pMap).Read(m_file.c_str()); })
          .find("The stream is not a GenApi feature stream since it is missing the magic GUID "
                "in the first line"),
      std::string::npos);
  std::ofstream(m_file, std::ios::trunc).close();
  EXPECT_NE(
      Description([&] { FeatureStream(m_pMap).Read(m_file.c_str()); }).find("The stream is eof"),
      std::string::npos);
}

}  // namespace
