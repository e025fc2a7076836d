// SPDX-License-Identifier: Apache-2.0
// What a description may look like from the outside, and what is refused: text, zip archives, bad
// nodes, bombs.
#include <GenApi/GenApi.h>
#include <GenApi/NodeMapFactory.h>
#include <gtest/gtest.h>
#include <zip.h>

#include <memory>
#include <sstream>

#include "Script.h"

namespace OrvexTest {
namespace {

using namespace GenApi;

struct MapDelete {
  void operator()(INodeMap* p) const { CastToIDestroy(p)->Destroy(); }
};
using UniqueMap = std::unique_ptr<INodeMap, MapDelete>;

UniqueMap Load(const std::string& data, EContentType_t type = ContentType_Xml) {
  CNodeMapFactory factory(type, data.data(), data.size());
  return UniqueMap(factory.CreateNodeMap());
}

std::string Whole(const std::string& nodes) {
  return Describe(nodes).c_str();
}

std::string Without(std::string text, const std::string& part) {
  const size_t at = text.find(part);
  EXPECT_NE(at, std::string::npos);
  return text.erase(at, part.size());
}

// What loading says; the text of the exception behind its name.
std::string LoadError(const std::string& data, EContentType_t type = ContentType_Xml) {
  std::string text;
  const std::string kind = Outcome([&] {
    try {
      Load(data, type);
    } catch (const GenICam::GenericException& e) {
      text = e.GetDescription();
      throw;
    }
  });
  return kind + " " + text;
}

const std::string s_one = "<Integer Name=\"One\"><Value>1</Value></Integer>";

// ---- accepted quirks ----

struct Quirk {
  const char* name;
  std::string text;
};
class AcceptedText : public testing::TestWithParam<Quirk> {};

TEST_P(AcceptedText, GivesTheNode) {
  const UniqueMap map = Load(GetParam().text);
  CIntegerPtr one = map->GetNode("One");
  ASSERT_TRUE(one.IsValid());
  EXPECT_EQ(one->GetValue(), 1);
}

INSTANTIATE_TEST_SUITE_P(
    Quirks, AcceptedText,
    testing::Values(
        Quirk{"ByteOrderMark", "\xEF\xBB\xBF" + Whole(s_one)},
        Quirk{"NoDeclaration",
              Without(Whole(s_one), "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n")},
        Quirk{"PaddedWithNul", Whole(s_one) + std::string(100, '\0')},
        Quirk{"CommentsAround",
              Without(Whole(s_one), "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n") +
                  "<!-- & an end -->\n"},
        Quirk{"BlanksInText",
              Whole("<Integer Name=\"One\">\r\n\t<Value>\n  1\t </Value></Integer>")},
        Quirk{"Groups",
              Whole("<Group Comment=\"a\"><Group Comment=\"b\">" + s_one + "</Group></Group>")},
        Quirk{"UnknownElements",
              Whole("<Novelty Name=\"N\"><X/></Novelty>"
                    "<Integer Name=\"One\"><Future>x</Future><Value>1</Value></Integer>")},
        Quirk{
            "Extensions",
            Whole("<Integer Name=\"One\"><Extension><Value>7</Value><pValue>No</pValue></Extension>"
                  "<Value>1</Value></Integer>")},
        Quirk{"ForwardReferences", Whole("<Integer Name=\"One\"><pValue>Later</pValue></Integer>"
                                         "<Integer Name=\"Later\"><Value>1</Value></Integer>")},
        Quirk{"CharacterData",
              Whole("<IntSwissKnife Name=\"One\"><Formula>(2 <![CDATA[> 1 && 3 < 4]]>) ? 1 : 0"
                    "</Formula></IntSwissKnife>")},
        Quirk{"EmptyCommandValue",
              Whole(s_one + "<Command Name=\"C\"><Value>0</Value><CommandValue/></Command>")},
        Quirk{"RareKinds",
              Whole(s_one +
                    "<ConfRom Name=\"A\"/><TextDesc Name=\"B\"/><IntKey Name=\"C\"/>"
                    "<AdvFeatureLock Name=\"D\"/><SmartFeature Name=\"E\"/><Node Name=\"F\"/>")},
        Quirk{"TopLevelEntries",
              Whole(s_one + "<Enumeration Name=\"E\"><pEnumEntry>E_A</pEnumEntry><Value>1</Value>"
                            "</Enumeration><EnumEntry Name=\"E_A\"><Value>1</Value></EnumEntry>")}),
    [](const auto& info) { return std::string(info.param.name); });

// ---- refused texts ----

struct Refusal {
  const char* name;
  std::string text;
  const char* why;  // exception, node or line, and reason: all parts must stand in what is said
};
class RefusedText : public testing::TestWithParam<Refusal> {};

TEST_P(RefusedText, SaysWhereAndWhy) {
  const std::string said = LoadError(GetParam().text);
  std::istringstream parts(GetParam().why);
  for (std::string part; std::getline(parts, part, '|');) {
    EXPECT_NE(said.find(part), std::string::npos) << "no '" << part << "' in: " << said;
  }
}

std::string Repeat(const std::string& text, size_t count) {
  std::string all;
  for (size_t i = 0; i < count; ++i) all += text;
  return all;
}

INSTANTIATE_TEST_SUITE_P(
    Xml, RefusedText,
    testing::Values(
        Refusal{"Empty", "", "!Runtime"}, Refusal{"Blank", " \n ", "!Runtime"},
        Refusal{"TextBefore", "x" + Whole(s_one), "!Runtime|line 1|before the XML declaration"},
        Refusal{"BlankBefore", "\n" + Whole(s_one), "!Runtime|blanks before"},
        Refusal{"TextBehind", Whole(s_one) + "x", "!Runtime|line "},
        Refusal{"Truncated", Whole(s_one).substr(0, 440), "!Runtime|line"},
        Refusal{"WrongEndTag", Whole("<Integer Name=\"I\"><Value>1</Integer>"), "!Runtime|line 3"},
        Refusal{"OtherRoot", "<Other/>", "!Runtime|'Other'"},
        Refusal{"TwoRoots", Whole(s_one) + "<RegisterDescription/>", "!Runtime|second root"},
        Refusal{"NulInside", std::string("<RegisterDescription>\0</RegisterDescription>", 43),
                "!Runtime"},
        Refusal{"Doctype",
                "<!DOCTYPE a [<!ENTITY x \"y\">]>" +
                    Without(Whole(s_one), "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"),
                "!Runtime|document type"},
        Refusal{"UnknownEntity",
                Whole("<Integer Name=\"I\"><ToolTip>&lol;</ToolTip><Value>1</Value></Integer>"),
                "!Runtime|line 3|&lol;"},
        Refusal{"TooManyElements", Whole(Repeat("<a/>", 2'100'000)), "!Runtime|too many"},
        Refusal{"TooManyAttributes", Whole("<a " + Repeat("b=\"\" ", 2'100'000) + "/>"),
                "!Runtime|too many"},
        Refusal{"NestedTooDeeply", Whole(Repeat("<Group>", 100000) + Repeat("</Group>", 100000)),
                "!Runtime|nested too deeply"},
        Refusal{"Binary",
                std::string("\x7f"
                            "ELF\x02\x01",
                            6),
                "!Runtime"}),
    [](const auto& info) { return std::string(info.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Nodes, RefusedText,
    testing::Values(
        Refusal{"UndefinedReference",
                Whole("\n<Integer Name=\"I\"><pValue>Ghost</pValue></Integer>"),
                "!Property|'I'|line 4|Ghost|does not exist"},
        Refusal{"DoubleName", Whole(s_one + "\n" + s_one), "!Property|'One'|line 4|same name"},
        Refusal{"NoName", Whole("<Integer><Value>1</Value></Integer>"), "!Property|line 3|no name"},
        Refusal{"NoValue", Whole("<Integer Name=\"I\"/>"), "!Property|'I'|line 3|Value"},
        Refusal{"BadNumber", Whole("<Integer Name=\"I\"><Value>1x</Value></Integer>"),
                "!Property|'I'|'1x'"},
        Refusal{"FractionForInteger", Whole("<Integer Name=\"I\"><Value>1.5</Value></Integer>"),
                "!Property|'1.5'"},
        Refusal{"NumberTooBig",
                Whole("<Integer Name=\"I\"><Value>99999999999999999999</Value></Integer>"),
                "!Property"},
        Refusal{
            "BadWord",
            Whole(
                "<Integer Name=\"I\"><Visibility>Everybody</Visibility><Value>1</Value></Integer>"),
            "!Property|'Everybody'"},
        Refusal{"NoPort",
                Whole("<IntReg Name=\"R\"><Address>0</Address><Length>4</Length></IntReg>"),
                "!Property|pPort"},
        Refusal{
            "PortIsNone",
            Whole(s_one +
                  "<IntReg "
                  "Name=\"R\"><Address>0</Address><Length>4</Length><pPort>One</pPort></IntReg>"),
            "!Property|'R'|no port"},
        Refusal{
            "NoLength",
            Whole(Port() + "<IntReg Name=\"R\"><Address>0</Address><pPort>Device</pPort></IntReg>"),
            "!Property|Length"},
        Refusal{"IntegerTooLong", Whole(Port() + Reg("IntReg", "R", "0", 9)),
                "!Property|'R'|1 to 8"},
        Refusal{"NegativeLength", Whole(Port() + Reg("Register", "R", "0", -1)),
                "!Property|length"},
        Refusal{"HugeLength",
                Whole(Port() + "<Register "
                               "Name=\"R\"><Address>0</Address><Length>0x7FFFFFFFFFFF</"
                               "Length><pPort>Device</pPort></Register>"),
                "!Property|length"},
        Refusal{"FloatOfThree", Whole(Port() + Reg("FloatReg", "R", "0", 3)), "!Property|4 or 8"},
        Refusal{"BitOutside", Whole(Port() + Reg("MaskedIntReg", "R", "0", 4, "<Bit>32</Bit>")),
                "!Property|bits"},
        Refusal{"NoBits", Whole(Port() + Reg("MaskedIntReg", "R", "0", 4)), "!Property|bits"},
        Refusal{
            "EntryWithoutValue",
            Whole("<Enumeration Name=\"E\"><EnumEntry Name=\"A\"/><Value>0</Value></Enumeration>"),
            "!Property|A|Value"},
        Refusal{
            "ConverterWithoutTarget",
            Whole(
                "<Converter "
                "Name=\"C\"><FormulaTo>FROM</FormulaTo><FormulaFrom>TO</FormulaFrom></Converter>"),
            "!Property|pValue"},
        Refusal{
            "NoSuchEntry",
            Whole("<Enumeration Name=\"E\"><Value>0</Value></Enumeration><IntSwissKnife Name=\"K\">"
                  "<pVariable "
                  "Name=\"E.Entry.X\">E</pVariable><Formula>E.Entry.X</Formula></IntSwissKnife>"),
            "!Property|'K'|no such entry"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(Description, DeepFormulasAreRefusedWithoutDeepRecursion) {
  const std::string nested = Repeat("(", 50000) + "1" + Repeat(")", 50000);
  const std::string signs = Repeat("-", 50000) + "1";
  std::string bomb;
  for (int i = 0; i < 40; ++i) {
    bomb += "<Expression Name=\"X" + std::to_string(i) + "\">X" + std::to_string(i + 1) + " + X" +
            std::to_string(i + 1) + "</Expression>";
  }
  bomb += "<Expression Name=\"X40\">1</Expression>";
  Play(Node("IntSwissKnife", "A", "<Formula>" + nested + "</Formula>") +
           Node("IntSwissKnife", "B", "<Formula>" + signs + "</Formula>") +
           Node("IntSwissKnife", "C", bomb + "<Formula>X0</Formula>"),
       {{"int A", "!LogicalError"}, {"int B", "!LogicalError"}, {"int C", "!LogicalError"}});
}

TEST(Description, LongChainsOfUncachedNodesEndInAnErrorAndNotInAHang) {
  // Each node asks the next one twice, so that reading the first one would take 2^60 reads.
  std::string nodes = Port() + Reg("IntReg", "N60", "0", 4, "<Cachable>NoCache</Cachable>");
  for (int i = 0; i < 60; ++i) {
    const std::string next = "N" + std::to_string(i + 1);
    nodes += Node("IntSwissKnife", ("N" + std::to_string(i)).c_str(),
                  "<pVariable Name=\"A\">" + next + "</pVariable><pVariable Name=\"B\">" + next +
                      "</pVariable><Formula>A + B</Formula>");
  }
  Play(nodes, {{"int N0", "!LogicalError"}, {"int N55", "0"}});
}

TEST(Description, LongChainsEndInAnErrorWhateverIsAsked) {
  std::string nodes = Node("Integer", "N20000", "<Value>1</Value>");
  std::string folders = "<Category Name=\"C20000\"/>";
  for (int i = 0; i < 20000; ++i) {
    const std::string n = std::to_string(i);
    const std::string next = std::to_string(i + 1);
    nodes += Node("Integer", ("N" + n).c_str(), "<pValue>N" + next + "</pValue>");
    folders += "<Category Name=\"C" + n + "\"><pFeature>C" + next + "</pFeature><pFeature>C" +
               next + "</pFeature></Category>";
  }
  Dialogue dialogue(nodes + folders);
  for (int round = 0; round < 2; ++round) {
    for (const char* question : {"int N0", "min N0", "max N0", "inc N0", "repr N0", "unit N0",
                                 "valid N0", "setint N0 2"}) {
      EXPECT_EQ(dialogue.Ask(question), "!LogicalError") << question;
    }
  }
  for (const char* question : {"caching N0", "visible C0", "mode C0"}) {
    EXPECT_EQ(dialogue.Ask(question), "!LogicalError") << question;
  }
  EXPECT_EQ(dialogue.Ask("int N19950"), "1");
  EXPECT_EQ(dialogue.Ask("visible C19950"), "Beginner");
  NodeList_t registers;
  dialogue.Map().Get<INode>("N0").GetChildren(registers, ctTerminalNodes);
  EXPECT_EQ(registers.size(), 1u);
}

// A port that can be taken away.
class LostPort : public MemoryPort {
 public:
  void Read(void* pBuffer, int64_t Address, int64_t Length) override {
    if (Lost) throw TIMEOUT_EXCEPTION("no answer");
    MemoryPort::Read(pBuffer, Address, Length);
  }
  bool Lost = false;
};

TEST(Description, ADeviceThatDidNotAnswerIsAskedAgain) {
  SmallMap small(Port() + Reg("IntReg", "Avl", "0", 4) +
                 Node("Integer", "I", "<pIsAvailable>Avl</pIsAvailable><Value>1</Value>"));
  LostPort port;
  port.Lost = true;
  small.Map._Connect(&port);
  auto& i = small.Get<INode>("I");
  EXPECT_THROW(i.GetAccessMode(), GenICam::TimeoutException);
  EXPECT_THROW(i.GetAccessMode(), GenICam::TimeoutException);
  port.Lost = false;
  EXPECT_EQ(i.GetAccessMode(), NA);
}

TEST(Description, LinksToDocumentsAreFilledIn) {
  SmallMap small(
      "<Integer "
      "Name=\"I\"><DocuURL>http://x/$(Sys::ModelName)/$(Sys::NodeName)?v=$(V)&amp;n=$(None)</"
      "DocuURL>"
      "<Value>1</Value></Integer><Integer Name=\"V\"><Value>42</Value></Integer>");
  EXPECT_EQ(small.Get<INode>("I").GetDocuURL(), "http://x/Small/I?v=42&n=$(None)");
}

TEST(Description, ErrorsOfTheDeviceKeepTheirClassAndGetTheNodesName) {
  SmallMap small(Port() + Reg("IntReg", "Gain", "8", 4));
  small.Port.Refused = 8;
  try {
    small.Get<IInteger>("Gain").SetValue(1);
    FAIL();
  } catch (const GenICam::RuntimeException& e) {
    EXPECT_NE(std::string(e.GetDescription()).find("Gain"), std::string::npos);
    EXPECT_NE(std::string(e.GetDescription()).find("the device refuses"), std::string::npos);
  }
}

// ---- zip archives ----

std::string Zip(const std::vector<std::pair<std::string, std::string>>& members) {
  zip_error_t error;
  zip_error_init(&error);
  zip_source_t* target = zip_source_buffer_create(nullptr, 0, 0, &error);
  zip_source_keep(target);
  zip_t* archive = zip_open_from_source(target, ZIP_TRUNCATE, &error);
  for (const auto& [name, content] : members) {
    zip_source_t* source = zip_source_buffer(archive, content.data(), content.size(), 0);
    zip_file_add(archive, name.c_str(), source, ZIP_FL_OVERWRITE);
  }
  zip_close(archive);
  zip_source_open(target);
  std::string data;
  char block[4096];
  for (zip_int64_t got; (got = zip_source_read(target, block, sizeof block)) > 0;) {
    data.append(block, static_cast<size_t>(got));
  }
  zip_source_close(target);
  zip_source_free(target);
  return data;
}

TEST(ZippedDescription, IsFoundAmongOtherMembers) {
  const std::string xml = Whole(s_one);
  for (const auto& members : std::vector<std::vector<std::pair<std::string, std::string>>>{
           {{"camera.xml", xml}},
           {{"readme.txt", "hello"}, {"__MACOSX/._camera.xml", "junk"}, {"folder/Camera.XML", xml}},
           {{"description", xml}}}) {
    const UniqueMap map = Load(Zip(members), ContentType_ZippedXml);
    EXPECT_NE(map->GetNode("One"), nullptr);
  }
}

TEST(ZippedDescription, IsRefusedWhenItIsNone) {
  const std::string good = Zip({{"camera.xml", Whole(s_one)}});
  std::string damaged = good;
  for (size_t i = 40; i < 80; ++i) damaged[i] = static_cast<char>(damaged[i] ^ 0x5a);
  EXPECT_EQ(LoadError("", ContentType_ZippedXml).substr(0, 8), "!Runtime");
  EXPECT_EQ(LoadError(Whole(s_one), ContentType_ZippedXml).substr(0, 8), "!Runtime");
  EXPECT_EQ(LoadError(good.substr(0, good.size() / 2), ContentType_ZippedXml).substr(0, 8),
            "!Runtime");
  EXPECT_EQ(LoadError(damaged, ContentType_ZippedXml).substr(0, 8), "!Runtime");
  EXPECT_EQ(LoadError(Zip({{"a.txt", "a"}, {"b.txt", "b"}}), ContentType_ZippedXml).substr(0, 8),
            "!Runtime");
}

TEST(ZippedDescription, DoesNotGrowWithoutBound) {
  const std::string bomb = Zip({{"camera.xml", std::string(100u << 20, ' ')}});
  ASSERT_LT(bomb.size(), 1u << 20);
  EXPECT_NE(LoadError(bomb, ContentType_ZippedXml).find("more than"), std::string::npos);
}

}  // namespace
}  // namespace OrvexTest
