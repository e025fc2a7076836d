// SPDX-License-Identifier: Apache-2.0
// The commands that work on picture files, without a camera: what goes in as bytes laid out by hand
// and what comes out.
#include <fstream>

#include "WithCameras.h"

namespace OrvexTest {
namespace {

using testing::HasSubstr;
using Bytes = std::vector<uint8_t>;

class ImageCommands : public WithCameras {
 protected:
  void Write(const std::string& name, const Bytes& bytes) const {
    std::ofstream(m_folder / name, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
  }
  void WriteText(const std::string& name, const std::string& text) const {
    std::ofstream(m_folder / name) << text;
  }
  void WriteRaw(const std::string& name, const char* pFormat, size_t width, size_t height,
                const Bytes& bytes) const {
    Write(name, bytes);
    const nlohmann::json facts = {{"width", width}, {"height", height}, {"pixel_format", pFormat}};
    WriteText(name + ".json", facts.dump());
  }
  Bytes Read(const std::string& name) const {
    std::ifstream file(m_folder / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  // Runs a command from in.raw to out.raw; the bytes that came out.
  Bytes Made(std::vector<std::string> arguments, const char* pFormat) {
    arguments.insert(arguments.begin() + 1, {"in.raw", "out.raw"});
    const nlohmann::json told = OrvexJson(arguments);
    EXPECT_EQ(told["to"], pFormat);
    EXPECT_EQ(nlohmann::json::parse(std::ifstream(m_folder / "out.raw.json"))["pixel_format"],
              pFormat);
    return Read("out.raw");
  }

  static Bytes Noise(size_t size) {
    Bytes bytes(size);
    uint32_t seed = 7;
    for (uint8_t& byte : bytes) byte = uint8_t((seed = seed * 1664525 + 1013904223) >> 24);
    return bytes;
  }
};

TEST_F(ImageCommands, PicturesOfEveryKindKeepTheirPixels) {
  for (const auto& [pFormat, bytes] :
       {std::pair{"Mono8", 1}, {"Mono16", 2}, {"RGB8", 3}, {"RGB16", 6}}) {
    const Bytes pixels = Noise(size_t(35 * bytes));
    WriteRaw("a.raw", pFormat, 7, 5, pixels);
    for (const auto& [from, to] : {std::pair{"a.raw", "b.png"}, {"b.png", "c.tiff"}}) {
      EXPECT_EQ(OrvexJson({"convert", from, to})["saved_as"], pFormat);
    }
    EXPECT_EQ(OrvexJson({"convert", "c.tiff", "d.raw", "--to", pFormat})["to"], pFormat);
    EXPECT_EQ(Read("d.raw"), pixels) << pFormat;
  }
}

TEST_F(ImageCommands, ConvertTakesTheAlgorithmAndLeavesNoByteToChance) {
  WriteRaw("in.raw", "BayerGR8", 16, 16, Noise(256));
  const Bytes plain = Made({"convert", "--to", "RGB8"}, "RGB8");
  EXPECT_EQ(Made({"convert", "--to", "RGB8", "--bayer-algorithm", "directional"}, "RGB8"), plain);
  EXPECT_NE(Made({"convert", "--to", "RGB8", "--bayer-algorithm", "Adaptive"}, "RGB8"), plain);
  ASSERT_EQ(Orvex({"convert", "in.raw", "a.png", "--bayer-algorithm", "adaptive"}).code, 0);
  ASSERT_EQ(Orvex({"convert", "in.raw", "b.png"}).code, 0);
  EXPECT_NE(Read("a.png"), Read("b.png"));

  WriteRaw("in.raw", "Mono8", 3, 1, {1, 2, 255});
  EXPECT_EQ(Made({"convert", "--to", "Mono16"}, "Mono16"), (Bytes{0, 1, 0, 2, 0, 255}));
  EXPECT_EQ(Made({"convert", "--to", "Mono24"}, "Mono24"), (Bytes{0, 0, 1, 0, 0, 2, 0, 0, 255}));
  // What a camera sends behind its pixels does not matter.
  WriteRaw("in.raw", "Mono8", 2, 1, {1, 2, 9, 9, 9});
  EXPECT_EQ(Made({"convert", "--to", "RGB8"}, "RGB8"), (Bytes{1, 1, 1, 2, 2, 2}));
}

TEST_F(ImageCommands, LutTakesBytesNumbersAndRules) {
  WriteRaw("in.raw", "Mono8", 4, 1, {0, 1, 64, 255});
  EXPECT_EQ(Made({"lut", "--invert"}, "Mono8"), (Bytes{255, 254, 191, 0}));
  EXPECT_EQ(Made({"lut", "--gamma", "0.5"}, "Mono8"), (Bytes{0, 16, 128, 255}));
  Bytes table(256, 5);
  table[64] = 77;
  Write("table.lut", table);
  EXPECT_EQ(Made({"lut", "--table", "table.lut"}, "Mono8"), (Bytes{5, 5, 77, 5}));

  // 12 bits: entries of two bytes. The samples are 0xABC and 0x123.
  WriteRaw("in.raw", "Mono12p", 2, 1, {0xBC, 0x3A, 0x12});
  EXPECT_EQ(Made({"lut", "--invert"}, "Mono12p"), (Bytes{0x43, 0xC5, 0xED}));
  std::string text;
  for (int i = 0; i < 4096; ++i)
    text += std::to_string(i == 0xABC ? 0x456 : 1) + (i % 2 ? "\n" : ", ");
  WriteText("table.csv", text);
  EXPECT_EQ(Made({"lut", "--table", "table.csv"}, "Mono12p"), (Bytes{0x56, 0x14, 0x00}));

  WriteRaw("in.raw", "DualMono16", 2, 1, {0, 0, 0xFF, 0x0F});
  EXPECT_EQ(Made({"lut", "--invert"}, "DualMono16"), (Bytes{0xFF, 0xFF, 0x00, 0xF0}));
  // One table for each channel.
  WriteRaw("in.raw", "RGB8", 1, 1, {3, 3, 3});
  Bytes three(768, 1);
  three[256 + 3] = 2;
  Write("three.lut", three);
  EXPECT_EQ(Made({"lut", "--table", "three.lut"}, "RGB8"), (Bytes{1, 2, 1}));
}

TEST_F(ImageCommands, SelectBitsKeepsEight) {
  WriteRaw("in.raw", "BayerRG12p", 2, 1, {0xBC, 0x3A, 0x12});
  EXPECT_EQ(Made({"selectbits"}, "BayerRG8"), (Bytes{0xAB, 0x12}));
  EXPECT_EQ(Made({"selectbits", "--lowest-bit", "0"}, "BayerRG8"), (Bytes{0xBC, 0x23}));
  EXPECT_EQ(Made({"selectbits", "--scale", "3"}, "BayerRG8"), (Bytes{255, 0x91}));
  EXPECT_EQ(Made({"selectbits", "--scale", "-1"}, "BayerRG8"), (Bytes{0x55, 0x09}));
}

TEST_F(ImageCommands, DeinterleaveStacksOrSplits) {
  WriteRaw("in.raw", "PolarizedAngles_0d_45d_90d_135d_Mono8", 2, 1, {1, 2, 3, 4, 5, 6, 7, 8});
  EXPECT_EQ(Made({"deinterleave"}, "Mono8"), (Bytes{1, 5, 2, 6, 3, 7, 4, 8}));
  const nlohmann::json told = OrvexJson({"deinterleave", "in.raw", "part.raw", "--split"});
  ASSERT_EQ(told.size(), 4u);
  EXPECT_EQ(told[2]["file"], "part-2.raw");
  EXPECT_EQ(Read("part-2.raw"), (Bytes{3, 7}));
  EXPECT_EQ(Orvex({"deinterleave", "in.raw", "planes.png"}).code, 0);
  // Bayer planes of one line cannot be stacked into one picture in colour.
  WriteRaw("in.raw", "QuadBayerRG8", 8, 1, Noise(8));
  EXPECT_THAT(Orvex({"deinterleave", "in.raw", "a.png"}), FailsWith(1, "use --split"));
  EXPECT_EQ(Orvex({"deinterleave", "in.raw", "a.raw"}).code, 0);
}

Bytes Qoi(uint8_t width, uint8_t channels, const Bytes& chunks) {
  Bytes stream;
  for (const Bytes& part : {Bytes{'q', 'o', 'i', 'f', 0, 0, 0, width, 0, 0, 0, 1, channels, 0},
                            chunks, Bytes{0, 0, 0, 0, 0, 0, 0, 1}}) {
    for (const uint8_t byte : part) stream.push_back(byte);
  }
  return stream;
}

TEST_F(ImageCommands, DecompressGoesByTheStreamTheFactsOrTheWord) {
  Write("a.qoi", Qoi(2, 3, {0xFE, 10, 20, 30, 0xC0}));
  EXPECT_EQ(OrvexJson({"decompress", "a.qoi", "out.raw"})["to"], "RGB8");
  EXPECT_EQ(Read("out.raw"), (Bytes{10, 20, 30, 10, 20, 30}));
  EXPECT_EQ(OrvexJson({"decompress", "a.qoi", "a.png"})["from"], "QOI_RGB8");
  EXPECT_EQ(OrvexJson({"decompress", "a.qoi", "b.raw", "--format", "bgr8"})["to"], "BGR8");
  EXPECT_EQ(Read("b.raw"), Read("out.raw"));
  WriteRaw("in.raw", "QOI_BayerGB8", 2, 1, Qoi(2, 1, {0x41, 7, 9}));
  EXPECT_EQ(Made({"decompress"}, "BayerGB8"), (Bytes{7, 9}));
  EXPECT_THAT(Orvex({"convert", "in.raw", "a.png"}), FailsWith(1, "use `orvex decompress`"));
}

TEST_F(ImageCommands, CompressedFramesOfACameraAreKeptOrShown) {
  m_simOptions = {"--model", "qoi"};
  StartCameras();
  EXPECT_EQ(OrvexJson({"grab", Serial(), "-o", "in.raw"})[0]["saved_as"], "QOI_Mono8");
  const nlohmann::json told = OrvexJson({"decompress", "in.raw", "out.raw"});
  EXPECT_EQ(told["to"], "Mono8");
  EXPECT_EQ(Read("out.raw").size(), told["width"].get<size_t>() * told["height"].get<size_t>());
  EXPECT_EQ(OrvexJson({"grab", Serial(), "-o", "a.png"})[0]["saved_as"], "Mono8");
}

TEST_F(ImageCommands, BadInputGetsOneLine) {
  WriteRaw("mono.raw", "Mono8", 2, 2, {1, 2, 3, 4});
  WriteRaw("packed.raw", "Mono12Packed", 2, 1, {1, 2, 3});
  WriteRaw("short.raw", "Mono8", 2, 2, {1, 2, 3});
  WriteRaw("huge.raw", "RGBa16", size_t{1} << 61, 16, {1});
  WriteRaw("wide.raw", "TavikXYTP128f", 1 << 20, 1 << 20, {1});
  WriteRaw("odd.raw", "Mono9", 2, 2, {1, 2, 3, 4});
  Write("bare.raw", {1});
  for (const char* pText : {"{", "[1]", "{\"width\": \"a\"}", "{}"}) {
    Write("text.raw", {1});
    WriteText("text.raw.json", pText);
    EXPECT_THAT(Orvex({"convert", "text.raw", "a.png"}), FailsWith(1, "does not tell width"));
  }
  for (const char* pName : {"text.png", "text.tiff"}) WriteText(pName, "no picture\n");
  WriteText("empty.png", "");
  std::filesystem::create_directory(m_folder / "folder.raw");
  WriteText("folder.raw.json", R"({"width":1,"height":1,"pixel_format":"Mono8"})");
  ASSERT_EQ(Orvex({"convert", "mono.raw", "cut.png"}).code, 0);
  std::filesystem::resize_file(m_folder / "cut.png", 50);
  ASSERT_EQ(Orvex({"convert", "mono.raw", "cut.tiff"}).code, 0);
  std::filesystem::resize_file(m_folder / "cut.tiff", 60);
  WriteText("words.txt", "1 2 three");
  WriteText("large.txt", "1 2 256");
  Write("magic.qoi", {'q', 'o', 'i', 'g', 0});
  Write("three.qoi", {'q', 'o', 'i'});
  Write("cut.qoi", Qoi(9, 3, {0xFE, 1, 2, 3}));
  Write("alpha.qoi", Qoi(1, 4, {0xFF, 1, 2, 3, 4}));
  Write("empty.qoi", {});
  Write("grey.qoi", Qoi(1, 1, {0x40, 7}));

  struct Row {
    std::vector<std::string> arguments;
    int code;
    const char* text;
  };
  const Row rows[] = {
      {{"convert", "none.png", "a.png"}, 1, "cannot read none.png: No such file"},
      {{"convert", "none.raw", "a.png"}, 1, "raw bytes need the facts beside them"},
      {{"convert", "bare.raw", "a.png"}, 1, "raw bytes need the facts beside them"},
      {{"convert", "text.png", "a.png"}, 1, "cannot read text.png: "},
      {{"convert", "empty.png", "a.png"}, 1, "cannot read empty.png: "},
      {{"convert", "text.tiff", "a.png"}, 1, "no TIFF file"},
      {{"convert", "cut.png", "a.raw"}, 1, "cannot read cut.png: "},
      {{"convert", "cut.tiff", "a.raw"}, 1, "cannot read cut.tiff: "},
      {{"convert", "folder.raw", "a.png"}, 1, "it is a folder"},
      {{"convert", "short.raw", "a.png"}, 1, "holds 3 bytes, but 2 x 2 pixels of Mono8 take 4"},
      {{"convert", "huge.raw", "a.png"}, 1, "are none or too many"},
      {{"convert", "wide.raw", "a.png"}, 1, "are none or too many"},
      {{"convert", "odd.raw", "a.png"}, 1, "unknown pixel format 'Mono9'"},
      {{"convert", "mono.raw", "a.bmp"}, 2, ".png, .tiff or .raw"},
      {{"convert", "mono.raw", "none/a.png"}, 1, "make the folder first"},
      {{"convert", "mono.raw", "a.png", "--to", "Mono12p"}, 2, "save Mono12p as .raw"},
      {{"convert", "mono.raw", "a.raw", "--to", "Mono14"}, 1, "To pixel format Mono14 not"},
      {{"convert", "mono.raw", "a.raw", "--bayer-algorithm", "best"}, 2, "--bayer-algorithm"},
      {{"lut", "mono.raw", "a.raw"}, 2, "one of --table, --gamma and --invert"},
      {{"lut", "mono.raw", "a.raw", "--invert", "--gamma", "2"}, 2, "one of --table"},
      {{"lut", "mono.raw", "a.raw", "--gamma", "0"}, 2, "--gamma"},
      {{"lut", "mono.raw", "a.raw", "--table", "none.lut"}, 1, "cannot read none.lut"},
      {{"lut", "mono.raw", "a.raw", "--table", "bare.raw"}, 1, "256-byte length (1 input)"},
      {{"lut", "mono.raw", "a.raw", "--table", "words.txt"}, 1, "'three' in words.txt"},
      {{"lut", "mono.raw", "a.raw", "--table", "large.txt"}, 1, "no number from 0 to 255"},
      {{"lut", "packed.raw", "a.raw", "--invert"}, 1, "unavailable on pixel format Mono12Packed"},
      {{"selectbits", "mono.raw", "a.raw", "--lowest-bit", "1"}, 1, "lowest bit 1 not available"},
      {{"selectbits", "mono.raw", "a.raw", "--lowest-bit", "0", "--scale", "1"}, 2, "excludes"},
      {{"deinterleave", "mono.raw", "a.raw"}, 1, "not available for pixel format Mono8"},
      {{"deinterleave", "mono.raw", "a.raw", "--split"}, 1, "not available for pixel format"},
      {{"decompress", "none.qoi", "a.png"}, 1, "cannot read none.qoi"},
      {{"decompress", "empty.qoi", "a.png"}, 1, "empty.qoi is empty"},
      {{"decompress", "three.qoi", "a.png"}, 1, "buffer size too small"},
      {{"decompress", "magic.qoi", "a.png"}, 1, "no QOI magic"},
      {{"decompress", "cut.qoi", "a.png"}, 1, "QOI decode error"},
      {{"decompress", "alpha.qoi", "a.png"}, 1, "alpha channel"},
      {{"decompress", "grey.qoi", "a.png", "--format", "RGB8"}, 1, "create image failed"},
      {{"decompress", "grey.qoi", "a.png", "--format", "Mono16"}, 2, "no format of compressed"},
      {{"decompress", "mono.raw", "a.png"}, 1, "holds Mono8, which is not compressed"},
  };
  for (const Row& row : rows) {
    std::string line;
    for (const std::string& word : row.arguments) line += word + " ";
    EXPECT_THAT(Orvex(row.arguments), FailsWith(row.code, row.text)) << line;
  }
}

}  // namespace
}  // namespace OrvexTest
