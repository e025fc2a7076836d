// SPDX-License-Identifier: Apache-2.0
// The program `orvex` from outside: every command against virtual cameras over real sockets.
#include <png.h>
#include <signal.h>

#include <fstream>
#include <sstream>

#include "WithCameras.h"
#include "tests/Places.h"

namespace OrvexTest {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class CommandLine : public WithCameras {};

std::string Content(const std::filesystem::path& name) {
  std::ifstream file(name, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

struct UsageCase {
  const char* name;
  std::vector<std::string> arguments;
  const char* message;
};

class WrongUsage : public WithCameras, public testing::WithParamInterface<UsageCase> {};

TEST_P(WrongUsage, IsSaidInOneLineWithCodeTwo) {
  const Result result = Orvex(GetParam().arguments);
  EXPECT_THAT(result, FailsWith(2, GetParam().message));
  EXPECT_EQ(result.out, "");
}

INSTANTIATE_TEST_SUITE_P(
    Lines, WrongUsage,
    testing::Values(UsageCase{"NoCommand", {}, "orvex --help"},
                    UsageCase{
                        "UnknownCommand", {"lisst"}, "no command 'lisst'; see `orvex --help`"},
                    UsageCase{"UnknownOption", {"grab", "--fast"}, "orvex grab --help"},
                    UsageCase{"NoFeature", {"get"}, "FEATURE"},
                    UsageCase{"TooFewWords", {"set", "Width"}, "set [DEVICE] FEATURE VALUE"},
                    UsageCase{"TooManyWords", {"get", "a", "b", "c"}, "get [DEVICE] FEATURE"},
                    UsageCase{"NoSuchPictureKind", {"grab", "-o", "a.jpg"}, ".png, .tiff or .raw"},
                    UsageCase{"NoFrames", {"grab", "-n", "0"}, "--count"},
                    UsageCase{"NoAddress", {"list", "--unicast", "300.1.1.1"}, "no IPv4 address"},
                    UsageCase{"NoSuchModule", {"features", "--module", "cable"}, "--module"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(CommandLine, WithoutACameraListIsEmptyAndOtherCommandsSayWhatToDo) {
  const std::string nobody = "nobody" + m_serial;
  EXPECT_EQ(Orvex({"list"}).code, 0);
  EXPECT_TRUE(OrvexJson({"list"}).is_array());
  EXPECT_THAT(Orvex({"info", nobody}), FailsWith(1, "no camera"));
}

TEST_F(CommandLine, ListTellsWhatInfoTells) {
  StartCameras();
  json found;
  for (const json& camera : OrvexJson({"list"})) {
    if (camera["serial"] == Serial()) found = camera;
  }
  ASSERT_FALSE(found.is_null()) << "camera is not listed";
  EXPECT_EQ(found["ip"], "127.0.9.2");
  const json info = OrvexJson({"info", Serial()});
  for (const char* pKey : {"model", "ip", "mac", "serial"})
    EXPECT_EQ(info[pKey], found[pKey]) << pKey;
  EXPECT_GT(info["features"], 20);
  EXPECT_THAT(Orvex({"info", "127.0.9.2"}).out, HasSubstr(Serial()));
}

TEST_F(CommandLine, TwoCamerasThatMatchAreNamed) {
  StartCameras(2);
  EXPECT_THAT(Orvex({"info", "127.0.9."}), FailsWith(1, "matches 2 cameras: " + Serial()));
  EXPECT_THAT(Orvex({"get", "127.0.9.3", "DeviceSerialNumber"}).out, Serial(1) + "\n");
}

TEST_F(CommandLine, FeaturesListsACategoryWithValuesUpToALevel) {
  StartCameras();
  const json features = OrvexJson({"features", Serial(), "--category", "ImageFormatControl"});
  const auto width = std::find_if(features.begin(), features.end(),
                                  [](const json& row) { return row["name"] == "Width"; });
  ASSERT_NE(width, features.end());
  EXPECT_EQ((*width)["category"], "ImageFormatControl");
  EXPECT_GE((*width)["max"], (*width)["value"]);
  const auto count = [&](const char* pLevel) {
    return OrvexJson({"features", Serial(), "--visibility", pLevel}).size();
  };
  EXPECT_LT(count("Beginner"), count("Guru"));
  EXPECT_THAT(Orvex({"features", Serial()}).out, HasSubstr("Width = "));
  EXPECT_THAT(Orvex({"features", Serial(), "--category", "Width"}), FailsWith(1, "not a category"));
}

TEST_F(CommandLine, SetChangesWhatGetReads) {
  StartCameras();
  EXPECT_EQ(Orvex({"set", Serial(), "Width", "64"}).out, "Width = 64\n");
  EXPECT_EQ(Orvex({"get", Serial(), "Width"}).out, "64\n");
  EXPECT_EQ(Orvex({"set", Serial(), "PixelFormat", "mono8"}).out, "PixelFormat = Mono8\n");
  EXPECT_EQ(Orvex({"set", Serial(), "DeviceUserID", "-7"}).out, "DeviceUserID = -7\n");
  EXPECT_EQ(Orvex({"set", Serial(), "DeviceUserID", "north"}).code, 0);
  EXPECT_EQ(OrvexJson({"info", "north"})["serial"], Serial());
  EXPECT_EQ(Orvex({"execute", Serial(), "TimestampLatch"}).code, 0);
}

struct RefusalCase {
  const char* name;
  std::vector<std::string> words;  // the camera's serial number goes after the first
  const char* message;
};

class Refusal : public WithCameras {
 protected:
  void Expect(const RefusalCase& refusal) {
    std::vector<std::string> arguments = refusal.words;
    arguments.insert(arguments.begin() + 1, Serial());
    EXPECT_THAT(Orvex(arguments), FailsWith(1, refusal.message)) << refusal.name;
  }
};

TEST_F(Refusal, SaysWhatTheFeatureTakes) {
  StartCameras();
  for (const RefusalCase& refusal : {
           RefusalCase{
               "Unknown", {"get", "Widht"}, "there is no feature 'Widht'; did you mean Width?"},
           RefusalCase{"Range", {"set", "Width", "1000000"}, "Width takes a whole number from "},
           RefusalCase{"Negative", {"set", "Width", "-4"}, "Width takes a whole number from "},
           RefusalCase{
               "NoNumber", {"set", "ExposureTime", "long"}, "ExposureTime takes a number from "},
           RefusalCase{"Choice", {"set", "PixelFormat", "Mono9"}, "PixelFormat takes one of "},
           RefusalCase{"ReadOnly",
                       {"set", "DeviceSerialNumber", "1"},
                       "DeviceSerialNumber cannot be written"},
           RefusalCase{
               "CommandSet", {"set", "AcquisitionStart", "1"}, "orvex execute AcquisitionStart"},
           RefusalCase{"ValueExecuted", {"execute", "Width"}, "Width is no command"},
           RefusalCase{"FormatOfGrab", {"grab", "--format", "Mono9"}, "PixelFormat takes one of "},
       }) {
    Expect(refusal);
  }
}

// The picture's pixels as red, green and blue of 8 bits.
std::vector<std::uint8_t> ReadColours(const std::filesystem::path& name, std::uint32_t& width,
                                      std::uint32_t& height) {
  png_image image = {};
  image.version = PNG_IMAGE_VERSION;
  if (png_image_begin_read_from_file(&image, name.c_str()) == 0) return {};
  image.format = PNG_FORMAT_RGB;
  width = image.width;
  height = image.height;
  std::vector<std::uint8_t> bytes(PNG_IMAGE_SIZE(image));
  png_image_finish_read(&image, nullptr, bytes.data(), 0, nullptr);
  return bytes;
}

TEST_F(CommandLine, GrabSavesAColourPictureOfABayerStream) {
  StartCameras();
  const json rows = OrvexJson({"grab", Serial(), "--format", "BayerRG8", "-o", "shot.png"});
  ASSERT_EQ(rows.size(), 1U);
  EXPECT_EQ(rows[0]["pixel_format"], "BayerRG8");
  EXPECT_EQ(rows[0]["saved_as"], "RGB8");
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  const auto colours = ReadColours(m_folder / "shot.png", width, height);
  EXPECT_EQ(width, rows[0]["width"]);
  EXPECT_EQ(height, rows[0]["height"]);
  // A scene in colour has pixels in which one channel clearly leads, for each of the three.
  std::size_t leading[3] = {};
  for (std::size_t i = 0; i + 2 < colours.size(); i += 3) {
    for (std::size_t c = 0; c < 3; ++c) {
      const int other = std::max(colours[i + (c + 1) % 3], colours[i + (c + 2) % 3]);
      if (colours[i + c] > other + 40) ++leading[c];
    }
  }
  for (const std::size_t pixels : leading) EXPECT_GT(pixels, colours.size() / 3 / 200);
}

TEST_F(CommandLine, GrabNumbersSeveralPicturesAndGivesTheFormatBack) {
  StartCameras();
  ASSERT_EQ(Orvex({"set", Serial(), "PixelFormat", "Mono8"}).code, 0);
  const json rows = OrvexJson({"grab", Serial(), "-n", "3", "--format", "Mono12", "-o", "a.raw"});
  ASSERT_EQ(rows.size(), 3U);
  for (const json& row : rows) {
    const std::filesystem::path file = m_folder / row["file"].get<std::string>();
    EXPECT_EQ(std::filesystem::file_size(file), row["bytes"]);
    std::ifstream facts(file.string() + ".json");
    EXPECT_EQ(json::parse(facts)["pixel_format"], "Mono12");
  }
  EXPECT_EQ(rows[2]["file"], "a-2.raw");
  EXPECT_EQ(Orvex({"get", Serial(), "PixelFormat"}).out, "Mono8\n");
}

TEST_F(CommandLine, GrabSaysThatTheDiskIsFullAndLeavesTheCameraFree) {
  StartCameras();
  std::filesystem::create_symlink("/dev/full", m_folder / "full.png");
  EXPECT_THAT(Orvex({"grab", Serial(), "-o", "full.png"}), FailsWith(1, "No space left on device"));
  EXPECT_EQ(Orvex({"set", Serial(), "Width", "64"}).code, 0);
}

TEST_F(CommandLine, StreamCountsFramesWithoutLoss) {
  StartCameras();
  const json summary = OrvexJson({"stream", Serial(), "--seconds", "2"});
  EXPECT_GT(summary["frames"], 10);
  EXPECT_EQ(summary["incomplete_frames"], 0);
  EXPECT_EQ(summary["missing_frames"], 0);
  EXPECT_NEAR(summary["seconds"].get<double>(), 2, 0.5);
}

TEST_F(CommandLine, TwoCamerasStreamSideBySide) {
  StartCameras(2);
  Process left(OrvexProgram(), {"stream", Serial(0), "--seconds", "2", "--json"});
  Process right(OrvexProgram(), {"stream", Serial(1), "--seconds", "2", "--json"});
  for (Process* pStream : {&left, &right}) {
    ASSERT_EQ(pStream->Wait(Seconds(20)), 0) << pStream->Err();
    const json summary = json::parse(pStream->Out());
    EXPECT_GT(summary["frames"], 10);
    EXPECT_EQ(summary["incomplete_frames"], 0);
  }
}

TEST_F(CommandLine, CtrlCEndsAStreamCleanlyAndReleasesTheCamera) {
  StartCameras();
  Process stream(OrvexProgram(), {"stream", Serial()});
  ASSERT_TRUE(stream.WaitForOutput("frames/s", Seconds(10))) << stream.Err();
  EXPECT_THAT(Orvex({"set", Serial(), "Width", "64"}), FailsWith(1, "held by another application"));
  EXPECT_EQ(Orvex({"get", Serial(), "DeviceSerialNumber"}).out, Serial() + "\n")
      << "reading needs no control";
  stream.Signal(SIGINT);
  EXPECT_EQ(stream.Wait(Seconds(5)), 0) << stream.Err();
  EXPECT_THAT(stream.Out(), testing::ContainsRegex("Incomplete frames +0\n"));
  EXPECT_EQ(Orvex({"set", Serial(), "Width", "64"}).code, 0);
}

TEST_F(CommandLine, LosingTheCameraEndsAStreamWithinFiveSecondsAndItIsFoundAgain) {
  StartCameras();
  Process stream(OrvexProgram(), {"stream", Serial()});
  ASSERT_TRUE(stream.WaitForOutput("frames/s", Seconds(10))) << stream.Err();
  m_pCameras->Signal(SIGKILL);
  EXPECT_EQ(stream.Wait(Seconds(5)), 1);
  EXPECT_THAT(stream.Err(), AllOf(HasSubstr("was lost"), HasSubstr("orvex list")));
  m_pCameras.reset();
  StartCameras();
  EXPECT_THAT(Orvex({"list"}).out, HasSubstr(Serial()));
}

TEST_F(CommandLine, SettingsSavedAreBroughtBack) {
  StartCameras();
  ASSERT_EQ(Orvex({"set", Serial(), "Width", "640"}).code, 0);
  EXPECT_GT(OrvexJson({"save", Serial(), "settings.txt"})["settings"], 5);
  ASSERT_EQ(Orvex({"set", Serial(), "Width", "320"}).code, 0);
  EXPECT_TRUE(OrvexJson({"load", Serial(), "settings.txt"})["differing"].empty());
  EXPECT_EQ(Orvex({"get", Serial(), "Width"}).out, "640\n");
  // What a camera does not take is named.
  std::ofstream(m_folder / "settings.txt", std::ios::app) << "Width\t7\n";
  EXPECT_THAT(Orvex({"load", Serial(), "settings.txt"}), FailsWith(1, "Width is 640, not 7"));
  std::ofstream(m_folder / "other.txt") << "no settings\n";
  EXPECT_THAT(Orvex({"load", Serial(), "other.txt"}), FailsWith(1, "magic"));
}

TEST_F(CommandLine, ConvertTurnsRawFramesIntoPictures) {
  StartCameras();
  ASSERT_EQ(Orvex({"grab", Serial(), "--format", "BayerRG12p", "-o", "a.raw"}).code, 0);
  EXPECT_EQ(OrvexJson({"convert", "a.raw", "a.png"})["saved_as"], "RGB16");
  EXPECT_EQ(OrvexJson({"convert", "a.raw", "b.tiff", "--to", "Mono16"})["saved_as"], "Mono16");
  EXPECT_EQ(OrvexJson({"convert", "b.tiff", "c.raw", "--to", "Mono10p"})["bits_per_pixel"], 10);
  EXPECT_THAT(Orvex({"convert", "b.tiff", "c.raw", "--to", "Mono11"}),
              FailsWith(2, "no pixel format 'Mono11'"));
  EXPECT_THAT(Orvex({"convert", "b.tiff", "c.raw", "--to", "BayerRG8"}),
              FailsWith(1, "reverse bayer"));
}

TEST_F(CommandLine, ForceIpMovesACameraAndItAnswersThere) {
  StartCameras();
  const std::string mac = OrvexJson({"info", Serial()})["mac"];
  const Result result = Orvex({"forceip", mac, "127.0.9.77", "--mask", "8"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(OrvexJson({"info", Serial()})["ip"], "127.0.9.77");
  EXPECT_THAT(Orvex({"forceip", mac, "127.0.9.0", "--mask", "24"}),
              FailsWith(2, "no address for a single camera"));
}

TEST_F(CommandLine, PicturesGoFromOneProcessToAnother) {
  StartCameras();
  ASSERT_EQ(Orvex({"set", Serial(), "Width", "64"}).code, 0);
  ASSERT_EQ(Orvex({"set", Serial(), "Height", "32"}).code, 0);
  ASSERT_EQ(Orvex({"grab", Serial(), "--format", "Mono16", "-o", "small.png"}).code, 0);
  Process receiver(OrvexProgram(), {"receive", "--port", "39561", "-o", "b.png"}, m_folder);
  // Datagrams to a port that nobody has opened yet are lost, so the sender tries until one has
  // arrived.
  for (int i = 0; i < 50 && receiver.Wait(Seconds(0.1)) < 0; ++i) {
    ASSERT_EQ(Orvex({"send", "small.png", "--port", "39561"}).code, 0);
  }
  EXPECT_EQ(receiver.Wait(Seconds(1)), 0) << receiver.Err();
  EXPECT_EQ(Content(m_folder / "b.png"), Content(m_folder / "small.png"));

#ifndef __SANITIZE_THREAD__  // it holds signals back while their thread waits in recvfrom
  Process waiting(OrvexProgram(), {"receive", "--port", "39562"}, m_folder);
  EXPECT_EQ(waiting.Wait(Seconds(1)), -1);
  waiting.Signal(SIGINT);
  EXPECT_EQ(waiting.Wait(Seconds(5)), 1) << "Ctrl-C ends a wait without limit";
#endif
}

TEST_F(CommandLine, ChunksComeWithTheirFrameAndTheCameraIsLeftAsItWas) {
  StartCameras();
  const json rows = OrvexJson({"chunks", Serial(), "-n", "3"});
  ASSERT_EQ(rows.size(), 3U);
  for (const json& row : rows) {
    EXPECT_EQ(row["chunks"]["FrameID"], row["frame_id"]);
    EXPECT_EQ(row["chunks"]["Width"], 1280);
    EXPECT_EQ(row["crc_fits"], true);
  }
  EXPECT_EQ(Orvex({"get", Serial(), "ChunkModeActive"}).out, "false\n");
  EXPECT_EQ(OrvexJson({"chunks", Serial(), "--chunk", "Gain"})[0]["chunks"].size(), 1U);
  EXPECT_THAT(Orvex({"chunks", Serial(), "--chunk", "Taste"}),
              FailsWith(1, "ChunkSelector takes one of "));
}

TEST_F(CommandLine, EventsAreToldAsTheyComeAndTurnedOffAgain) {
  StartCameras();
  const Result result = Orvex({"events", Serial(), "--event", "ExposureEnd", "-n", "3", "--json"});
  ASSERT_EQ(result.code, 0) << result.err;
  std::istringstream lines(result.out);
  std::string line;
  std::int64_t lastTime = 0;
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(std::getline(lines, line));
    const json row = json::parse(line);
    EXPECT_EQ(row["event"], "ExposureEnd");
    EXPECT_GT(row["values"]["EventExposureEndTimestamp"], lastTime);
    lastTime = row["values"]["EventExposureEndTimestamp"];
  }
  EXPECT_EQ(Orvex({"set", Serial(), "EventSelector", "ExposureEnd"}).code, 0);
  EXPECT_EQ(Orvex({"get", Serial(), "EventNotification"}).out, "Off\n");
}

TEST_F(CommandLine, LossOnTheWayIsRepairedAndCounted) {
  m_simOptions = {"--set", "SimDropRate=0.3", "--set", "SimSeed=7"};
  StartCameras();
  const json summary = OrvexJson({"stream", Serial(), "--frames", "60"});
  EXPECT_EQ(summary["incomplete_frames"], 0);
  EXPECT_GT(summary["resent_packets"], 0);
}

class Examples : public WithCameras {};

TEST_F(Examples, FirstSavesAColourPicture) {
  StartCameras();
  ASSERT_EQ(Orvex({"set", Serial(), "PixelFormat", "BayerRG8"}).code, 0);
  const json info = OrvexJson({"info", Serial()});
  const Result result = Example("first", {});
  ASSERT_EQ(result.code, 0) << result.err;
  EXPECT_GT(std::filesystem::file_size(m_folder / "picture.ppm"),
            3 * info["width"].get<std::uint64_t>() * info["height"].get<std::uint64_t>());
}

struct ExampleCase {
  const char* name;
  std::vector<std::string> arguments;  // "SERIAL" stands for the camera's
  const char* output;
};

class Example : public WithCameras, public testing::WithParamInterface<ExampleCase> {};

TEST_P(Example, DoesWhatItSays) {
  StartCameras();
  std::vector<std::string> arguments = GetParam().arguments;
  std::replace(arguments.begin(), arguments.end(), std::string("SERIAL"), Serial());
  const Result result = WithCameras::Example(GetParam().name, arguments);
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.err, "");
  EXPECT_THAT(result.out, HasSubstr(GetParam().output));
}

INSTANTIATE_TEST_SUITE_P(
    Programs, Example,
    testing::Values(ExampleCase{"acquisition", {"SERIAL", "10"}, "bytes\n"},
                    ExampleCase{"callbacks", {"SERIAL", "20"}, " frames, "},
                    ExampleCase{"several_cameras", {"20", "SERIAL"}, "20 frames, 0 incomplete\n"},
                    ExampleCase{"persistence", {"settings.txt", "SERIAL"}, "restored to "},
                    ExampleCase{"chunk", {"SERIAL"}, "CRC fits"},
                    ExampleCase{"events", {"SERIAL"}, "exposure of frame "},
                    ExampleCase{"trigger", {"SERIAL"}, "trigger 4 gave frame "},
                    ExampleCase{"action", {"SERIAL"}, "1 cameras acted together\n"},
                    ExampleCase{"tcp", {"SERIAL", "20"}, "20 of 20 frames whole\n"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(Examples, EventSensorTellsWhatMoves) {
  m_simOptions = {"--model", "event"};
  StartCameras();
  const Result result = Example("event_sensor", {Serial(), "5"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_THAT(result.out, testing::ContainsRegex("frame [0-9]+: [1-9][0-9]* events, "));
}

TEST_F(Examples, ActionReachesSeveralCameras) {
  StartCameras(2);
  const Result result = Example("action", {Serial(0), Serial(1)});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_THAT(result.out, HasSubstr("2 cameras acted together"));
}

TEST_F(Examples, DisconnectTellsTheLossOfTheCamera) {
  StartCameras();
  Process watch(std::filesystem::path(places::sk_binaryDir) / "examples/disconnect",
                {Serial(), "15"});
  ASSERT_TRUE(watch.WaitForOutput("watching", Seconds(10))) << watch.Err();
  m_pCameras->Signal(SIGKILL);
  EXPECT_EQ(watch.Wait(Seconds(15)), 0);
  EXPECT_THAT(watch.Out(), HasSubstr("camera is lost"));
}

}  // namespace
}  // namespace OrvexTest
