// SPDX-License-Identifier: Apache-2.0
// `orvex replay FILE`: what a recording holds, checked, and its frames as pictures.
#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <limits>
#include <ostream>

#include "tools/Command.h"
#include "tools/Failure.h"
#include "tools/Images.h"
#include "tools/Stop.h"
#include "tools/recording/RecordingReader.h"

namespace OrvexTools {
namespace {

struct Options {
  std::string file;
  std::string folder;
  std::string kind = "png";
  std::size_t first = 0;
  std::size_t count = std::numeric_limits<std::size_t>::max();
  bool list = false;
};

constexpr Field sk_fields[] = {
    {"file", "File"},
    {"model", "Model"},
    {"serial", "Camera"},
    {"frames", "Frames"},
    {"looked_at", "Looked at", "frames"},
    {"seconds", "Time", "s"},
    {"frames_per_second", "Rate", "frames/s"},
    {"width", "Width", "pixels"},
    {"height", "Height", "pixels"},
    {"pixel_format", "Pixel format"},
    {"incomplete_frames", "Incomplete frames"},
    {"dropped_frames", "Dropped while recording"},
    {"damaged_frames", "Damaged frames"},
    {"whole", "Closed properly"},
    {"lost_bytes", "Unreadable", "bytes"},
    {"saved", "Pictures saved"},
    {"folder", "Folder"},
};

constexpr Field sk_columns[] = {
    {"index", "INDEX"}, {"frame_id", "FRAME"}, {"timestamp_ns", "TIME", "ns"},
    {"width", "WIDTH"}, {"height", "HEIGHT"},  {"pixel_format", "FORMAT"},
    {"bytes", "BYTES"}, {"state", "STATE"},
};

Record DescribeFrame(const RecordHeader& header) {
  const FrameFacts& frame = header.frame;
  Record record{{"frame_id", frame.frameId},        {"timestamp_ns", frame.timestampNs},
                {"host_time_ns", frame.hostTimeNs}, {"width", frame.width},
                {"height", frame.height},           {"offset_x", frame.offsetX},
                {"offset_y", frame.offsetY},        {"padding_x", frame.paddingX},
                {"padding_y", frame.paddingY},      {"payload_type", frame.payloadType},
                {"bytes", header.payloadBytes},     {"image_bytes", frame.imageBytes},
                {"incomplete", frame.incomplete}};
  if (frame.pixelFormat != 0) {
    record["pixel_format"] = FormatName(frame.pixelFormat);
    record["pixel_format_code"] = fmt::format("0x{:08X}", frame.pixelFormat);
  }
  return record;
}

// The frame as an image of the factory; null for what is none.
OwnedImage ImageOf(const FrameFacts& frame, const std::vector<std::uint8_t>& data) {
  if (frame.pixelFormat == 0 || frame.height == 0) return nullptr;
  const std::uint64_t bits = std::uint64_t{frame.width} * Orvex::GetBitsPerPixel(frame.pixelFormat);
  if (frame.paddingX == 0)
    return OwnedImage(Orvex::ImageFactory::Create(data.data(), (bits * frame.height + 7) / 8,
                                                  frame.width, frame.height, frame.pixelFormat));
  const std::uint64_t line = bits / 8;
  const std::uint64_t pitch = line + frame.paddingX;
  if (bits % 8 != 0 || data.size() < pitch * (frame.height - 1) + line) return nullptr;
  std::vector<std::uint8_t> packed(line * frame.height);
  for (std::uint64_t row = 0; row < frame.height; ++row)
    std::memcpy(packed.data() + row * line, data.data() + row * pitch, line);
  return OwnedImage(Orvex::ImageFactory::Create(packed.data(), packed.size(), frame.width,
                                                frame.height, frame.pixelFormat));
}

bool HoldsItsImage(const FrameFacts& frame, std::size_t bytes) {
  const std::uint64_t bits = std::uint64_t{frame.width} * Orvex::GetBitsPerPixel(frame.pixelFormat);
  return frame.height > 0 && bits <= std::uint64_t{bytes} * 8 / frame.height;
}

// As a picture where the frame is one that pictures can hold, else as raw bytes with the facts.
void Save(const Options& options, std::size_t index, const RecordHeader& header,
          const std::vector<std::uint8_t>& data) {
  const auto name =
      std::filesystem::path(options.folder) / fmt::format("frame-{:06}.{}", index, options.kind);
  const Record facts = DescribeFrame(header);
  if (options.kind != "raw" && HoldsItsImage(header.frame, data.size())) {
    try {
      if (const OwnedImage image = ImageOf(header.frame, data)) {
        SaveImage(name, *image, facts);
        return;
      }
    } catch (const GenICam::GenericException&) {
      // No conversion leads from this format to a picture.
    }
  }
  WriteRaw(std::filesystem::path(name).replace_extension("raw"), data, facts);
}

class Replayer {
 public:
  Replayer(const Options& options, const Output& output)
      : m_options(options), m_output(output), m_reader(options.file) {}

