// SPDX-License-Identifier: Apache-2.0
#include "gigevision/XmlUrl.h"

#include <gtest/gtest.h>

using GigEVision::ParseXmlUrl;
using Place = GigEVision::XmlUrl::Place;

TEST(XmlUrl, AcceptsWhatDevicesWrite) {
  struct Row {
    const char* text;
    const char* name;
    uint64_t address, length;
  };
  constexpr Row sk_rows[] = {
      {"Local:a.zip;1000000;20b0", "a.zip", 0x1000000, 0x20B0},
      {"LOCAL:A.XML;FF00;1F", "A.XML", 0xFF00, 0x1F},
      {"local:///a.xml;0x100;0X20", "a.xml", 0x100, 0x20},
      {" Local: a b.zip ; 100 ; 20 ", "a b.zip", 0x100, 0x20},
      {"Local:a.zip;8001000000000000;20?SchemaVersion=1.1.0", "a.zip", 0x8001000000000000, 0x20},
      {"Local:a.zip;100;20;", "a.zip", 0x100, 0x20},
  };
  for (const Row& row : sk_rows) {
    const auto url = ParseXmlUrl(row.text);
    ASSERT_TRUE(url) << row.text;
    EXPECT_EQ(url->place, Place::Local) << row.text;
    EXPECT_EQ(url->fileName, row.name) << row.text;
    EXPECT_EQ(url->address, row.address) << row.text;
    EXPECT_EQ(url->length, row.length) << row.text;
  }
  EXPECT_EQ(ParseXmlUrl("Local:a.zip;1;2?SchemaVersion=1.1.0")->schemaVersion, "1.1.0");
  EXPECT_TRUE(ParseXmlUrl("Local:a.ZIP;1;2")->Zipped());
  EXPECT_FALSE(ParseXmlUrl("Local:a.xml;1;2")->Zipped());
}

TEST(XmlUrl, KnowsFilesAndWebSites) {
  EXPECT_EQ(ParseXmlUrl("File:///opt/x.xml")->fileName, "/opt/x.xml");
  EXPECT_EQ(ParseXmlUrl("file:x.xml?SchemaVersion=1.0.0")->fileName, "x.xml");
  EXPECT_EQ(ParseXmlUrl("file:x.xml")->place, Place::File);
  EXPECT_EQ(ParseXmlUrl("http://host/x.zip")->place, Place::Http);
}

TEST(XmlUrl, RefusesWhatCannotBeRead) {
  for (const char* text :
       {"", "Local:", "Local:a.zip", "Local:a.zip;100", "Local:a.zip;;20", "Local:a.zip;10g;20",
        "Local:a.zip;100;", "Local:a.zip;10000000000000000;20", "ftp:a.zip;1;2", "File:"}) {
    EXPECT_FALSE(ParseXmlUrl(text)) << text;
  }
}

TEST(XmlUrl, IsWrittenWithoutPrefixes) {
  EXPECT_EQ(GigEVision::FormatLocalUrl("a.zip", 0x1000000, 0x20B0), "Local:a.zip;1000000;20b0");
}
