// SPDX-License-Identifier: Apache-2.0
// Device files as streams, and value arrays, over a small scripted device.
#include <GenApi/Filestream.h>
#include <GenApi/GenApi.h>
#include <GenApi/ValueArrayAdapter.h>
#include <gtest/gtest.h>

#include <cstring>

#include "SmallMap.h"

namespace {

using OrvexTest::SmallMap;

constexpr int64_t sk_operation = 4, sk_mode = 8, sk_execute = 12, sk_offset = 16, sk_length = 20,
                  sk_status = 24, sk_result = 28, sk_size = 32, sk_selector = 0, sk_buffer = 64;
constexpr int sk_bufferBytes = 8;

// A device with one file: executes operations when the execute register is written. Registers are
// little-endian.
class FileDevice : public OrvexTest::MemoryPort {
 public:
  void Write(const void* pBuffer, int64_t Address, int64_t Length) override {
    MemoryPort::Write(pBuffer, Address, Length);
    if (Address == sk_execute) Execute();
  }

  std::string File;
  std::string Log;
  bool IsFull = false;

 private:
  uint32_t Number(int64_t address) {
    uint8_t b[4];
    Read(b, address, 4);
    return b[0] | b[1] << 8 | b[2] << 16 | uint32_t(b[3]) << 24;
  }
  void SetNumber(int64_t address, uint32_t value) {
    for (int i = 0; i < 4; ++i) Bytes[address + i] = uint8_t(value >> (8 * i));
  }
  void Execute() {
    const size_t offset = Number(sk_offset);
    const size_t length = Number(sk_length);
    bool isGood = true;
    uint32_t moved = 0;
    switch (Number(sk_operation)) {
      case 0:
        isGood = !m_isOpen && Number(sk_selector) == 1;
        m_isOpen = m_isOpen || isGood;
        if (isGood && Number(sk_mode) == 1) File.clear();
        Log += "open" + std::to_string(Number(sk_mode)) + " ";
        break;
      case 1:
        isGood = m_isOpen;
        m_isOpen = false;
        Log += "close ";
        break;
      case 2:
        isGood = m_isOpen && offset + length <= File.size() && length <= sk_bufferBytes;
        for (size_t i = 0; isGood && i < length; ++i)
          Bytes[sk_buffer + int64_t(i)] = uint8_t(File[offset + i]);
        moved = isGood ? uint32_t(length) : 0;
        Log += "read" + std::to_string(length) + " ";
        break;
      case 3:
        isGood = m_isOpen && !IsFull && length <= sk_bufferBytes && offset == File.size();
        for (size_t i = 0; isGood && i < length; ++i) File += char(Bytes[sk_buffer + int64_t(i)]);
        moved = isGood ? uint32_t(length) : 0;
        Log += "write" + std::to_string(length) + " ";
        break;
      default:
        File.clear();
        Log += "delete ";
    }
    SetNumber(sk_execute, 0);
    SetNumber(sk_status, isGood ? 0 : 1);
    SetNumber(sk_result, moved);
    SetNumber(sk_size, uint32_t(File.size()));
  }
  bool m_isOpen = false;
};

std::string Register(const std::string& name, int64_t address, const char* pAccess,
                     const char* pMore = "") {
  return "<IntReg Name=\"" + name + "\"><Address>" + std::to_string(address) +
         "</Address><Length>4</Length><AccessMode>" + pAccess +
         "</AccessMode><pPort>FilePort</pPort><Cachable>NoCache</Cachable><Endianess>LittleEndian</"
         "Endianess>" +
         pMore + "</IntReg>\n";
}

std::string Choice(const std::string& name, int64_t address,
                   std::initializer_list<const char*> entries) {
  std::string text = "<Enumeration Name=\"" + name + "\">";
  int value = 0;
  for (const char* pEntry : entries) {
    text += "<EnumEntry Name=\"" + std::string(pEntry) + "\"><Value>" + std::to_string(value++) +
            "</Value></EnumEntry>";
  }
  return text + "<pValue>" + name + "Reg</pValue></Enumeration>\n" +
         Register(name + "Reg", address, "RW");
}

const std::string sk_nodes =
    "<Category Name=\"Root\"><pFeature>FileSelector</pFeature></Category>\n<Port "
    "Name=\"FilePort\"/>\n" +
    Choice("FileSelector", sk_selector, {"Locked", "UserFile"}) +
    Choice("FileOperationSelector", sk_operation, {"Open", "Close", "Read", "Write", "Delete"}) +
    Choice("FileOpenMode", sk_mode, {"Read", "Write", "ReadWrite"}) +
    Choice("FileOperationStatus", sk_status, {"Success", "Failure"}) +
    "<Command "
    "Name=\"FileOperationExecute\"><pValue>ExecuteReg</pValue><CommandValue>1</CommandValue></"
    "Command>\n" +
    Register("ExecuteReg", sk_execute, "RW") + Register("FileAccessOffset", sk_offset, "RW") +
    Register("FileAccessLength", sk_length, "RW") +
    Register("FileOperationResult", sk_result, "RO") + Register("FileSize", sk_size, "RO") +
    "<Register "
    "Name=\"FileAccessBuffer\"><Address>64</Address><Length>8</Length><AccessMode>RW</AccessMode>"
    "<pPort>FilePort</pPort></Register>\n";

class DeviceFile : public testing::Test {
 protected:
  DeviceFile() { map.Map._Connect(&device, "FilePort"); }
  GenApi::INodeMap* Map() { return map.Map._Ptr; }

