// SPDX-License-Identifier: Apache-2.0
#include "tools/Program.h"

#include <Orvex.h>
#include <fmt/format.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <iostream>

#include "tools/Command.h"
#include "tools/Failure.h"

namespace OrvexTools {
namespace {

struct CommandGroup {
  const char* title;
  std::vector<void (*)(CLI::App& program, Output& output)> commands;
};

// As `orvex --help` lists them.
const std::vector<CommandGroup>& Groups() {
  static const std::vector<CommandGroup> s_groups = {
      {"Cameras and their features",
       {&AddListCommand, &AddInfoCommand, &AddFeaturesCommand, &AddGetCommand, &AddSetCommand,
        &AddExecuteCommand, &AddSaveCommand, &AddLoadCommand}},
      {"Pictures",
       {&AddGrabCommand, &AddStreamCommand, &AddChunksCommand, &AddEventsCommand, &AddActionCommand,
        &AddRecordCommand, &AddReplayCommand, &AddSendCommand, &AddReceiveCommand}},
      {"Picture files",
       {&AddConvertCommand, &AddLutCommand, &AddSelectBitsCommand, &AddDeinterleaveCommand,
        &AddDecompressCommand}},
      {"Networks and faults",
       {&AddDoctorCommand, &AddBenchCommand, &AddForceIpCommand, &AddUnicastCommand,
        &AddLogCommand}},
      {"Without a camera", {&AddSimCommand}},
  };
  return s_groups;
}

bool IsNegativeNumber(const std::string& text) {
  return text.size() > 1 && text[0] == '-' &&
         (std::isdigit(static_cast<unsigned char>(text[1])) || text[1] == '.');
}

// `orvex set Gain -3` means a value, although it looks like an option; with a letter in front the
// parser takes it as a word, and SplitWords takes the letter off again.
void ShieldNegativeValue(std::vector<std::string>& arguments) {
  if (std::find(arguments.begin(), arguments.end(), "set") == arguments.end()) return;
  const auto value = std::find_if(arguments.begin(), arguments.end(), &IsNegativeNumber);
  if (value != arguments.end()) value->insert(value->begin(), sk_shield);
}

// `first` is the first word of the command line.
std::string UsageLine(const CLI::App& program, const CLI::ParseError& error,
                      const std::string& first) {
  std::string line = error.what();
  if (program.get_subcommands().empty() && !first.empty() && first.front() != '-')
    line = fmt::format("there is no command '{}'", first);
  std::replace(line.begin(), line.end(), '\n', ' ');
  std::string help = "orvex";
  for (const CLI::App* pCommand : program.get_subcommands()) help += " " + pCommand->get_name();
  return fmt::format("{}; see `{} --help`", line, help);
}

}  // namespace

void DescribeProgram(CLI::App& program, Output& output) {
  program.name("orvex");
  program.description("Finds, shows, sets and streams machine-vision cameras");
  program.require_subcommand(1);
  program.set_version_flag("--version", [] { return std::string(Orvex::GetVersion().c_str()); });
  program.footer(
      "Without a camera begin with `orvex sim &`, then `orvex list` and `orvex grab -o "
      "picture.png`; "
      "when something\ndoes not work, ask `orvex doctor`. `man orvex-COMMAND` tells what "
      "`orvex COMMAND --help` does.");
  for (const CommandGroup& group : Groups()) {
    for (const auto addCommand : group.commands) {
      addCommand(program, output);
      program.get_subcommands([](const CLI::App*) { return true; }).back()->group(group.title);
    }
  }
}

int RunProgram(std::vector<std::string> arguments, std::ostream& out, std::ostream& err) {
  Output output{out, err, false, &out == &std::cout && ::isatty(STDOUT_FILENO) == 1};
  CLI::App program;
  DescribeProgram(program, output);

  const std::string first = arguments.empty() ? std::string() : arguments.front();
  ShieldNegativeValue(arguments);
  std::reverse(arguments.begin(), arguments.end());  // the parser takes words from the back
  try {
    program.parse(arguments);
    out.flush();
    return sk_exitOk;
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success))
      return program.exit(error, out, err);
    err << "orvex: " << UsageLine(program, error, first) << '\n';
    return sk_exitMisuse;
  } catch (const Misuse& error) {
    err << "orvex: " << error.what() << '\n';
    return sk_exitMisuse;
  } catch (...) {
    out.flush();
    err << "orvex: " << PlainLine(std::current_exception()) << '\n';
    return sk_exitFailure;
  }
}

}  // namespace OrvexTools
