// SPDX-License-Identifier: Apache-2.0
// Booleans, commands, enumerations, texts, formulas, converters, conditions and caches in small
// descriptions.
#include <gtest/gtest.h>

#include "Script.h"

namespace OrvexTest {
namespace {

struct Case {
  const char* name;
  std::string nodes;
  std::vector<Step> steps;
};

class Features : public testing::TestWithParam<Case> {};

TEST_P(Features, AnswerAsTheStandardSays) {
  Play(GetParam().nodes, GetParam().steps);
}

std::string NameOf(const testing::TestParamInfo<Case>& info) {
  return info.param.name;
}

const std::string s_big = "<Endianess>BigEndian</Endianess>";

std::string Entry(const char* name, int value, const std::string& more = "") {
  return std::string("<EnumEntry Name=\"") + name + "\"><Value>" + std::to_string(value) +
         "</Value>" + more + "</EnumEntry>";
}
std::string Held(const char* name, const char* value) {
  return Node("Integer", name, std::string("<Value>") + value + "</Value>");
}
std::string Variable(const char* symbol, const char* node) {
  return std::string("<pVariable Name=\"") + symbol + "\">" + node + "</pVariable>";
}

std::vector<Case> Simple() {
  return {
      {"Booleans",
       Port() + Reg("IntReg", "R", "0", 4, s_big) +
           Node("Boolean", "B", "<pValue>R</pValue><OnValue>5</OnValue><OffValue>3</OffValue>") +
           Node("Boolean", "Held", "<Value>1</Value>") +
           Node("Integer", "I", "<pValue>Held</pValue>"),
       {{"bool B", "!LogicalError"},
        {"set B true", "ok"},
        {"bytes 0 4", "00000005"},
        {"text B", "1"},
        {"set B 0", "ok"},
        {"bytes 0 4", "00000003"},
        {"bool B", "no"},
        {"set B FALSE", "ok"},
        {"set B yes", "!InvalidArgument"},
        {"int I", "1"},
        {"setint I 0", "ok"},
        {"bool Held", "no"}}},
      {"Commands",
       Port() + Reg("IntReg", "R", "0", 4, s_big) + Reg("IntReg", "W", "4", 4, s_big, "WO") +
           Held("Code", "9") +
           Node("Command", "C", "<pValue>R</pValue><CommandValue>7</CommandValue>") +
           Node("Command", "D", "<pValue>W</pValue><pCommandValue>Code</pCommandValue>"),
       {{"poke 0 00000007", "ok"},
        {"done C", "yes"},  // not started by this map
        {"text C", "0"},
        {"exec C", "ok"},
        {"bytes 0 4", "00000007"},
        {"done C", "no"},
        {"text C", "1"},
        {"poke 0 00000000", "ok"},  // the device is done: seen without any cache
        {"done C", "yes"},
        {"exec D", "ok"},
        {"bytes 4 4", "00000009"},
        {"done D", "yes"},
        {"mode D", "WO"},
        {"set C 7", "ok"},
        {"done C", "no"}}},
      {"Enumerations",
       Port() + Reg("IntReg", "R", "0", 4, s_big) + Held("Here", "1") + Held("There", "1") +
           Node("Enumeration", "E",
                Entry("A", 0) + Entry("B", 4, "<pIsAvailable>Here</pIsAvailable>") +
                    Entry("C", 6, "<pIsImplemented>There</pIsImplemented>") + "<pValue>R</pValue>"),
       {{"text E", "A"},
        {"set E B", "ok"},
        {"bytes 0 4", "00000004"},
        {"current E", "B"},
        {"symbolics E", "A,B,C"},
        {"setint Here 0", "ok"},
        {"symbolics E", "A,C"},
        {"set E B", "!Access"},
        {"setint There 0", "ok"},
        {"symbolics E", "A"},
        {"set E Nope", "!InvalidArgument"},
        {"poke 0 00000063", "ok"},
        {"drop R", "ok"},
        {"text E", "!InvalidArgument"},
        {"current E", "none"}}},
      {"EntriesDecideOnTheEnumeration",
       Held("One", "1") + Held("Two", "1") +
           Node("Enumeration", "E",
                Entry("A", 0, "<pIsImplemented>One</pIsImplemented>") +
                    Entry("B", 1,
                          "<pIsImplemented>One</pIsImplemented><pIsAvailable>Two</pIsAvailable>") +
                    "<Value>0</Value>"),
       {{"mode E", "RW"},
        {"setint One 0", "ok"},
        {"mode E", "NI"},
        {"setint One 1", "ok"},
        {"mode E", "RW"}}},
      {"EntriesHaveNumbers",
       Node("Enumeration", "E",
            Entry("Low", 0, "<NumericValue>0.5</NumericValue>") +
                Entry("Mid", 1, "<NumericValue>2.5</NumericValue>") +
                Entry("High", 2, "<NumericValue>8</NumericValue>") + "<Value>1</Value>") +
           Node("Float", "F", "<pValue>E</pValue>") + Node("Integer", "I", "<pValue>E</pValue>"),
       {{"float F", "2.5"},
        {"int I", "3"},
        {"setfloat F 7", "ok"},
        {"current E", "High"},
        {"setfloat F 1", "ok"},
        {"current E", "Low"},
        {"setint I 3", "ok"},
        {"current E", "Mid"}}},
      {"EntriesThatTheDeviceLeavesAreNotCached",
       Port() + Reg("IntReg", "R", "0", 4, s_big) +
           Node("Enumeration", "E",
                Entry("Off", 0) + Entry("Once", 1, "<IsSelfClearing>Yes</IsSelfClearing>") +
                    "<pValue>R</pValue>"),
       {{"set E Once", "ok"},
        {"text E", "Once"},
        {"poke 0 00000000", "ok"},
        {"text E", "Off"},
        {"poke 0 00000001", "ok"},
        {"text E", "Off"}}},
      {"SameEntryNamesInSeveralEnumerations",
       Node("Enumeration", "E1", Entry("Off", 0) + Entry("1st", 1) + "<Value>1</Value>") +
           Node("Enumeration", "E2", Entry("Off", 7) + Entry("2nd", 8) + "<Value>7</Value>"),
       {{"text E1", "1st"},
        {"text E2", "Off"},
        {"text EnumEntry_E2_Off", "Off"},
        {"text E2_2nd", "2nd"}}},
      {"EntriesThatStandForThemselves",
       Node("EnumEntry", "One", "<Value>1</Value><Symbolic>First</Symbolic>") +
           Node("EnumEntry", "Two", "<Value>2</Value>") +
           Node("Enumeration", "E",
                "<pEnumEntry>One</pEnumEntry><pEnumEntry>Two</pEnumEntry><Value>2</Value>"),
       {{"symbolics E", "First,Two"}, {"set E First", "ok"}, {"text E", "First"}}},
      {"ConfigurationRoms",
       Port() + Reg("ConfRom", "Rom", "0x400", 68) +
           Node("TextDesc", "Vendor", "<p1212Parser>Rom</p1212Parser><Key>0x03</Key>") +
           Node("TextDesc", "Model", "<p1212Parser>Rom</p1212Parser><Key>0x82</Key>") +
           Node("IntKey", "Id", "<p1212Parser>Rom</p1212Parser><Key>3</Key>") +
           Node("IntKey", "None", "<p1212Parser>Rom</p1212Parser><Key>0x55</Key>") +
           Node("IntKey", "Nowhere", "<Key>3</Key>"),
       // bus information; root directory; one more that leads to itself; two texts
       {{"poke 0x400 0101000000000000", "ok"},
        {"poke 0x408 0003000003abcdef81000005d1000001", "ok"},
        {"poke 0x418 0002000082000006d1000000", "ok"},
        {"poke 0x424 00030000000000000000000041636d65", "ok"},
        {"poke 0x434 00030000000000000000000058310000", "ok"},
        {"text Vendor", "Acme"},
        {"text Model", "X1"},
        {"int Id", "11259375"},
        {"int None", "!Runtime"},
        {"mode Nowhere", "NI"},
        {"mode Vendor", "RO"}}},
      {"Texts",
       Port() + Reg("StringReg", "S", "0", 8) + Reg("StringReg", "Ro", "16", 8, "", "RO") +
           Node("String", "Held", "<Value>hello</Value>") +
           Node("String", "Over", "<pValue>S</pValue>"),
       {{"set S abc", "ok"},
        {"bytes 0 8", "6162630000000000"},
        {"text S", "abc"},
        {"set S 12345678", "ok"},
        {"text S", "12345678"},
        {"set S 123456789", "!OutOfRange"},
        {"maxlen S", "8"},
        {"maxlen Over", "8"},
        {"set Over xyz", "ok"},
        {"text S", "xyz"},
        {"set Over 123456789", "!OutOfRange"},
        {"poke 16 6f6b00ff", "ok"},
        {"text Ro", "ok"},
        {"maxlen Ro", "2"},
        {"set Ro a", "!Access"},
        {"text Held", "hello"},
        {"set Held ", "ok"},
        {"text Held", ""}}},
      {"PlainRegisters",
       Port() + Held("Len", "3") + Reg("Register", "R", "0", 4) +
           Node("Register", "V",
                "<Address>8</Address><pLength>Len</pLength><AccessMode>RW</AccessMode>"
                "<pPort>Device</pPort>"),
       {{"set R 0x01020aff", "ok"},
        {"text R", "0x01020aff"},
        {"bytes 0 4", "01020aff"},
        {"set R 0x0102030405", "!OutOfRange"},
        {"set R 0x0g", "!InvalidArgument"},
        {"set R 0x012", "!InvalidArgument"},
        {"len V", "3"},
        {"text V", "0x000000"},
        {"setint Len -1", "ok"},
        {"text V", "!OutOfRange"},
        {"setint Len 0x7fffffffffffffff", "ok"},
        {"text V", "!OutOfRange"}}},
      {"CategoriesFollowTheirFeatures",
       Held("Yes", "1") +
           Node("Integer", "A",
                "<Visibility>Guru</Visibility><pIsImplemented>Yes</pIsImplemented><Value>0</"
                "Value>") +
           Node("Category", "Root", "<pFeature>Sub</pFeature>") +
           Node("Category", "Sub", "<Visibility>Beginner</Visibility><pFeature>A</pFeature>"),
       {{"visible Sub", "Guru"},
        {"visible Root", "Guru"},
        {"mode Root", "RO"},
        {"setint Yes 0", "ok"},
        {"mode Sub", "NI"},
        {"mode Root", "NI"},
        {"text Sub", "!Access"}}},
  };
}
INSTANTIATE_TEST_SUITE_P(Simple, Features, testing::ValuesIn(Simple()), NameOf);

std::vector<Case> Formulas() {
  return {
      {"KnifesFollowTheirInputs",
       Held("A", "7") + Node("Float", "F", "<Value>2.5</Value>") +
           Node("IntSwissKnife", "I",
                Variable("A", "A") + Variable("F", "F") + "<Formula>A / 2 + F</Formula>") +
           Node("SwissKnife", "S",
                Variable("A", "A") + Variable("F", "F") + "<Formula>A / 2 + F</Formula>"),
       {{"int I", "6"},  // 7 / 2 = 3, and 2.5 counts as 3
        {"float S", "6"},
        {"setint A 8", "ok"},
        {"int I", "7"},
        {"float S", "6.5"},
        {"mode I", "RO"},
        {"setint I 1", "!Access"}}},
      {"ConstantsAndExpressions",
       Held("A", "3") +
           Node("IntSwissKnife", "I",
                Variable("A", "A") +
                    "<Constant Name=\"K\">0x10</Constant>"
                    "<Expression Name=\"SUM\">A + K</Expression><Formula>SUM * 2</Formula>") +
           Node("SwissKnife", "Bad",
                "<Expression Name=\"X\">X + 1</Expression><Formula>X</Formula>"),
       {{"int I", "38"}, {"float Bad", "!LogicalError"}}},
      {"DottedVariables",
       Node("Integer", "N",
            "<Visibility>Expert</Visibility><Value>4</Value><Min>-2</Min><Max>40</Max><Inc>3</"
            "Inc>") +
           Node("Enumeration", "E", Entry("Off", 3) + Entry("On", 12) + "<Value>3</Value>") +
           Node("IntSwissKnife", "I",
                Variable("N", "N") + Variable("N.Min", "N") + Variable("N.Max", "N") +
                    Variable("N.Inc", "N") + Variable("E.Entry.On", "E") +
                    "<Formula>N + N.Min * 10 + N.Max * 100 + N.Inc * 10000 + E.Entry.On * "
                    "1000000</Formula>") +
           Node("IntSwissKnife", "J",
                Variable("X.AccessMode", "N") + Variable("X.Visibility", "N") +
                    Variable("X.CachingMode", "N") + Variable("X.Value", "N") +
                    "<Formula>X.AccessMode * 1000 + X.Visibility * 100 + X.CachingMode * 10 + "
                    "X.Value</Formula>"),
       {{"int I", "12033984"}, {"int J", "4114"}}},
      {"PropertiesOfVariablesDoNotGoStale",
       Held("Here", "0") + Held("Top", "5") +
           Node("Integer", "A",
                "<pIsAvailable>Here</pIsAvailable><Value>1</Value><pMax>Top</pMax>") +
           Node("Integer", "Over", "<pValue>A</pValue>") +
           Node("IntSwissKnife", "Mode",
                Variable("A.AccessMode", "A") + "<Formula>A.AccessMode</Formula>") +
           Node("IntSwissKnife", "Max", Variable("A.Max", "Over") + "<Formula>A.Max</Formula>"),
       {{"int Mode", "1"},
        {"int Max", "5"},
        {"setint Here 1", "ok"},
        {"int Mode", "4"},
        {"setint Top 9", "ok"},
        {"int Max", "9"}}},
      {"ErrorsShowOnReading",
       Held("Zero", "0") +
           Node("IntSwissKnife", "D", Variable("Z", "Zero") + "<Formula>1 / Z</Formula>") +
           Node("SwissKnife", "F", Variable("Z", "Zero") + "<Formula>1.0 / Z</Formula>") +
           Node("IntSwissKnife", "M", Variable("Z", "Zero") + "<Formula>1 % Z</Formula>") +
           Node("IntSwissKnife", "Syntax", "<Formula>1 +</Formula>") +
           Node("IntSwissKnife", "Unknown", "<Formula>NOPE + 1</Formula>") +
           Node("IntSwissKnife", "Fraction", "<Formula>1.5 + 1</Formula>"),
       {{"int D", "!LogicalError"},
        {"float F", "!LogicalError"},
        {"int M", "!LogicalError"},
        {"int Syntax", "!LogicalError"},
        {"int Unknown", "!LogicalError"},
        {"int Fraction", "!LogicalError"},
        {"setint Zero 1", "ok"},
        {"int D", "1"}}},
      {"Converters",
       Port() + Reg("IntReg", "R", "0", 2, s_big + "<Unit>raw</Unit>") +
           Node("Converter", "Up",
                "<FormulaTo>FROM * 10</FormulaTo><FormulaFrom>TO / 10</FormulaFrom>"
                "<pValue>R</pValue><Slope>Increasing</Slope>") +
           Node("Converter", "Down",
                "<FormulaTo>100 - FROM</FormulaTo><FormulaFrom>100 - TO</FormulaFrom>"
                "<pValue>R</pValue><Slope>Decreasing</Slope>") +
           Node("Converter", "Auto",
                "<FormulaTo>100 - FROM</FormulaTo><FormulaFrom>100 - TO</FormulaFrom>"
                "<pValue>R</pValue><Unit>own</Unit><IsLinear>Yes</IsLinear>") +
           Node("Converter", "Vary",
                "<FormulaTo>FROM</FormulaTo><FormulaFrom>TO</FormulaFrom><pValue>R</pValue>"
                "<Slope>Varying</Slope>"),
       {{"setfloat Up 12.34", "ok"},
        {"bytes 0 2", "007b"},
        {"float Up", "12.3"},
        {"max Up", "6553.5"},
        {"setfloat Up 6554", "!OutOfRange"},
        {"unit Up", "raw"},
        {"min Down", "-65435"},
        {"max Down", "100"},
        {"min Auto", "-65435"},
        {"max Auto", "100"},
        {"unit Auto", "own"},
        {"inc Auto", "1"},
        {"inc Up", "!Runtime"},
        {"max Vary", "1.797693135e+308"},
        {"setfloat Vary 70000", "!OutOfRange"}}},
      {"IntegerConverters",
       Port() + Reg("IntReg", "R", "0", 1, s_big) + Held("Shift", "4") +
           Node("IntConverter", "C",
                Variable("S", "Shift") +
                    "<FormulaTo>FROM &gt;&gt; S</FormulaTo><FormulaFrom>TO &lt;&lt; S</FormulaFrom>"
                    "<pValue>R</pValue><Slope>Increasing</Slope>") +
           Node("IntConverter", "Set",
                "<FormulaTo>-FROM</FormulaTo><FormulaFrom>-TO</FormulaFrom><pValue>V</pValue>") +
           Node("Integer", "V",
                "<Value>1</Value><Min>0</Min><Max>10</Max><ValidValueSet>1;5;9</ValidValueSet>"),
       {{"setint C 0x35", "ok"},
        {"bytes 0 1", "03"},
        {"int C", "48"},
        {"max C", "4080"},
        {"setint Shift 0", "ok"},
        {"int C", "3"},
        {"valid Set", "-9,-5,-1"},
        {"setint Set -5", "ok"},
        {"int V", "5"},
        {"setint Set -6", "!OutOfRange"}}},
  };
}
INSTANTIATE_TEST_SUITE_P(Formulas, Features, testing::ValuesIn(Formulas()), NameOf);

std::vector<Case> Conditions() {
  const std::string all =
      "<pIsImplemented>Imp</pIsImplemented><pIsAvailable>Avl</pIsAvailable><pIsLocked>Lck</"
      "pIsLocked>";
  return {
      {"ImplementedAvailableLocked",
       Held("Imp", "1") + Held("Avl", "1") + Held("Lck", "0") +
           Node("Integer", "I", all + "<Value>1</Value>"),
       {{"mode I", "RW"},
        {"setint Lck 1", "ok"},
        {"mode I", "RO"},
        {"setint I 2", "!Access"},
        {"int I", "1"},
        {"setint Avl 0", "ok"},
        {"mode I", "NA"},
        {"int I", "!Access"},
        {"min I", "!Access"},
        {"setint Imp 0", "ok"},
        {"mode I", "NI"}}},
      {"LockedWriteOnlyIsNotAvailable",
       Port() + Held("Lck", "1") + Reg("IntReg", "R", "0", 4, "<pIsLocked>Lck</pIsLocked>", "WO"),
       {{"mode R", "NA"}, {"setint Lck 0", "ok"}, {"mode R", "WO"}}},
      {"WhatIsNotThereHidesWhatIsOverIt",
       Held("Imp", "0") +
           Node("Integer", "A", "<pIsImplemented>Imp</pIsImplemented><Value>1</Value>") +
           Node("Integer", "Over", "<pValue>A</pValue>") +
           Node("IntSwissKnife", "K", Variable("A", "A") + "<Formula>A</Formula>") +
           Node("Integer", "By", "<pIsAvailable>A</pIsAvailable><Value>1</Value>"),
       {{"mode Over", "NI"},
        {"mode K", "NI"},
        {"mode By", "NA"},
        {"setint Imp 1", "ok"},
        {"mode K", "RO"},
        {"mode By", "RW"}}},
      {"PortsThatNobodyConnects",
       Port("Other") + "<Port Name=\"Chunk\"><ChunkID>1234</ChunkID></Port>" +
           Node("IntReg", "R",
                "<Address>0</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Other</"
                "pPort>") +
           Node("IntReg", "C",
                "<Address>0</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Chunk</"
                "pPort>"),
       {{"mode Other", "NI"},
        {"mode R", "NI"},
        {"mode Chunk", "NA"},
        {"mode C", "NA"},
        {"int R", "!Access"}}},
      {"CirclesEndInAnError",
       Node("Integer", "A", "<pValue>B</pValue>") + Node("Integer", "B", "<pValue>A</pValue>") +
           Node("IntSwissKnife", "K", Variable("K", "K") + "<Formula>K + 1</Formula>") +
           Node("Integer", "L", "<pIsLocked>L</pIsLocked><Value>1</Value>") +
           Node("Integer", "M", "<Value>1</Value><pMax>M2</pMax>") +
           Node("Integer", "M2", "<pValue>M</pValue><pMax>M</pMax>"),
       {{"int A", "!LogicalError"},
        {"int K", "!LogicalError"},
        {"mode L", "RO"},
        {"int M", "1"},
        {"mode A", "RW"},
        {"min A", "!LogicalError"},
        {"repr A", "!LogicalError"},
        {"unit A", "!LogicalError"},
        {"caching A", "WriteThrough"},
        {"setint A 1", "!LogicalError"}}},
      {"ReportedErrors",
       Node("Enumeration", "Err",
            Entry("Fine", 0) + Entry("Hot", 3, "<DisplayName>too hot</DisplayName>") +
                "<Value>0</Value>") +
           Node("Integer", "I", "<pError>Err</pError><Value>1</Value>"),
       {{"setint I 2", "ok"},
        {"set Err Hot", "ok"},
        {"setint I 3", "!Runtime"},
        {"checked I", "!Runtime"},
        {"setraw I 4", "ok"},
        {"int I", "4"}}},
      {"Selectors",
       Port() + Reg("IntReg", "R", "0", 4, s_big + "<pIndex Offset=\"4\">Sel</pIndex>") +
           Node("Integer", "F", "<pValue>R</pValue>") +
           Node("Integer", "Sel", "<Value>0</Value><pSelected>F</pSelected>") +
           Reg("IntReg", "Banked", "64", 4, s_big) +
           Node("Integer", "G", "<pValue>Banked</pValue>") +
           Reg("IntReg", "SelReg", "80", 4, s_big + "<pSelected>G</pSelected>"),
       {{"selects Sel", "F"},
        {"selectedby F", "Sel"},
        {"poke 0 0000000100000002", "ok"},
        {"int F", "1"},
        {"setint Sel 1", "ok"},
        {"int F", "2"},
        {"setint F 9", "ok"},
        {"bytes 0 8", "0000000100000009"},
        {"poke 64 00000005", "ok"},
        {"int G", "5"},
        {"poke 64 00000006",
         "ok"},  // the device keeps one register per selector value behind one address
        {"setint SelReg 1", "ok"},
        {"int G", "6"}}},
  };
}
INSTANTIATE_TEST_SUITE_P(Conditions, Features, testing::ValuesIn(Conditions()), NameOf);

constexpr char sk_zeros[] = "0x0000000000000000000000000000000000000000000000000000000000000000";
constexpr char sk_seven[] = "0x0000000700000000000000000000000000000000000000000000000000000000";

std::vector<Case> Caches() {
  const auto reg = [](const char* name, const std::string& more) {
    return Reg("IntReg", name, "0", 4, s_big + more);
  };
  return {
      {"ThreeModes",
       Port() + Reg("IntReg", "No", "0", 4, s_big + "<Cachable>NoCache</Cachable>") +
           Reg("IntReg", "Through", "4", 4, s_big + "<Cachable>WriteThrough</Cachable>") +
           Reg("IntReg", "Around", "8", 4, s_big + "<Cachable>WriteAround</Cachable>") +
           Node("Integer", "I", "<pValue>No</pValue>"),
       {{"int No", "0"},
        {"int Through", "0"},
        {"int Around", "0"},
        {"poke 0 000000010000000100000001", "ok"},
        {"int No", "1"},
        {"int Through", "0"},
        {"int Around", "0"},
        {"setint Through 5", "ok"},
        {"setint Around 5", "ok"},
        {"poke 4 0000000700000007", "ok"},
        {"int Through", "5"},
        {"int Around", "7"},
        {"caching I", "NoCache"},
        {"drop Through", "ok"},
        {"int Through", "7"}}},
      {"DroppingAFeatureDropsItsRegister",
       Port() + reg("R", "") + Node("Integer", "I", "<pValue>R</pValue>"),
       {{"int I", "0"},
        {"poke 0 00000009", "ok"},
        {"int I", "0"},
        {"drop I", "ok"},
        {"int I", "9"},
        {"int R", "9"}}},
      {"Invalidators",
       Port() + reg("R", "<pInvalidator>Go</pInvalidator>") + Held("Go", "0") +
           Reg("IntReg", "Self", "8", 4, s_big + "<pInvalidator>Self</pInvalidator>"),
       {{"int R", "0"},
        {"poke 0 00000001", "ok"},
        {"int R", "0"},
        {"setint Go 1", "ok"},
        {"int R", "1"},
        {"setint Self 4", "ok"},
        {"poke 8 00000009", "ok"},
        {"int Self", "9"}}},
      {"OverlappingRegistersSeeEachOther",
       Port() + Held("At", "2") + reg("Whole", "") +
           Reg("IntReg", "Half", "0", 2, s_big + "<pAddress>At</pAddress>") +
           Reg("Register", "Long", "0", 32),
       {{"int Whole", "0"},
        {"int Half", "0"},
        {"text Long", sk_zeros},
        {"setint Half 0x1234", "ok"},
        {"int Whole", "4660"},
        {"setint Whole 7", "ok"},
        {"int Half", "7"},
        {"text Long", sk_seven}}},
      {"Polling",
       Port() + reg("R", "<PollingTime>100</PollingTime>") + Held("Block", "0") +
           Reg("IntReg", "B", "4", 4,
               s_big + "<PollingTime>100</PollingTime><pBlockPolling>Block</pBlockPolling>"),
       {{"int R", "0"},
        {"int B", "0"},
        {"poke 0 0000000100000001", "ok"},
        {"poll 60", "ok"},
        {"int R", "0"},
        {"poll 60", "ok"},
        {"int R", "1"},
        {"int B", "1"},
        {"poke 0 0000000200000002", "ok"},
        {"setint Block 1", "ok"},
        {"poll 100", "ok"},
        {"int R", "2"},
        {"int B", "1"},
        {"setint Block 0", "ok"},
        {"poll 100", "ok"},
        {"int B", "2"}}},
      {"SwappedPorts",
       "<Port Name=\"Device\"><SwapEndianess>Yes</SwapEndianess></Port>" + reg("R", ""),
       {{"poke 0 01020304", "ok"},
        {"int R", "67305985"},
        {"setint R 1", "ok"},
        {"bytes 0 4", "01000000"}}},
  };
}

INSTANTIATE_TEST_SUITE_P(Caches, Features, testing::ValuesIn(Caches()), NameOf);

}  // namespace
}  // namespace OrvexTest
