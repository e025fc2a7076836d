// SPDX-License-Identifier: Apache-2.0
// `orvex list`: every camera that answers.
#include "tools/Command.h"
#include "tools/Stop.h"

namespace OrvexTools {
namespace {

constexpr Field sk_columns[] = {
    {"serial", "SERIAL"},  {"model", "MODEL"}, {"vendor", "VENDOR"},
    {"user_name", "NAME"}, {"ip", "IP"},       {"mac", "MAC"},
};

Record DescribeCamera(const CameraFacts& camera) {
  Record record;
  record["serial"] = camera.serial;
  record["model"] = camera.model;
  record["vendor"] = camera.vendor;
  record["user_name"] = camera.userName;
  record["ip"] = camera.ip;
  record["mac"] = camera.mac;
  record["version"] = camera.version;
  return record;
}

void RunList(const Search& search, const Output& output) {
  Library library(search.unicast);
  Record rows = Record::array();
  for (const FoundCamera& camera : library.Discover(search.Wait()))
    rows.push_back(DescribeCamera(camera.facts));
  PrintTable(output, rows, sk_columns, "no camera found; `orvex sim` starts a virtual one");
}

}  // namespace

void AddListCommand(CLI::App& program, Output& output) {
  auto pSearch = std::make_shared<Search>();
  CLI::App* pCommand = program.add_subcommand("list", "List the cameras that answer");
  AddJsonFlag(*pCommand, output);
  AddSearchOptions(*pCommand, *pSearch);
  pCommand->callback([pSearch, &output] { RunList(*pSearch, output); });
}

}  // namespace OrvexTools