  FileDevice device;  // outlives the map
  SmallMap map{sk_nodes};
};

const char* const sk_text = "twenty-one characters";

TEST_F(DeviceFile, IsWrittenInBlocksOfTheDevicesBuffer) {
  GenApi::ODevFileStream file(Map(), "UserFile");
  ASSERT_TRUE(file.is_open());
  file << sk_text;
  file.close();
  EXPECT_TRUE(file.good());
  EXPECT_EQ(device.File, sk_text);
  EXPECT_EQ(device.Log, "open1 write8 write8 write5 close ");
}

TEST_F(DeviceFile, IsReadUpToItsEndAndNotBeyond) {
  device.File = sk_text;
  device.Bytes[sk_size] = uint8_t(device.File.size());
  GenApi::IDevFileStream file(Map(), "UserFile");
  ASSERT_TRUE(file.is_open());
  std::string word;
  std::string rest;
  file >> word;
  std::getline(file, rest);
  EXPECT_EQ(word + rest, sk_text);
  EXPECT_TRUE(file.eof());
  file.close();
  EXPECT_EQ(device.Log, "open0 read8 read8 read5 close ");
}

TEST_F(DeviceFile, ThatCannotBeOpenedFailsTheStream) {
  for (const char* pName : {"Locked", "NoSuchFile"}) {
    GenApi::IDevFileStream file(Map(), pName);
    EXPECT_TRUE(file.fail() && !file.is_open()) << pName;
  }
  EXPECT_EQ(device.Log, "open0 ");
}

TEST_F(DeviceFile, ThatIsFullFailsTheStreamInTheEnd) {
  GenApi::ODevFileStream file(Map(), "UserFile");
  device.IsFull = true;
  file << "abc";
  EXPECT_TRUE(file.good());
  file.flush();
  EXPECT_TRUE(file.bad());
  file.close();
  EXPECT_EQ(device.File, "");
}

TEST_F(DeviceFile, IsClosedWithItsStream) {
  { GenApi::ODevFileStream file(Map(), "UserFile"); }
  EXPECT_EQ(device.Log, "open1 close ");
  GenApi::FileProtocolAdapter adapter;
  ASSERT_TRUE(adapter.attach(Map()));
  EXPECT_TRUE(adapter.deleteFile("UserFile"));
  EXPECT_FALSE(adapter.deleteFile("NoSuchFile"));
}

TEST_F(DeviceFile, NeedsAllFileFeatures) {
  SmallMap other("<Category Name=\"Root\"/>");
  GenApi::FileProtocolAdapter adapter;
  EXPECT_FALSE(adapter.attach(other.Map._Ptr));
  EXPECT_FALSE(adapter.attach(nullptr));
  EXPECT_THROW(adapter.openFile("UserFile", std::ios_base::in), GenICam::LogicalErrorException);
  EXPECT_FALSE(GenApi::IDevFileStream(other.Map._Ptr, "UserFile").is_open());
}

const char* const sk_arrayNodes = R"(
<Category Name="Root"><pFeature>Index</pFeature><pFeature>Value</pFeature><pFeature>Gain</pFeature></Category>
<Integer Name="Index"><Value>6</Value><Min>2</Min><Max>8</Max><Inc>2</Inc><pSelected>Value</pSelected></Integer>
<IntReg Name="Value"><pIndex Offset="4">Index</pIndex><Length>4</Length><AccessMode>RO</AccessMode><pPort>Device</pPort>
  <Endianess>LittleEndian</Endianess></IntReg>
<Integer Name="Gain"><Value>1</Value></Integer>
<String Name="ValueArrayCandidates"><Value>Other[Index], Value[Index] # Gain[Index]</Value></String>
<Port Name="Device"/>
)";

TEST(ValueArray, SweepsTheSelectorAndPutsItBack) {
  SmallMap map(sk_arrayNodes);
  for (int i = 0; i < 10; ++i) map.Port.Bytes[4 * i] = uint8_t(100 + i);
  auto& index = map.Get<GenApi::IInteger>("Index");
  GenApi::CIntegerValueArray array(&map.Get<GenApi::IInteger>("Value"), &index);
  ASSERT_TRUE(array.IsValid());
  EXPECT_EQ(array.GetAllValues(), (std::vector<int64_t>{102, 104, 106, 108}));
  EXPECT_EQ(index.GetValue(), 6);
}

TEST(ValueArray, TakesOnlyPairsThatBelongTogether) {
  SmallMap map(sk_arrayNodes);
  auto& index = map.Get<GenApi::IInteger>("Index");
  auto& value = map.Get<GenApi::IInteger>("Value");
  auto& gain = map.Get<GenApi::IInteger>("Gain");
  GenApi::CIntegerValueArray array(&gain, &index);
  EXPECT_FALSE(array.IsValid());
  EXPECT_THROW(array.GetAllValues(), GenICam::LogicalErrorException);
  EXPECT_TRUE(GenApi::CIntegerValueArray::CheckAdvertisedCompatibility(&value, &index));
  EXPECT_FALSE(GenApi::CIntegerValueArray::CheckAdvertisedCompatibility(&gain, &index));
}

}  // namespace
