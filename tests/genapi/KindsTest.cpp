// SPDX-License-Identifier: Apache-2.0
// Every kind of node in small descriptions: values, ranges, access modes, errors, and the bytes
// that reach the device.
#include <gtest/gtest.h>

#include "Script.h"

namespace OrvexTest {
namespace {

struct Case {
  const char* name;
  std::string nodes;
  std::vector<Step> steps;
};

class Kinds : public testing::TestWithParam<Case> {};

TEST_P(Kinds, AnswerAsTheStandardSays) {
  Play(GetParam().nodes, GetParam().steps);
}

std::string NameOf(const testing::TestParamInfo<Case>& info) {
  return info.param.name;
}

const char* const sk_big = "<Endianess>BigEndian</Endianess>";
const char* const sk_little = "<Endianess>LittleEndian</Endianess>";
const char* const sk_signed = "<Sign>Signed</Sign>";

std::vector<Case> IntegerRegisters() {
  const std::string big = sk_big;
  const std::string little = sk_little;
  return {
      {"ByteOrders",
       Port() + Reg("IntReg", "B", "0x10", 4, big) + Reg("IntReg", "L", "0x10", 4, little),
       {{"poke 0x10 01020304", "ok"},
        {"int B", "16909060"},
        {"int L", "67305985"},
        {"setint B 0xA0B0C0D0", "ok"},
        {"bytes 0x10 4", "a0b0c0d0"},
        {"int L", "3502289056"}}},
      {"MissingByteOrderIsLittle",
       Port() + Reg("IntReg", "R", "0", 2),
       {{"poke 0 0102", "ok"}, {"int R", "513"}}},
      {"OddLengths",
       Port() + Reg("IntReg", "R3", "0", 3, big + sk_signed) + Reg("IntReg", "R5", "8", 5, big) +
           Reg("IntReg", "R7", "16", 7, little + sk_signed),
       {{"poke 0 ffffff", "ok"},
        {"int R3", "-1"},
        {"min R3", "-8388608"},
        {"max R3", "8388607"},
        {"max R5", "1099511627775"},
        {"setint R5 0x0102030405", "ok"},
        {"bytes 8 5", "0102030405"},
        {"setint R7 -2", "ok"},
        {"bytes 16 7", "feffffffffffff"},
        {"int R7", "-2"}}},
      {"UnsignedEightBytesKeepTheirBits",
       Port() + Reg("IntReg", "R", "0", 8, big) + Reg("IntReg", "S", "8", 8, big + sk_signed),
       {{"min R", "0"},
        {"max R", "9223372036854775807"},
        {"poke 0 8000000000000001", "ok"},
        {"int R", "-9223372036854775807"},
        {"min S", "-9223372036854775808"},
        {"setint R -1", "!OutOfRange"},
        {"setraw R -1", "ok"},
        {"bytes 0 8", "ffffffffffffffff"}}},
      {"RangeAndText",
       Port() + Reg("IntReg", "R", "0", 1, big) +
           Reg("IntReg", "H", "4", 4, big + "<Representation>HexNumber</Representation>") +
           Reg("IntReg", "A", "8", 4, big + "<Representation>IPV4Address</Representation>") +
           Reg("IntReg", "M", "16", 8, big + "<Representation>MACAddress</Representation>"),
       {{"setint R 256", "!OutOfRange"},
        {"setint R -1", "!OutOfRange"},
        {"set R 0xff", "ok"},
        {"text R", "255"},
        {"set R abc", "!InvalidArgument"},
        {"set R 12x", "!InvalidArgument"},
        {"set R ", "!InvalidArgument"},
        {"set H 0xDEADBEEF", "ok"},
        {"text H", "0xdeadbeef"},
        {"set A 192.168.1.20", "ok"},
        {"text A", "192.168.1.20"},
        {"bytes 8 4", "c0a80114"},
        {"set A 192.168.1", "!InvalidArgument"},
        {"set A 192.168.1.256", "!InvalidArgument"},
        {"set M 00:0a:35:ff:fe:01", "ok"},
        {"text M", "00:0a:35:ff:fe:01"}}},
      {"AccessModes",
       Port() + Reg("IntReg", "Ro", "0", 4, big, "RO") + Reg("IntReg", "Wo", "4", 4, big, "WO") +
           Reg("IntReg", "Imposed", "8", 4, big + "<ImposedAccessMode>RO</ImposedAccessMode>") +
           Reg("IntReg", "None", "12", 4, big + "<ImposedAccessMode>RO</ImposedAccessMode>", "WO"),
       {{"mode Ro", "RO"},
        {"setint Ro 1", "!Access"},
        {"set Ro 1", "!Access"},
        {"mode Wo", "WO"},
        {"int Wo", "!Access"},
        {"setint Wo 7", "ok"},
        {"bytes 4 4", "00000007"},
        {"mode Imposed", "RO"},
        {"mode None", "NA"}}},
      {"AddressesAddUp",
       Port() + Node("Integer", "Base", "<Value>0x100</Value>") +
           Node("Integer", "Index", "<Value>2</Value>") +
           Node("Integer", "Step", "<Value>16</Value>") +
           Reg("IntReg", "Sum", "4", 4, big + "<Address>8</Address><pAddress>Base</pAddress>") +
           Reg("IntReg", "Offset", "0", 4, big + "<pIndex Offset=\"32\">Index</pIndex>") +
           Reg("IntReg", "Node", "0", 4, big + "<pIndex pOffset=\"Step\">Index</pIndex>") +
           Reg("IntReg", "Plain", "0", 4, big + "<pIndex>Index</pIndex>") +
           Reg("IntReg", "Knife", "1", 4,
               big + "<IntSwissKnife Name=\"K\"><pVariable Name=\"B\">Base</pVariable>"
                     "<Formula>B * 2</Formula></IntSwissKnife>") +
           Reg("IntReg", "Negative", "-4", 4, big) +
           Reg("IntReg", "Far", "0xFFFFFFFF00000010", 4, big),
       {{"addr Sum", "268"},
        {"addr Offset", "64"},
        {"addr Node", "32"},
        {"addr Plain", "8"},
        {"addr Knife", "513"},
        {"int _Knife_K", "512"},
        {"setint Base 0x200", "ok"},
        {"addr Sum", "524"},
        {"addr Knife", "1025"},
        {"addr Negative", "-4"},
        {"addr Far", "-4294967280"},
        {"int K", "1024"}}},  // the formula is known under its own name too
      {"RegistersMayLieAcrossTheEndOfTheAddresses",
       Port() + Reg("Register", "R", "-4", 8) + Reg("IntReg", "I", "0", 4, big),
       {{"text R", "0x0000000000000000"}, {"setint I 1", "ok"}, {"text R", "0x0000000000000001"}}},
      {"LengthsFromNodes",
       Port() + Node("Integer", "Length", "<Value>2</Value>") +
           Node("IntReg", "I",
                "<Address>0</Address><pLength>Length</pLength><AccessMode>RW</AccessMode>"
                "<pPort>Device</pPort>" +
                    big) +
           Node("MaskedIntReg", "M",
                "<Address>0</Address><pLength>Length</pLength><pPort>Device</pPort><LSB>15</LSB>"
                "<MSB>8</MSB>" +
                    big) +
           Node("FloatReg", "F",
                "<Address>8</Address><pLength>Length</pLength><pPort>Device</pPort>" + big),
       {{"poke 0 0102030400000000", "ok"},
        {"int I", "258"},
        {"max I", "65535"},
        {"int M", "2"},
        {"float F", "!Property"},
        {"setint Length 4", "ok"},
        {"int I", "16909060"},
        {"int M", "2"},
        {"float F", "0"},
        {"setint Length 9", "ok"},
        {"int I", "!Property"}}},
  };
}
INSTANTIATE_TEST_SUITE_P(IntegerRegisters, Kinds, testing::ValuesIn(IntegerRegisters()), NameOf);

std::vector<Case> BitFields() {
  const std::string big = sk_big;
  const std::string little = sk_little;
  const auto field = [](const char* name, const std::string& more, int length = 4) {
    return Reg("MaskedIntReg", name, "0", length, more);
  };
  return {
      // Little-endian registers count from the least significant bit, big-endian ones from the most
      // significant.
      {"BitNumbers",
       Port() + field("L0", little + "<Bit>0</Bit>") + field("B0", big + "<Bit>0</Bit>") +
           field("B31", big + "<Bit>31</Bit>") + field("L", little + "<LSB>4</LSB><MSB>7</MSB>") +
           field("B", big + "<LSB>15</LSB><MSB>8</MSB>"),
       {{"poke 0 80420001", "ok"},
        {"int L0", "0"},
        {"int B0", "1"},
        {"int B31", "1"},
        {"int L", "8"},
        {"int B", "66"},
        {"max B", "255"}}},
      {"ExchangedLimitsAreSorted",
       Port() + field("A", little + "<LSB>7</LSB><MSB>4</MSB>") +
           field("B", big + "<LSB>8</LSB><MSB>15</MSB>"),
       {{"poke 0 80420001", "ok"}, {"int A", "8"}, {"int B", "66"}}},
      {"SignedFields",
       Port() + field("F", little + sk_signed + "<LSB>4</LSB><MSB>7</MSB>"),
       {{"poke 0 f0000000", "ok"},
        {"int F", "-1"},
        {"min F", "-8"},
        {"max F", "7"},
        {"setint F -8", "ok"},
        {"bytes 0 4", "80000000"},
        {"setint F 8", "!OutOfRange"}}},
      {"NeighboursSurvive",
       Port() + field("Low", little + "<LSB>0</LSB><MSB>3</MSB>") +
           field("High", little + "<LSB>4</LSB><MSB>7</MSB>") +
           Reg("IntReg", "Whole", "0", 4, little),
       {{"poke 0 a5ffffff", "ok"},
        {"setint Low 3", "ok"},
        {"bytes 0 4", "a3ffffff"},
        {"setint High 1", "ok"},
        {"bytes 0 4", "13ffffff"},
        {"int Low", "3"},
        {"int Whole", "4294967059"},
        {"setint Whole 0", "ok"},
        {"int Low", "0"},
        {"int High", "0"}}},
      {"WriteOnlyFieldsClearTheRest",
       Port() + Reg("MaskedIntReg", "F", "0", 2, little + "<LSB>8</LSB><MSB>15</MSB>", "WO"),
       {{"poke 0 ffff", "ok"}, {"setint F 0x12", "ok"}, {"bytes 0 2", "0012"}}},
      {"SixtyFourBits",
       Port() + field("F", big + "<LSB>63</LSB><MSB>0</MSB>", 8),
       {{"poke 0 0123456789abcdef", "ok"}, {"int F", "81985529216486895"}}},
      {"StructuresShareTheirRegister",
       Port() + "<StructReg "
                "Comment=\"S\"><Address>0x20</Address><Length>4</Length><AccessMode>RO</AccessMode>"
                "<pPort>Device</pPort><Endianess>BigEndian</Endianess>"
                "<StructEntry Name=\"A\"><Bit>31</Bit></StructEntry>"
                "<StructEntry "
                "Name=\"B\"><AccessMode>RW</AccessMode><LSB>30</LSB><MSB>24</MSB></StructEntry>"
                "</StructReg>",
       {{"poke 0x20 00000005", "ok"},
        {"int A", "1"},
        {"int B", "2"},
        {"mode A", "RO"},
        {"mode B", "RW"},
        {"setint B 0x7f", "ok"},
        {"bytes 0x20 4", "000000ff"},
        {"addr A", "32"}}},
  };
}
INSTANTIATE_TEST_SUITE_P(BitFields, Kinds, testing::ValuesIn(BitFields()), NameOf);

std::vector<Case> Integers() {
  const std::string big = sk_big;
  return {
      {"FloatingValue",
       Node("Integer", "I",
            "<Value>0x10</Value><Min>0</Min><Max>100</Max><Inc>4</Inc><Unit>ms</Unit>"
            "<Representation>Linear</Representation>") +
           Node("Integer", "Free", "<Value> -5 </Value>"),
       {{"int I", "16"},
        {"setint I 20", "ok"},
        {"int I", "20"},
        {"setint I 21", "!OutOfRange"},
        {"setint I 104", "!OutOfRange"},
        {"setraw I 21", "ok"},
        {"int I", "21"},
        {"checked I", "!OutOfRange"},
        {"unit I", "ms"},
        {"repr I", "Linear"},
        {"int Free", "-5"},
        {"min Free", "-9223372036854775808"},
        {"max Free", "9223372036854775807"},
        {"inc Free", "1"},
        {"mode Free", "RW"}}},
      {"TakesWhatItDoesNotSayFromItsTarget",
       Port() +
           Reg("IntReg", "R", "0", 2,
               big + "<Unit>us</Unit><Representation>HexNumber</Representation>") +
           Node("Integer", "I", "<pValue>R</pValue>") +
           Node("Integer", "J", "<pValue>I</pValue><Min>10</Min><Max>20</Max><Unit>s</Unit>"),
       {{"max I", "65535"},
        {"unit I", "us"},
        {"repr I", "HexNumber"},
        {"unit J", "s"},
        {"min J", "10"},
        {"setint J 9", "!OutOfRange"},
        {"setint J 15", "ok"},
        {"bytes 0 2", "000f"},
        {"int I", "15"}}},
      {"BoundsFromNodes",
       Node("Integer", "Lo", "<Value>2</Value>") + Node("Integer", "Hi", "<Value>9</Value>") +
           Node("Integer", "Step", "<Value>3</Value>") +
           Node("Integer", "I", "<Value>5</Value><pMin>Lo</pMin><pMax>Hi</pMax><pInc>Step</pInc>"),
       {{"min I", "2"},
        {"max I", "9"},
        {"inc I", "3"},
        {"setint I 8", "ok"},
        {"setint I 9", "!OutOfRange"},
        {"setint Lo 3", "ok"},
        {"setint I 9", "ok"},
        {"setint Step 0", "ok"},
        {"setint I 9", "!LogicalError"}}},
      {"CopiesAreWrittenInOrder",
       Port() + Reg("IntReg", "A", "0", 4, big) + Reg("IntReg", "B", "4", 2, big) +
           Node("Integer", "I", "<pValueCopy>B</pValueCopy><pValue>A</pValue>"),
       {{"max I", "65535"},
        {"setint I 300", "ok"},
        {"bytes 0 4", "0000012c"},
        {"bytes 4 2", "012c"},
        {"poke 0 00000005", "ok"},
        {"drop A", "ok"},
        {"int I", "5"}}},
      {"CopiesWithOtherStepsAreReadOnly",
       Node("Integer", "A", "<Value>0</Value>") +
           Node("Integer", "B", "<Value>0</Value><Inc>2</Inc>") +
           Node("Integer", "I", "<pValue>A</pValue><pValueCopy>B</pValueCopy>"),
       {{"mode I", "RO"}, {"setint I 2", "!Access"}}},
      {"TablesChooseByIndex",
       Port() + Reg("IntReg", "R", "0", 4, big + "<Unit>mm</Unit>") +
           Node("Integer", "Sel", "<Value>0</Value>") +
           Node("Integer", "I",
                "<pIndex>Sel</pIndex><ValueIndexed Index=\"0\">10</ValueIndexed>"
                "<pValueIndexed Index=\"1\">R</pValueIndexed><ValueDefault>-1</ValueDefault>") +
           Node("Integer", "NoDefault",
                "<pIndex>Sel</pIndex><ValueIndexed Index=\"0\">10</ValueIndexed>"),
       {{"int I", "10"},
        {"setint I 11", "ok"},
        {"int I", "11"},
        {"unit I", ""},
        {"setint Sel 1", "ok"},
        {"int I", "0"},
        {"unit I", "mm"},
        {"setint I 77", "ok"},
        {"bytes 0 4", "0000004d"},
        {"max I", "4294967295"},
        {"setint Sel 5", "ok"},
        {"int I", "-1"},
        {"mode NoDefault", "NA"},
        {"setint Sel 0", "ok"},
        {"int I", "11"},
        {"mode NoDefault", "RW"}}},
      {"ValidValueSets",
       Node("Integer", "I",
            "<Value>4</Value><Min>2</Min><Max>20</Max>"
            "<ValidValueSet>1;2;4; 8 ;16;32</ValidValueSet>") +
           Node("Integer", "Other", "<Value>1</Value><ValidValuesSet>1;3</ValidValuesSet>") +
           Node("Integer", "Over", "<pValue>I</pValue>"),
       {{"valid I", "2,4,8,16"},
        {"setint I 8", "ok"},
        {"setint I 6", "!OutOfRange"},
        {"setint I 32", "!OutOfRange"},
        {"valid Other", "1,3"},
        {"valid Over", "2,4,8,16"}}},
  };
}
INSTANTIATE_TEST_SUITE_P(Integers, Kinds, testing::ValuesIn(Integers()), NameOf);

std::vector<Case> Floats() {
  const std::string big = sk_big;
  return {
      {"FloatRegisters",
       Port() + Reg("FloatReg", "F4", "0", 4, big) + Reg("FloatReg", "F8", "8", 8, sk_little),
       {{"poke 0 3fc00000", "ok"},
        {"float F4", "1.5"},
        {"setfloat F4 -2", "ok"},
        {"bytes 0 4", "c0000000"},
        {"max F4", "3.402823466e+38"},
        {"setfloat F4 1e39", "!OutOfRange"},
        {"setfloat F8 0.25", "ok"},
        {"bytes 8 8", "000000000000d03f"},
        {"caching F8", "WriteAround"}}},
      {"FloatingValue",
       Node("Float", "F",
            "<Value>2.5</Value><Min>-1e3</Min><Max>1e3</Max><Inc>0.5</Inc><Unit>dB</Unit>"
            "<DisplayNotation>Fixed</DisplayNotation><DisplayPrecision>3</DisplayPrecision>") +
           Node("Float", "G", "<Value>1</Value>"),
       {{"float F", "2.5"},
        {"text F", "2.500"},
        {"inc F", "0.5"},
        {"inc G", "!Runtime"},
        {"setfloat F 2.6", "ok"},
        {"setfloat F 1000.1", "!OutOfRange"},
        {"setfloat F nan", "!OutOfRange"},
        {"set F 1.5e1", "ok"},
        {"float F", "15"},
        {"set F 1,5", "!InvalidArgument"},
        {"set F x", "!InvalidArgument"},
        {"unit F", "dB"},
        {"max G", "1.797693135e+308"}}},
      {"TextStaysInsideTheRange",
       Node("Float", "F", "<Value>0.66666666666666</Value><Min>0</Min><Max>0.66666666666666</Max>"),
       {{"text F", "0.666666"}}},
      {"OverIntegers",
       Port() + Reg("IntReg", "R", "0", 4, big) + Node("Float", "F", "<pValue>R</pValue>") +
           Node("Integer", "Grid", "<Value>10</Value><Min>10</Min><Max>100</Max><Inc>7</Inc>") +
           Node("Float", "OverGrid", "<pValue>Grid</pValue><Min>0</Min><Max>1000</Max>"),
       {{"max F", "4294967295"},
        {"setfloat F 2.5", "ok"},
        {"bytes 0 4", "00000003"},
        {"setfloat F 2.4", "ok"},
        {"int R", "2"},
        {"setfloat OverGrid 20", "ok"},
        {"int Grid", "17"},
        {"setfloat OverGrid 21", "ok"},
        {"int Grid", "24"},
        {"setfloat OverGrid 500", "!OutOfRange"}}},
      {"IntegersOverFloats",
       Node("Float", "F", "<Value>2.5</Value><Min>0.5</Min><Max>9.5</Max>") +
           Node("Integer", "I", "<pValue>F</pValue>") +
           Node("Float", "Huge", "<Value>1e300</Value>") +
           Node("Integer", "FromHuge", "<pValue>Huge</pValue>"),
       {{"int I", "3"},
        {"min I", "1"},
        {"max I", "9"},
        {"setint I 7", "ok"},
        {"float F", "7"},
        {"int FromHuge", "!OutOfRange"}}},
  };
}
INSTANTIATE_TEST_SUITE_P(Floats, Kinds, testing::ValuesIn(Floats()), NameOf);

}  // namespace
}  // namespace OrvexTest
