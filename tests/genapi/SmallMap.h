#pragma once
// SPDX-License-Identifier: Apache-2.0
// A node map made from a few lines of description, over a memory that the test can look into. For
// tests; one thread.
#include <Base/GCException.h>
#include <GenApi/IPort.h>
#include <GenApi/NodeMapFactory.h>
#include <GenApi/NodeMapRef.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace OrvexTest {

// Memory behind a map's registers, zero where nothing was written. Big enough for any address.
class MemoryPort : public GenApi::IPort {
 public:
  GenApi::EAccessMode GetAccessMode() const override { return GenApi::RW; }
  void Read(void* pBuffer, int64_t Address, int64_t Length) override {
    for (int64_t i = 0; i < Length; ++i) {
      const auto found = Bytes.find(At(Address, i));
      static_cast<uint8_t*>(pBuffer)[i] = found == Bytes.end() ? 0 : found->second;
    }
  }
  void Write(const void* pBuffer, int64_t Address, int64_t Length) override {
    Writes.push_back(Address);
    if (Address == Refused) throw RUNTIME_EXCEPTION("the device refuses");
    if (Address == Stuck) return;
    for (int64_t i = 0; i < Length; ++i)
      Bytes[At(Address, i)] = static_cast<const uint8_t*>(pBuffer)[i];
  }

  // Addresses run round.
  static int64_t At(int64_t address, int64_t i) { return int64_t(uint64_t(address) + uint64_t(i)); }

  std::map<int64_t, uint8_t> Bytes;
  std::vector<int64_t> Writes;
  int64_t Refused = -1;  // writes to this address fail
  int64_t Stuck = -1;    // writes to this address have no effect
};

inline GenICam::gcstring Describe(const std::string& nodes) {
  return ("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
          "<RegisterDescription ModelName=\"Small\" VendorName=\"Test\" StandardNameSpace=\"None\" "
          "SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\" "
          "MajorVersion=\"1\" MinorVersion=\"0\" SubMinorVersion=\"0\" "
          "ProductGuid=\"00000000-0000-0000-0000-000000000001\" "
          "VersionGuid=\"00000000-0000-0000-0000-000000000002\" "
          "xmlns=\"http://www.genicam.org/GenApi/Version_1_1\">\n" +
          nodes + "\n</RegisterDescription>\n")
      .c_str();
}

// A map over the nodes, and the port "Device" behind it if the nodes have one.
struct SmallMap {
  explicit SmallMap(const std::string& nodes) {
    Map._LoadXMLFromString(Describe(nodes));
    if (Map._GetNode("Device")) Map._Connect(&Port);
  }
  template <class Interface>
  Interface& Get(const char* pName) const {
    auto* pNode = dynamic_cast<Interface*>(Map._GetNode(pName));
    if (!pNode) throw RUNTIME_EXCEPTION("no node %s of that kind", pName);
    return *pNode;
  }
  std::string Text(const char* pName) const {
    return Get<GenApi::IValue>(pName).ToString().c_str();
  }
  void Set(const char* pName, const char* pText) const {
    Get<GenApi::IValue>(pName).FromString(pText);
  }

  MemoryPort Port;  // must outlive the map
  GenApi::CNodeMapRef Map;
};

}  // namespace OrvexTest