  void Run() {
    const std::size_t count = m_reader.Count();
    if (m_options.first >= count && count > 0)
      throw Misuse(fmt::format("{} has {} frames, counted from 0", m_options.file, count));
    const std::size_t end =
        m_options.first + std::min(m_options.count, count - std::min(m_options.first, count));
    for (std::size_t i = m_options.first; i < end && !StopRequested(); ++i) Visit(i);
    if (m_options.list) {
      PrintTable(m_output, m_rows, sk_columns, "no frames");
    } else {
      PrintRecord(m_output, Summary(), sk_fields);
    }
    if (StopRequested()) throw Failure("interrupted");
    if (m_damaged > 0)
      throw Failure(fmt::format("{} frames are damaged: their checksums do not fit", m_damaged));
  }

 private:
  void Visit(std::size_t index) {
    const std::optional<RecordHeader> header = m_reader.Frame(index, m_data);
    if (!header) {
      ++m_damaged;
    } else {
      if (m_seen++ == 0) m_first = *header;
      m_last = *header;
      m_incomplete += header->frame.incomplete ? 1 : 0;
      if (!m_options.folder.empty()) {
        Save(m_options, index, *header, m_data);
        ++m_saved;
      }
    }
    if (!m_options.list) return;
    Record row = header ? DescribeFrame(*header) : Record::object();
    row["index"] = index;
    row["state"] = !header ? "damaged" : header->frame.incomplete ? "incomplete" : "whole";
    m_rows.push_back(std::move(row));
  }

  Record Summary() {
    Record record{{"file", m_options.file}};
    const Record camera = Record::parse(m_reader.Camera(), nullptr, false);
    for (const char* pKey : {"model", "serial", "vendor", "features"}) {
      if (camera.is_object() && camera.contains(pKey)) record[pKey] = camera[pKey];
    }
    record["frames"] = m_reader.Count();
    if (m_seen + m_damaged < m_reader.Count()) record["looked_at"] = m_seen + m_damaged;
    if (m_seen > 0) {
      record.update(DescribeFrame(m_first));
      for (const char* pKey : {"frame_id", "timestamp_ns", "host_time_ns", "incomplete"})
        record.erase(pKey);
      const double seconds =
          static_cast<double>(m_last.frame.hostTimeNs - m_first.frame.hostTimeNs) / 1e9;
      record["seconds"] = seconds;
      if (seconds > 0) record["frames_per_second"] = static_cast<double>(m_seen - 1) / seconds;
      record["dropped_frames"] = m_last.frame.droppedBefore;
    }
    record["incomplete_frames"] = m_incomplete;
    record["damaged_frames"] = m_damaged;
    record["whole"] = m_reader.IsWhole();
    if (!m_reader.IsWhole()) record["lost_bytes"] = m_reader.LostBytes();
    if (!m_options.folder.empty()) {
      record["saved"] = m_saved;
      record["folder"] = m_options.folder;
    }
    return record;
  }

  const Options& m_options;
  const Output& m_output;
  RecordingReader m_reader;
  std::vector<std::uint8_t> m_data;
  Record m_rows = Record::array();
  RecordHeader m_first;
  RecordHeader m_last;
  std::size_t m_seen = 0;
  std::size_t m_damaged = 0;
  std::size_t m_incomplete = 0;
  std::size_t m_saved = 0;
};

void RunReplay(const Options& options, const Output& output) {
  Replayer replayer(options, output);
  if (options.folder.empty()) return replayer.Run();
  std::error_code error;
  std::filesystem::create_directories(options.folder, error);
  if (error)
    throw Failure(fmt::format("cannot make the folder {}: {}", options.folder, error.message()));
  // The factory makes images only while a system is open.
  const Library library;
  replayer.Run();
}

}  // namespace

void AddReplayCommand(CLI::App& program, Output& output) {
  auto pOptions = std::make_shared<Options>();
  CLI::App* pCommand = program.add_subcommand(
      "replay", "Check a recording and tell what it holds, or write its frames as pictures");
  AddJsonFlag(*pCommand, output);
  pCommand->add_option("FILE", pOptions->file, "A recording of `orvex record`")->required();
  pCommand->add_option("-o,--output", pOptions->folder,
                       "Folder for the pictures, one a frame; made when it is not there");
  pCommand->add_option("--kind", pOptions->kind, "Kind of the pictures")
      ->check(CLI::IsMember({"png", "tiff", "raw"}))
      ->capture_default_str();
  pCommand->add_option("--first", pOptions->first, "Begin with this frame, counted from 0");
  pCommand->add_option("-n,--count", pOptions->count, "At most so many frames")
      ->check(CLI::PositiveNumber);
  pCommand->add_flag("--list", pOptions->list, "List the frames one by one");
  pCommand->callback([pOptions, &output] { RunReplay(*pOptions, output); });
}

}  // namespace OrvexTools
