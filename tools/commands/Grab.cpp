// SPDX-License-Identifier: Apache-2.0
// `orvex grab [DEVICE]`: takes frames one by one and saves them.
#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <ostream>

#include "tools/Command.h"
#include "tools/Failure.h"
#include "tools/Images.h"
#include "tools/Preview.h"

namespace OrvexTools {
namespace {

struct Options {
  Search search;
  std::uint64_t count = 1;
  std::string file;
  std::string format;
  bool preview = false;
  double patienceSeconds = 5;
};

constexpr Field sk_columns[] = {
    {"frame_id", "FRAME"}, {"width", "WIDTH"}, {"height", "HEIGHT"},     {"pixel_format", "FORMAT"},
    {"bytes", "BYTES"},    {"file", "FILE"},   {"saved_as", "SAVED AS"},
};

// Shows frames where the one before was shown, so that several of them move.
class PreviewPane {
 public:
  explicit PreviewPane(const Output& output) : m_output(output) {}

  void Show(Orvex::IImage& image) {
    const Rendered rendered = Render(image);
    const PreviewRoom room = RoomForPreview();
    if (m_lines > 0 && room.colour) m_output.out << fmt::format("\x1b[{}A", m_lines);
    const std::string text = PreviewText(rendered.picture, room);
    m_lines = std::count(text.begin(), text.end(), '\n');
    m_output.out << text << std::flush;
  }

 private:
  const Output& m_output;
  std::ptrdiff_t m_lines = 0;
};

// What a frame shows: its own image, or the one that its compressed stream holds.
struct Shown {
  explicit Shown(Orvex::IBuffer& frame)
      : pImage(frame.AsImage()), pCompressed(frame.AsCompressedImage()) {
    if (frame.IsIncomplete()) {
      pImage = nullptr;
    } else if (pCompressed != nullptr) {
      decompressed.reset(Orvex::ImageFactory::DecompressImage(pCompressed));
      pImage = decompressed.get();
    }
  }

  Record Describe() const {
    Record row = DescribeImage(*pImage);
    if (pCompressed == nullptr) return row;
    row["frame_id"] = pCompressed->GetFrameId();
    row["pixel_format"] = FormatName(pCompressed->GetPixelFormat());
    row["pixel_format_code"] = fmt::format("0x{:08X}", pCompressed->GetPixelFormat());
    row["bytes"] = pCompressed->GetSizeFilled();
    row["timestamp_ns"] = pCompressed->GetTimestampNs();
    return row;
  }

  std::string Save(const std::filesystem::path& name, const Record& facts) const {
    if (pCompressed == nullptr || KindOf(name) != PictureKind::Raw)
      return SaveImage(name, *pImage, facts);
    WriteRaw(name, {pCompressed->GetData(), pCompressed->GetSizeFilled()}, facts);
    return FormatName(pCompressed->GetPixelFormat());
  }

  Orvex::IImage* pImage;  // null when there is nothing to show
  Orvex::ICompressedImage* pCompressed;
  OwnedImage decompressed;
};

void RunGrab(const Options& options, const Output& output) {
  if (!options.file.empty()) KindOf(options.file);
  if (options.preview && output.json)
    throw Misuse("--preview shows a picture to people, so it goes without --json");
  Library library(options.search.unicast);
  Camera camera(library, library.Find(options.search.device, options.search.Wait()),
                Access::Control);
  std::optional<Setting> format;
  if (!options.format.empty()) format.emplace(camera, "PixelFormat", options.format);
  const Setting mode(camera, "AcquisitionMode", "Continuous");
  const Milliseconds patience(static_cast<std::int64_t>(options.patienceSeconds * 1000));

  PreviewPane pane(output);
  Record rows = Record::array();
  std::uint64_t skipped = 0;
  Stream stream(camera);
  while (rows.size() < options.count) {
    const Frame frame = NextFrame(camera, stream, patience);
    if (!frame)
      throw Failure(fmt::format("interrupted after {} of {} frames", rows.size(), options.count));
    const Shown shown(*frame);
    if (shown.pImage == nullptr) {
      // A bad network delivers nothing else; then it is better to say so than to go on for ever.
      if (++skipped > 20 + options.count) {
        throw Failure(fmt::format(
            "{} frames were incomplete or held no image; see `orvex stream` for what is lost",
            skipped));
      }
      continue;
    }
    Record row = shown.Describe();
    row["camera"] = camera.Facts().serial;
    row["model"] = camera.Facts().model;
    if (!options.file.empty()) {
      const auto name = NumberedName(options.file, rows.size(), options.count);
      const Record facts = row;
      row["file"] = name.string();
      row["saved_as"] = shown.Save(name, facts);
    }
    if (options.preview) pane.Show(*shown.pImage);
    rows.push_back(std::move(row));
  }
  stream.Stop();
  if (!options.preview || !options.file.empty()) PrintTable(output, rows, sk_columns, "");
  if (skipped > 0) output.err << fmt::format("orvex: skipped {} incomplete frames\n", skipped);
}

}  // namespace

void AddGrabCommand(CLI::App& program, Output& output) {
  auto pOptions = std::make_shared<Options>();
  CLI::App* pCommand = program.add_subcommand("grab", "Take frames and save them as pictures");
  AddJsonFlag(*pCommand, output);
  AddDeviceArgument(*pCommand, pOptions->search);
  pCommand->add_option("-n,--count", pOptions->count, "How many frames")
      ->check(CLI::Range(std::uint64_t{1}, std::uint64_t{1'000'000}))
      ->capture_default_str();
  pCommand->add_option("-o,--output", pOptions->file,
                       "Where to save: FILE.png, FILE.tiff or FILE.raw (with FILE.raw.json beside "
                       "it); several frames are "
                       "numbered");
  pCommand->add_option("--format", pOptions->format,
                       "Pixel format that the camera is to send; it gets its own back after");
  pCommand->add_flag("--preview", pOptions->preview,
                     "Show each frame in the terminal, in colour and as large as fits");
  pCommand->add_option("--timeout", pOptions->patienceSeconds, "Seconds to wait for a frame")
      ->check(CLI::Range(0.1, 86'400.0))
      ->capture_default_str();
  pCommand->callback([pOptions, &output] { RunGrab(*pOptions, output); });
}

}  // namespace OrvexTools
