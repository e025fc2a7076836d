// SPDX-License-Identifier: Apache-2.0
// The map around the nodes: callbacks, what nodes tell about themselves, merging and cutting
// descriptions, many threads.
#include <GenApi/GenApi.h>
#include <GenApi/NodeMapFactory.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "Script.h"

namespace OrvexTest {
namespace {

using namespace GenApi;
using GenICam::gcstring;

const std::string s_big = "<Endianess>BigEndian</Endianess>";

std::string Over(const char* name, const char* target) {
  return Node("Integer", name, std::string("<pValue>") + target + "</pValue>");
}

// ---- callbacks ----

// Writes down which callbacks fire.
struct Listener {
  explicit Listener(SmallMap& small) : Small(small) {}
  void On(const char* node, ECallbackType type) {
    Handles.push_back(Register(
        Small.Map._GetNode(node),
        [this, type](INode* changed) {
          Heard += std::string(changed->GetName().c_str()) +
                   (type == cbPostInsideLock ? " in; " : " out; ");
        },
        type));
  }
  std::string Take() { return std::exchange(Heard, std::string()); }

  SmallMap& Small;
  std::string Heard;
  std::vector<CallbackHandleType> Handles;
};

TEST(Callbacks, FireOncePerChangeInsideFirstAndOutsideAfter) {
  SmallMap small(Port() + Reg("IntReg", "R", "0", 4, s_big) + Over("A", "R") + Over("B", "R") +
                 Node("IntSwissKnife", "K",
                      "<pVariable Name=\"A\">A</pVariable><pVariable "
                      "Name=\"B\">B</pVariable><Formula>A + B</Formula>"));
  Listener listener(small);
  listener.On("K", cbPostOutsideLock);
  listener.On("K", cbPostInsideLock);
  listener.On("A", cbPostInsideLock);
  small.Set("B", "5");
  EXPECT_EQ(listener.Take(), "A in; K in; K out; ");
  small.Get<INode>("R").InvalidateNode();
  EXPECT_EQ(listener.Take(), "A in; K in; K out; ");
  small.Text("K");
  EXPECT_EQ(listener.Take(), "");
  Deregister(listener.Handles[1]);
  small.Set("A", "5");
  EXPECT_EQ(listener.Take(), "A in; K out; ");
  EXPECT_FALSE(small.Get<INode>("A").DeregisterCallback(12345));
}

TEST(Callbacks, MayReadAndWriteNodes) {
  SmallMap small(Node("Integer", "A", "<Value>0</Value>") +
                 Node("Integer", "B", "<Value>0</Value>"));
  int calls = 0;
  Register(small.Map._GetNode("A"), [&](INode*) {
    small.Set("B", small.Text("A").c_str());
    ++calls;
  });
  Register(
      small.Map._GetNode("B"), [&](INode*) { ++calls; }, cbPostOutsideLock);
  small.Set("A", "7");
  EXPECT_EQ(small.Text("B"), "7");
  EXPECT_EQ(calls, 2);
}

TEST(Callbacks, TellOfAccessModesAndBounds) {
  SmallMap small(Node("Integer", "Lck", "<Value>0</Value>") +
                 Node("Integer", "Max", "<Value>9</Value>") +
                 Node("Integer", "I", "<Value>1</Value><pIsLocked>Lck</pIsLocked>") +
                 Node("Integer", "J", "<Value>1</Value><pMax>Max</pMax>"));
  Listener listener(small);
  listener.On("I", cbPostInsideLock);
  listener.On("J", cbPostInsideLock);
  small.Set("Lck", "1");
  EXPECT_EQ(listener.Take(), "I in; ");
  small.Set("Max", "5");
  EXPECT_EQ(listener.Take(), "J in; ");
  small.Get<INode>("J").ImposeAccessMode(RO);
  EXPECT_EQ(listener.Take(), "J in; ");
  EXPECT_EQ(small.Get<INode>("J").GetAccessMode(), RO);
}

TEST(Callbacks, AreGatheredWhileTheyAreSuppressed) {
  SmallMap small(Node("Integer", "A", "<Value>0</Value>"));
  Listener listener(small);
  listener.On("A", cbPostInsideLock);
  small.Map._SetSuppressCallbackMode(csmOnce);
  small.Set("A", "1");
  small.Set("A", "2");
  EXPECT_EQ(listener.Take(), "");
  small.Map._SetSuppressCallbackMode(csmOff);
  EXPECT_EQ(listener.Take(), "A in; ");
}

TEST(Callbacks, FireForTheNodesOfAFailedWriteAndTheFailureIsReported) {
  SmallMap small(Port() + Reg("IntReg", "A", "0", 4, s_big) + Reg("IntReg", "B", "4", 4, s_big) +
                 Node("Integer", "Both", "<pValue>A</pValue><pValueCopy>B</pValueCopy>"));
  small.Port.Refused = 4;
  Listener listener(small);
  listener.On("Both", cbPostInsideLock);
  EXPECT_THROW(small.Set("Both", "1"), GenICam::RuntimeException);
  EXPECT_EQ(listener.Take(), "Both in; ");
}

// ---- what nodes tell about themselves ----

TEST(NodeInfo, NamesTextsAndProperties) {
  SmallMap small(
      "<Integer Name=\"I\" "
      "NameSpace=\"Standard\"><ToolTip>tip</ToolTip><Description>long</Description>"
      "<DisplayName>Shown</DisplayName><DocuURL>http://x/y</DocuURL><IsDeprecated>Yes</"
      "IsDeprecated>"
      "<EventID>9A01</EventID><pInvalidator>J</pInvalidator><pInvalidator>K</"
      "pInvalidator><Streamable>Yes</Streamable>"
      "<Value>1</Value></Integer>"
      "<Integer Name=\"J\"><pAlias>I</pAlias><pCastAlias>K</pCastAlias><Value>1</Value></Integer>"
      "<Integer Name=\"K\"><Value>1</Value></Integer><Category "
      "Name=\"Root\"><pFeature>I</pFeature></Category>");
  INode& i = small.Get<INode>("I");
  EXPECT_EQ(i.GetName(true), "Std::I");
  EXPECT_EQ(small.Get<INode>("J").GetName(true), "Cust::J");
  EXPECT_EQ(small.Map._GetNode("Std::I"), &i);
  EXPECT_EQ(small.Map._GetNode("Cust::I"), nullptr);
  EXPECT_EQ(i.GetToolTip(), "tip");
  EXPECT_EQ(i.GetDescription(), "long");
  EXPECT_EQ(i.GetDisplayName(), "Shown");
  EXPECT_EQ(small.Get<INode>("J").GetDisplayName(), "J");
  EXPECT_EQ(i.GetDocuURL(), "http://x/y");
  EXPECT_EQ(i.GetEventID(), "9A01");
  EXPECT_TRUE(i.IsDeprecated() && i.IsStreamable() && i.IsFeature());
  EXPECT_FALSE(small.Get<INode>("J").IsFeature());
  EXPECT_EQ(small.Get<INode>("J").GetAlias(), &i);
  EXPECT_EQ(small.Get<INode>("J").GetCastAlias(), small.Map._GetNode("K"));
  EXPECT_EQ(i.GetPollingTime(), -1);

  gcstring value;
  gcstring attribute;
  EXPECT_TRUE(i.GetProperty("pInvalidator", value, attribute));
  EXPECT_EQ(value, "J\tK");
  EXPECT_TRUE(i.GetProperty("NameSpace", value, attribute));
  EXPECT_EQ(value, "Standard");
  EXPECT_FALSE(i.GetProperty("pMax", value, attribute));
  GenICam::gcstring_vector names;
  i.GetPropertyNames(names);
  EXPECT_TRUE(names.contains("EventID"));
  EXPECT_FALSE(names.contains("pMax"));
}

std::string Names(const NodeList_t& nodes) {
  std::string text;
  for (size_t k = 0; k < nodes.size(); ++k) text += std::string(nodes[k]->GetName().c_str()) + " ";
  return text;
}

TEST(NodeInfo, NeighboursByKindOfLink) {
  SmallMap small(Port() + Reg("IntReg", "R", "0", 4, s_big + "<pInvalidator>Go</pInvalidator>") +
                 Node("Integer", "Go", "<Value>0</Value>") +
                 Node("Integer", "A", "<pValue>R</pValue><pMax>Go</pMax>") + Over("B", "A"));
  const auto children = [&](const char* node, ELinkType type) {
    NodeList_t list;
    small.Get<INode>(node).GetChildren(list, type);
    return Names(list);
  };
  EXPECT_EQ(children("A", ctReadingChildren), "R Go ");
  EXPECT_EQ(children("A", ctWritingChildren), "R ");
  EXPECT_EQ(children("R", ctInvalidatingChildren), "Go ");
  EXPECT_EQ(children("B", ctTerminalNodes), "R ");
  EXPECT_EQ(children("R", ctParentNodes), "A ");
  EXPECT_EQ(children("R", ctDependingNodes), "A B ");
}

TEST(NodeInfo, ImposedBoundsOnlyNarrow) {
  SmallMap small(Node("Integer", "I", "<Value>5</Value><Min>0</Min><Max>10</Max>") +
                 Node("Float", "F", "<Value>5</Value><Min>0</Min><Max>10</Max>"));
  auto& i = small.Get<IInteger>("I");
  i.ImposeMin(3);
  i.ImposeMax(100);
  EXPECT_EQ(i.GetMin(), 3);
  EXPECT_EQ(i.GetMax(), 10);
  EXPECT_THROW(i.SetValue(2), GenICam::OutOfRangeException);
  auto& f = small.Get<IFloat>("F");
  f.ImposeMax(7.5);
  f.ImposeMin(-1);
  EXPECT_EQ(f.GetMax(), 7.5);
  EXPECT_EQ(f.GetMin(), 0);
}

TEST(NodeInfo, BadFormulasAreListed) {
  SmallMap small(Node("IntSwissKnife", "Good", "<Formula>1</Formula>") +
                 Node("SwissKnife", "Bad", "<Formula>1 + (2</Formula>"));
  GenICam::gcstring_vector errors;
  EXPECT_FALSE(small.Map._ParseSwissKnifes(&errors));
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_NE(errors[0].find("Bad"), gcstring::npos);
  EXPECT_NE(errors[0].find("')' expected"), gcstring::npos);
}

TEST(NodeMap, ConnectFindsThePort) {
  SmallMap small(Port() + Port("Other"));
  MemoryPort port;
  EXPECT_TRUE(small.Map._Connect(&port, "Other"));
  EXPECT_FALSE(small.Map._Connect(&port, "Missing"));
  EXPECT_EQ(small.Get<INode>("Other").GetAccessMode(), RW);
}

TEST(NodeMap, UsesTheCallersLock) {
  const std::string text = Describe(Node("Integer", "I", "<Value>1</Value>")).c_str();
  CLock lock;
  CNodeMapFactory factory(ContentType_Xml, text.data(), text.size());
  INodeMap* map = factory.CreateNodeMap(lock, "Cam");
  EXPECT_EQ(&map->GetLock(), &lock);
  EXPECT_EQ(map->GetDeviceName(), "Cam");
  CastToIDestroy(map)->Destroy();
}

// ---- descriptions as a whole ----

CNodeMapFactory Factory(const std::string& nodes) {
  return CNodeMapFactory(Describe(nodes));
}

TEST(Merging, TakesWhatBothHave) {
  CNodeMapFactory target = Factory(
      "<Category Name=\"Root\"><pFeature>A</pFeature></Category>"
      "<Integer Name=\"A\"><Value>1</Value></Integer><Integer Name=\"C\"><Value>1</Value></Integer>"
      "<Integer Name=\"D\" MergePriority=\"1\"><Value>1</Value></Integer>");
  CNodeMapFactory inject = Factory(
      "<Category Name=\"Root\"><pFeature>A</pFeature><pFeature>B</pFeature></Category>"
      "<Integer Name=\"B\"><Value>2</Value></Integer>"
      "<Integer Name=\"C\" MergePriority=\"1\"><Value>2</Value></Integer><Integer "
      "Name=\"D\"><Value>2</Value></Integer>");
  target.AddInjectionData(inject);
  target.LoadAndInject();
  CNodeMapRef map(target.CreateNodeMap());
  const auto value = [&](const char* name) { return CIntegerPtr(map._GetNode(name))->GetValue(); };
  EXPECT_EQ(value("A"), 1);
  EXPECT_EQ(value("B"), 2);
  EXPECT_EQ(value("C"), 2);
  EXPECT_EQ(value("D"), 1);
  FeatureList_t features;
  CCategoryPtr(map._GetNode("Root"))->GetFeatures(features);
  EXPECT_EQ(features.size(), 2u);
}

TEST(Merging, RefusesNodesThatBothClaim) {
  CNodeMapFactory target = Factory("<Integer Name=\"A\"><Value>1</Value></Integer>");
  CNodeMapFactory inject = Factory("<Integer Name=\"A\"><Value>2</Value></Integer>");
  target.AddInjectionData(inject);
  EXPECT_THROW(target.LoadAndInject(), GenICam::PropertyException);
}

TEST(Subtree, HoldsWhatTheNodeNeedsAndNothingElse) {
  CNodeMapFactory whole = Factory(
      Port() + Reg("IntReg", "R", "0", 4, s_big + "<pIndex pOffset=\"Step\">Sel</pIndex>") +
      Over("Wanted", "R") + Node("Integer", "Step", "<Value>4</Value>") +
      Node("Integer", "Sel", "<Value>0</Value>") + Node("Integer", "Other", "<Value>0</Value>"));
  CNodeMapFactory part = whole.ExtractSubtree("Wanted");
  CNodeMapRef map(part.CreateNodeMap());
  for (const char* name : {"Wanted", "R", "Step", "Sel", "Device"})
    EXPECT_NE(map._GetNode(name), nullptr) << name;
  EXPECT_EQ(map._GetNode("Other"), nullptr);
  EXPECT_THROW(whole.ExtractSubtree("Missing"), GenICam::InvalidArgumentException);
}

TEST(Factory, TextRoundTrip) {
  CNodeMapFactory first =
      Factory(Node("Integer", "A", "<ToolTip>a &lt; b &amp; c</ToolTip><Value>5</Value>"));
  CNodeMapFactory second(first.ToXml());
  CNodeMapRef map(second.CreateNodeMap());
  EXPECT_EQ(CIntegerPtr(map._GetNode("A"))->GetValue(), 5);
  EXPECT_EQ(map._GetNode("A")->GetToolTip(), "a < b & c");
  NodeStatistics_t statistics;
  second.GetNodeStatistics(statistics);
  EXPECT_EQ(statistics.NumNodes, 1u);
  EXPECT_TRUE(second.IsLoaded());
  EXPECT_TRUE(CNodeMapFactory().IsEmpty());
  EXPECT_THROW(CNodeMapFactory().CreateNodeMap(), GenICam::RuntimeException);
  EXPECT_THROW(CNodeMapFactory(ContentType_Xml, gcstring("/no/such/file.xml")),
               GenICam::RuntimeException);
}

TEST(Factory, MapsAreIndependentOfEachOtherAndOfTheFactory) {
  CNodeMapRef a;
  CNodeMapRef b;
  {
    CNodeMapFactory factory = Factory(Node("Integer", "I", "<ToolTip>t</ToolTip><Value>1</Value>"));
    a = factory.CreateNodeMap();
    b = factory.CreateNodeMap();
  }
  CIntegerPtr(a._GetNode("I"))->SetValue(2);
  EXPECT_EQ(CIntegerPtr(b._GetNode("I"))->GetValue(), 1);
  EXPECT_EQ(b._GetNode("I")->GetToolTip(), "t");
}

TEST(Writes, TogetherAreCollectedErrorsAndAll) {
  SmallMap small(Node("Integer", "A", "<Value>0</Value><pMax>B</pMax>") +
                 Node("Integer", "B", "<Value>1</Value>"));
  CNodeWriteConcatenator* writes = small.Map._NewNodeWriteConcatenator();
  writes->Add("A", int64_t{50});  // beyond the maximum that B still gives
  writes->Add("B", int64_t{100});
  writes->Add("Missing", "1");
  GenICam::gcstring_vector errors;
  EXPECT_FALSE(small.Map._ConcatenatedWrite(writes, true, &errors));
  EXPECT_EQ(errors.size(), 1u);
  EXPECT_EQ(small.Text("A"), "50");
  EXPECT_EQ(small.Text("B"), "100");
  EXPECT_THROW(small.Map._ConcatenatedWrite(writes, true), GenICam::InvalidArgumentException);
  writes->Destroy();
}

// ---- threads ----

TEST(Threads, ShareOneMap) {
  SmallMap small(
      Port() + Reg("IntReg", "R", "0", 4, s_big) + Over("A", "R") +
      Node("IntSwissKnife", "K", "<pVariable Name=\"A\">A</pVariable><Formula>A * 2</Formula>") +
      Node("Integer", "Lck", "<Value>0</Value>") +
      Node("Integer", "L", "<Value>0</Value><pIsLocked>Lck</pIsLocked>") +
      Node("Category", "Root", "<pFeature>A</pFeature><pFeature>L</pFeature>"));
  std::atomic<int> calls{0};
  Register(small.Map._GetNode("K"), [&](INode* node) {
    CIntegerPtr(node)->GetValue();
    ++calls;
  });
  std::atomic<bool> wrong{false};
  const auto hammer = [&](int seed) {
    auto& a = small.Get<IInteger>("A");
    auto& k = small.Get<IInteger>("K");
    auto& locked = small.Get<IInteger>("L");
    for (int i = 0; i < 2000; ++i) {
      switch ((i + seed) % 8) {
        case 0:
          a.SetValue(i);
          break;
        case 1:
          wrong = wrong || k.GetValue() % 2 != 0;
          break;
        case 2:
          small.Set("Lck", i % 16 < 8 ? "0" : "1");
          break;
        case 3:
          Outcome([&] { locked.SetValue(i); });
          break;
        case 4:
          small.Get<INode>("Root").GetVisibility();
          break;
        case 5:
          small.Map._Poll(10);
          break;
        case 6:
          small.Get<INode>("R").InvalidateNode();
          break;
        default: {
          const AutoLock lock(small.Map._Ptr->GetLock());
          a.SetValue(i);
          wrong = wrong || a.GetValue() != i || k.GetValue() != 2 * i;
        }
      }
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) threads.emplace_back(hammer, i);
  for (auto& thread : threads) thread.join();
  EXPECT_FALSE(wrong);
  EXPECT_GT(calls, 0);
}

TEST(Threads, ComeAndGoAsListeners) {
  SmallMap small(Node("Integer", "A", "<Value>0</Value>"));
  INode* node = small.Map._GetNode("A");
  std::atomic<bool> stop{false};
  std::thread writer([&] {
    for (int i = 0; !stop; ++i) small.Set("A", std::to_string(i % 100).c_str());
  });
  std::atomic<int> heard{0};
  for (int i = 0; i < 500; ++i) {
    const auto handle = Register(
        node, [&](INode*) { ++heard; }, i % 2 ? cbPostInsideLock : cbPostOutsideLock);
    std::this_thread::yield();
    EXPECT_TRUE(node->DeregisterCallback(handle));
  }
  stop = true;
  writer.join();
}

}  // namespace
}  // namespace OrvexTest
