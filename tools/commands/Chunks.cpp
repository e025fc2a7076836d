// SPDX-License-Identifier: Apache-2.0
// `orvex chunks [DEVICE]`: what a camera appends to its frames.
#include <fmt/format.h>

#include <ostream>

#include "tools/Command.h"
#include "tools/Failure.h"
#include "tools/FeatureText.h"
#include "tools/Nodes.h"
#include "tools/Switches.h"

namespace OrvexTools {
namespace {

struct Options {
  Search search;
  std::vector<std::string> chunks;
  std::uint64_t count = 1;
  double patienceSeconds = 5;
};

// The values of one frame by the names of their chunks; chunks without a node, such as the image
// itself, are left out.
Record ChunksOf(Orvex::IBuffer& frame, const std::vector<std::string>& names) {
  Record record;
  record["frame_id"] = frame.GetFrameId();
  Orvex::IChunkData* pChunks = frame.AsChunkData();
  if (pChunks == nullptr) throw Failure("the camera sent a frame without chunks");
  Record values = Record::object();
  for (const std::string& name : names) {
    GenApi::INode* pNode = pChunks->GetChunk(("Chunk" + name).c_str());
    if (pNode == nullptr || !GenApi::IsReadable(pNode)) continue;
    const Record feature = DescribeFeature(*pNode);
    if (feature.contains("value")) values[name] = feature["value"];
  }
  record["chunks"] = values;
  if (values.contains("CRC")) record["crc_fits"] = frame.VerifyCRC();
  return record;
}

void PrintChunks(const Output& output, const Record& row) {
  output.out << "frame " << ValueText(row["frame_id"]);
  for (const auto& [name, value] : row["chunks"].items())
    output.out << "  " << name << " = " << ValueText(value);
  if (row.contains("crc_fits"))
    output.out << (row["crc_fits"].get<bool>() ? "  (CRC fits)" : "  (CRC does not fit)");
  output.out << '\n';
}

void RunChunks(const Options& options, const Output& output) {
  Library library(options.search.unicast);
  Camera camera(library, library.Find(options.search.device, options.search.Wait()),
                Access::Control);
  if (camera.Nodes().GetNode("ChunkModeActive") == nullptr)
    throw Failure("this camera appends no chunks to its frames");
  const Setting active(camera, "ChunkModeActive", "1");
  const Switches enabled(camera, sk_chunkSwitches, options.chunks);
  const Setting mode(camera, "AcquisitionMode", "Continuous");
  const Milliseconds patience(static_cast<std::int64_t>(options.patienceSeconds * 1000));

  Record rows = Record::array();
  Stream stream(camera);
  while (rows.size() < options.count) {
    const Frame frame = NextFrame(camera, stream, patience);
    if (!frame)
      throw Failure(fmt::format("interrupted after {} of {} frames", rows.size(), options.count));
    if (frame->IsIncomplete()) continue;
    rows.push_back(ChunksOf(*frame, enabled.On()));
    if (!output.json) PrintChunks(output, rows.back());
  }
  stream.Stop();
  if (output.json) PrintTable(output, rows, {}, "");
}

}  // namespace

void AddChunksCommand(CLI::App& program, Output& output) {
  auto pOptions = std::make_shared<Options>();
  CLI::App* pCommand =
      program.add_subcommand("chunks", "Show what the camera appends to its frames");
  AddJsonFlag(*pCommand, output);
  AddDeviceArgument(*pCommand, pOptions->search);
  pCommand->add_option("--chunk", pOptions->chunks,
                       "Only this chunk, as ChunkSelector names it; may be given several times");
  pCommand->add_option("-n,--count", pOptions->count, "How many frames")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  pCommand->add_option("--timeout", pOptions->patienceSeconds, "Seconds to wait for a frame")
      ->check(CLI::Range(0.1, 86'400.0))
      ->capture_default_str();
  pCommand->callback([pOptions, &output] { RunChunks(*pOptions, output); });
}

}  // namespace OrvexTools
