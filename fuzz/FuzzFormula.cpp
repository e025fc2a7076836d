// SPDX-License-Identifier: Apache-2.0
// Any text as a formula, as integer and as float: a number, or an exception of the interface.
#include <GenApi/GenApi.h>

#include <string>

namespace {

std::string Escaped(const uint8_t* data, size_t size) {
  std::string text;
  for (size_t i = 0; i < size; ++i) {
    const char c = static_cast<char>(data[i]);
    switch (c) {
      case '<':
        text += "&lt;";
        break;
      case '>':
        text += "&gt;";
        break;
      case '&':
        text += "&amp;";
        break;
      case 0:
        break;
      default:
        text += c;
    }
  }
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string formula = Escaped(data, size);
  const std::string inputs =
      "<pVariable Name=\"A\">A</pVariable><pVariable Name=\"B\">B</pVariable>"
      "<Constant Name=\"K\">-9223372036854775807</Constant><Expression Name=\"X\">A - "
      "K</Expression><Formula>" +
      formula + "</Formula>";
  const std::string text =
      "<RegisterDescription ModelName=\"F\" VendorName=\"F\" SchemaMajorVersion=\"1\" "
      "SchemaMinorVersion=\"1\">"
      "<Integer Name=\"A\"><Value>7</Value></Integer><Float Name=\"B\"><Value>-2.5</Value></Float>"
      "<IntSwissKnife Name=\"I\">" +
      inputs + "</IntSwissKnife><SwissKnife Name=\"F\">" + inputs +
      "</SwissKnife></RegisterDescription>";
  try {
    GenApi::CNodeMapRef map;
    map._LoadXMLFromString(GenICam::gcstring(text.data(), text.size()));
    for (const char* name : {"I", "F"}) {
      try {
        GenApi::CValuePtr(map._GetNode(name))->ToString();
      } catch (const GenICam::GenericException&) {
      }
    }
  } catch (const GenICam::GenericException&) {
  }
  return 0;
}
