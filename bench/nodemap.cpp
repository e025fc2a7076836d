// SPDX-License-Identifier: Apache-2.0
// Speed and memory of node maps through the published interface: loading, reading, formulas,
// writing. The marks of comparison are those of another engine on a machine of the same class.
#include <GenApi/GenApi.h>
#include <GenApi/NodeMapFactory.h>
#include <malloc.h>

#include <cstring>
#include <memory>

#include "bench/Rows.h"

namespace {

using namespace GenApi;
using Bench::Clock;
using Bench::Seconds;

// Registers of a device that answers at once.
class ConstantPort : public IPort {
 public:
  EAccessMode GetAccessMode() const override { return RW; }
  void Read(void* pBuffer, int64_t, int64_t Length) override {
    std::memset(pBuffer, 1, static_cast<size_t>(Length));
  }
  void Write(const void*, int64_t, int64_t) override {}
};

struct MapDelete {
  void operator()(INodeMap* p) const { CastToIDestroy(p)->Destroy(); }
};
using UniqueMap = std::unique_ptr<INodeMap, MapDelete>;

UniqueMap Load(const std::string& text) {
  CNodeMapFactory factory(ContentType_Xml, text.data(), text.size());
  return UniqueMap(factory.CreateNodeMap());
}

std::string Decompress(const std::string& path) {
  std::string text;
  FILE* pipe = popen(("xz -dc '" + path + "'").c_str(), "r");
  if (pipe == nullptr) return text;
  char block[65536];
  while (const size_t got = std::fread(block, 1, sizeof block, pipe)) text.append(block, got);
  pclose(pipe);
  return text;
}

std::string Describe(const std::string& nodes) {
  return "<RegisterDescription ModelName=\"M\" VendorName=\"V\" StandardNameSpace=\"None\" "
         "SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\" "
         "MajorVersion=\"1\" MinorVersion=\"0\" SubMinorVersion=\"0\" ProductGuid=\"0\" "
         "VersionGuid=\"0\">"
         "<Port Name=\"Device\"/>" +
         nodes + "</RegisterDescription>";
}

std::string Register(const std::string& name, const std::string& address) {
  return "<IntReg Name=\"" + name + "\"><Address>" + address +
         "</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>"
         "<Endianess>BigEndian</Endianess></IntReg>";
}

// A camera of so many features, each over a register, with a bound from a formula.
std::string ManyNodes(int features) {
  std::string nodes;
  for (int i = 0; i < features; ++i) {
    const std::string n = std::to_string(i);
    nodes += Register("R" + n, std::to_string(i * 4)) + "<Integer Name=\"I" + n +
             "\"><ToolTip>Feature number " + n + "</ToolTip><pValue>R" + n + "</pValue><pMax>S" +
             n + "</pMax></Integer><IntSwissKnife Name=\"S" + n + "\"><pVariable Name=\"X\">I" +
             std::to_string((i * 7) % features) +
             "</pVariable><Formula>X * 2 + 1</Formula></IntSwissKnife>";
  }
  return Describe(nodes);
}

// The best of several runs: what the machine does beside only ever adds.
template <class Work>
double Best(int runs, Work work) {
  double best = 1e9;
  for (int i = 0; i < runs; ++i) best = std::min(best, Seconds(work, Clock::Thread));
  return best;
}

// Nanoseconds of one call.
template <class Call>
double Each(int calls, Call call) {
  return Best(5,
              [&] {
                for (int i = 0; i < calls; ++i) call(i);
              }) /
         calls * 1e9;
}

void Loading(Bench::Rows& rows, const std::string& text) {
  struct Kept {
    UniqueMap map;
  } kept;
  const double seconds = Best(15, [&] { kept.map = Load(text); });
  kept.map.reset();
  rows.Add("load a description of 974 KB", seconds * 1e3, "ms", "limit 15 ms", 15e-3 / seconds, 1);
  rows.Add("the same", seconds * 1e3, "ms", "another engine, 90 ms", 90e-3 / seconds);

  malloc_trim(0);
  const auto heap = [] {
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd);
  };
  const double before = heap();
  kept.map = Load(text);
  const double times = (heap() - before) / static_cast<double>(text.size());
  rows.Add("memory of its map, in sizes of the file", times, "x", "limit 12", 12 / times, 1);
  kept.map.reset();

