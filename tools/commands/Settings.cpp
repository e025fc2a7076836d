// SPDX-License-Identifier: Apache-2.0
// `orvex save [DEVICE] FILE` and `orvex load [DEVICE] FILE`: a camera's settings in a file.
#include <fmt/format.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <ostream>

#include "tools/Command.h"
#include "tools/Failure.h"
#include "tools/Nodes.h"
#include "tools/SettingsFile.h"
#include "tools/WholeFile.h"

namespace OrvexTools {
namespace {

struct Options {
  FeaturePlace place;
  std::vector<std::string> words;
  std::vector<std::string> features;
};

constexpr Field sk_fields[] = {
    {"file", "File"}, {"camera", "Camera"}, {"settings", "Settings"}, {"differing", "Not taken"}};

std::string FileContent(const std::filesystem::path& name) {
  std::ifstream file(name, std::ios::binary);
  if (!file) throw Failure(fmt::format("cannot read {}: {}", name.string(), std::strerror(errno)));
  return {std::istreambuf_iterator<char>(file), {}};
}

// What the stream writes. It does not tell when a disk is full, so it writes to the folder for
// temporary files, and the text then goes to its place by a way that does.
std::string Written(Orvex::FeatureStream& stream) {
  std::string name = (std::filesystem::temp_directory_path() / "orvex-settings-XXXXXX").string();
  const int fd = ::mkstemp(name.data());
  if (fd < 0) throw Failure(fmt::format("cannot write {}: {}", name, std::strerror(errno)));
  ::close(fd);
  std::string content;
  try {
    stream.Write(name.c_str());
    content = FileContent(name);
  } catch (...) {
    ::unlink(name.c_str());
    throw;
  }
  ::unlink(name.c_str());
  if (!content.ends_with('\n'))
    throw Failure(fmt::format("cannot write to {}: free some space", name));
  return content;
}

void RunSave(Options& options, const Output& output) {
  const std::string name =
      SplitWords(options.words, 1, "save [DEVICE] FILE", options.place).front();
  Library library(options.place.search.unicast);
  const FoundCamera found = library.Find(options.place.search.device, options.place.search.Wait());
  Camera camera(library, found, Access::Read);
  Orvex::FeatureStream stream(&NodesOf(library, camera, found, options.place.module));
  for (const std::string& feature : options.features) stream.Select(feature.c_str());
  const std::string content = Written(stream);
  const std::size_t settings = ParseSettings(content).size();
  WholeFile file(name);
  file.Write(content.data(), content.size());
  file.Commit();
  PrintRecord(output, {{"file", name}, {"camera", camera.Facts().serial}, {"settings", settings}},
              sk_fields);
}

void RunLoad(Options& options, const Output& output) {
  const std::string name =
      SplitWords(options.words, 1, "load [DEVICE] FILE", options.place).front();
  const std::vector<SettingLine> lines = ParseSettings(FileContent(name));
  Library library(options.place.search.unicast);
  const FoundCamera found = library.Find(options.place.search.device, options.place.search.Wait());
  Camera camera(library, found, options.place.IsCamera() ? Access::Control : Access::Read);
  GenApi::INodeMap& nodes = NodesOf(library, camera, found, options.place.module);
  Orvex::FeatureStream(&nodes).Read(name.c_str());

  // The library goes on over settings that a camera refuses, so what has come of each is looked up.
  Record differing = Record::array();
  for (const SettingLine& line : LastOfEach(lines)) {
    const std::string now = TryRead(&nodes, line.feature.c_str()).value_or("nothing readable");
    if (!SameValue(now, line.value))
      differing.push_back(fmt::format("{} is {}, not {}", line.feature, now, line.value));
  }
  Record record{{"file", name},
                {"camera", camera.Facts().serial},
                {"settings", lines.size()},
                {"differing", differing}};
  if (output.json || differing.empty()) PrintRecord(output, record, sk_fields);
  if (!differing.empty()) {
    throw Failure(fmt::format("{} of {} settings were not taken: {}", differing.size(),
                              lines.size(), ValueText(differing)));
  }
}

}  // namespace

void AddSaveCommand(CLI::App& program, Output& output) {
  auto pOptions = std::make_shared<Options>();
  CLI::App* pCommand =
      program.add_subcommand("save", "Save a camera's settings: orvex save [DEVICE] FILE");
  AddJsonFlag(*pCommand, output);
  pCommand
      ->add_option("FILE", pOptions->words, "DEVICE, when there are several cameras, and the file")
      ->required();
  pCommand->add_option("--feature", pOptions->features,
                       "Only this feature; may be given several times");
  AddModuleOption(*pCommand, pOptions->place);
  pCommand->callback([pOptions, &output] { RunSave(*pOptions, output); });
}

void AddLoadCommand(CLI::App& program, Output& output) {
  auto pOptions = std::make_shared<Options>();
  CLI::App* pCommand =
      program.add_subcommand("load", "Bring settings back: orvex load [DEVICE] FILE");
  AddJsonFlag(*pCommand, output);
  pCommand
      ->add_option("FILE", pOptions->words, "DEVICE, when there are several cameras, and the file")
      ->required();
  AddModuleOption(*pCommand, pOptions->place);
  pCommand->callback([pOptions, &output] { RunLoad(*pOptions, output); });
}

}  // namespace OrvexTools
