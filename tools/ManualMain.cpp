// SPDX-License-Identifier: Apache-2.0
// usage: orvex_manual DIR
// Writes orvex.1, a page for each command, and the completions `orvex.bash` and `_orvex` into DIR.
#include <filesystem>
#include <fstream>
#include <iostream>

#include "tools/Manual.h"
#include "tools/Program.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: orvex_manual DIR\n";
    return 2;
  }
  const std::filesystem::path folder = argv[1];
  std::filesystem::create_directories(folder);
  OrvexTools::Output output{std::cout, std::cerr};
  CLI::App program;
  OrvexTools::DescribeProgram(program, output);

  const auto write = [&folder](const std::string& name, const auto& content) {
    std::ofstream file(folder / name);
    content(file);
    if (!file.flush()) throw std::runtime_error("cannot write " + (folder / name).string());
  };
  const std::string version = program.version();
  try {
    write("orvex.1", [&](auto& out) { OrvexTools::WriteManPage(out, program, program, version); });
    for (const CLI::App* pCommand : program.get_subcommands([](CLI::App*) { return true; })) {
      write("orvex-" + pCommand->get_name() + ".1",
            [&](auto& out) { OrvexTools::WriteManPage(out, program, *pCommand, version); });
    }
    write("orvex.bash", [&](auto& out) { OrvexTools::WriteBashCompletion(out, program); });
    write("_orvex", [&](auto& out) { OrvexTools::WriteZshCompletion(out, program); });
  } catch (const std::exception& error) {
    std::cerr << "orvex_manual: " << error.what() << '\n';
    return 1;
  }
}
