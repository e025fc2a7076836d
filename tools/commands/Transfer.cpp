// SPDX-License-Identifier: Apache-2.0
// `orvex send FILE...` and `orvex receive`: pictures between processes of this computer.
#include <fmt/format.h>

#include <thread>

#include "tools/Command.h"
#include "tools/Failure.h"
#include "tools/Images.h"
#include "tools/PictureReader.h"
#include "tools/Stop.h"

namespace OrvexTools {
namespace {

struct Options {
  std::vector<std::string> files;
  std::vector<std::uint16_t> ports;
  std::uint64_t count = 1;
  std::string file;
};

constexpr Field sk_columns[] = {
    {"width", "WIDTH"}, {"height", "HEIGHT"}, {"pixel_format", "FORMAT"},
    {"bytes", "BYTES"}, {"file", "FILE"},
};

void RunSend(const Options& options) {
  // The factory makes images only while a system is open.
  Library library;
  Orvex::Socket socket;
  socket.OpenSender();
  for (const std::uint16_t port : options.ports) socket.AddDestination(port);
  for (const std::string& file : options.files) {
    const LoadedPicture picture = ReadPicture(file);
    const auto format = FormatByName(picture.format);
    if (!format)
      throw Failure(fmt::format("{} has the unknown pixel format '{}'", file, picture.format));
    const OwnedImage image(Orvex::ImageFactory::Create(picture.bytes.data(), picture.bytes.size(),
                                                       picture.width, picture.height, *format));
    for (std::uint64_t i = 0; i < options.count && !StopRequested(); ++i)
      socket.SendImage(image.get());
  }
  socket.CloseSender();
}

void RunReceive(const Options& options, const Output& output) {
  if (!options.file.empty()) KindOf(options.file);
  Library library;
  Orvex::Socket socket;
  socket.OpenListener(options.ports.front());
  // A receive waits without limit; this thread ends it when a stop is asked for, and is itself
  // ended with the last image.
  std::jthread stopper([&socket](const std::stop_token& done) {
    if (WaitForStop(done)) socket.CloseListener();
  });
  Record rows = Record::array();
  while (rows.size() < options.count) {
    const OwnedImage image(socket.ReceiveImage());
    if (StopRequested())
      throw Failure(fmt::format("interrupted after {} of {} pictures", rows.size(), options.count));
    if (!image)
      throw Failure(
          "a picture arrived in parts only; send more slowly or make the receive buffer larger");
    Record row = DescribeImage(*image);
    if (!options.file.empty()) {
      const auto name = NumberedName(options.file, rows.size(), options.count);
      row["file"] = name.string();
      row["saved_as"] = SaveImage(name, *image, DescribeImage(*image));
    }
    rows.push_back(std::move(row));
  }
  PrintTable(output, rows, sk_columns, "");
}

}  // namespace

void AddSendCommand(CLI::App& program, Output&) {
  auto pOptions = std::make_shared<Options>();
  CLI::App* pCommand = program.add_subcommand(
      "send", "Send picture files to `orvex receive` or another process here");
  pCommand
      ->add_option("FILE", pOptions->files,
                   "FILE.png, FILE.tiff, or FILE.raw with FILE.raw.json beside it")
      ->required();
  pCommand
      ->add_option("--port", pOptions->ports,
                   "UDP port of the receiver; may be given several times")
      ->required();
  pCommand->add_option("-n,--count", pOptions->count, "How often to send each")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  pCommand->callback([pOptions] { RunSend(*pOptions); });
}

void AddReceiveCommand(CLI::App& program, Output& output) {
  auto pOptions = std::make_shared<Options>();
  CLI::App* pCommand = program.add_subcommand(
      "receive", "Receive pictures from `orvex send` or another process here");
  AddJsonFlag(*pCommand, output);
  pCommand->add_option("--port", pOptions->ports, "UDP port to listen on")->required()->expected(1);
  pCommand->add_option("-n,--count", pOptions->count, "How many pictures")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  pCommand->add_option("-o,--output", pOptions->file,
                       "Where to save them: FILE.png, FILE.tiff or FILE.raw");
  pCommand->callback([pOptions, &output] { RunReceive(*pOptions, output); });
}

}  // namespace OrvexTools