  const std::string small = ManyNodes(1000);
  const std::string large = ManyNodes(10000);
  // Both in memory fresh from the system, as the first load of a program is: left alone, only the
  // small one would find its memory still there from the run before.
  const auto fresh = [&](const std::string& description) {
    double best = 1e9;
    for (int i = 0; i < 15; ++i) {
      kept.map.reset();
      malloc_trim(0);
      best = std::min(best, Seconds([&] { kept.map = Load(description); }, Clock::Thread));
    }
    return best;
  };
  const double one = fresh(small);
  const double ten = fresh(large);
  rows.Add("load 3,000 nodes", one * 1e3, "ms");
  rows.Add("load 30,000 nodes", ten * 1e3, "ms", "11 times 3,000 nodes", 11 * one / ten, 1);
}

void Access(Bench::Rows& rows) {
  std::string nodes = Register("R", "0") + "<Integer Name=\"I\"><pValue>R</pValue></Integer>";
  std::string variables;
  for (int i = 0; i < 5; ++i) {
    const std::string n = std::to_string(i);
    nodes += "<Integer Name=\"V" + n + "\"><Value>" + n + "</Value></Integer>";
    variables += "<pVariable Name=\"A" + n + "\">V" + n + "</pVariable>";
  }
  nodes +=
      "<SwissKnife Name=\"K\">" + variables +
      "<Formula>(A0 + A1 * 2.5) / (A2 + 1) - A3 * A4 + (A1 &gt; 2 ? A2 : A3)</Formula></SwissKnife>"
      "";
  for (int i = 0; i < 20; ++i) {
    nodes += "<IntSwissKnife Name=\"D" + std::to_string(i) +
             "\"><pVariable Name=\"X\">I</pVariable><Formula>X + 1</Formula></IntSwissKnife>";
  }
  const UniqueMap map = Load(Describe(nodes));
  ConstantPort port;
  map->Connect(&port);
  CIntegerPtr integer = map->GetNode("I");
  CFloatPtr knife = map->GetNode("K");
  IInteger* pInteger = integer;
  IFloat* pKnife = knife;
  volatile double sink = 0;

  const double read = Each(1000000, [&](int) { sink = static_cast<double>(pInteger->GetValue()); });
  rows.Add("read a cached integer", read, "ns", "limit 60 ns", 60 / read, 1);
  rows.Add("the same", read, "ns", "another engine, 130 ns", 130 / read);

  // One input of the five changes each time; what the write alone costs is taken off.
  CIntegerPtr input = map->GetNode("V3");
  const double write = Each(300000, [&](int i) { input->SetValue(i & 7, false); });
  const double both = Each(300000, [&](int i) {
    input->SetValue(i & 7, false);
    sink = pKnife->GetValue();
  });
  rows.Add("evaluate a formula of five variables", both - write, "ns", "limit 300 ns",
           300 / (both - write), 1);

  for (int i = 0; i < 20; ++i) {
    CIntegerPtr(map->GetNode(std::string("D").append(std::to_string(i)).c_str()))->GetValue();
  }
  const double set = Each(300000, [&](int i) { pInteger->SetValue(i & 0xffff); });
  rows.Add("set an integer with twenty dependants", set, "ns", "limit 2,000 ns", 2000 / set, 1);
}

}  // namespace

int main(int argc, char** argv) {
  Bench::Rows rows("nodemap", argc > 1 ? argv[1] : nullptr);
  const std::string text = Decompress(std::string(ORVEX_SOURCE_DIR) +
                                      "/tests/data/descriptions/flir_bfs_pge_13y3c.xml.xz");
  if (text.empty()) {
    std::fprintf(stderr, "the description cannot be read (is xz there?)\n");
    return 1;
  }
  Loading(rows, text);
  Access(rows);
  return 0;
}
