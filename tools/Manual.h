#pragma once
// SPDX-License-Identifier: Apache-2.0
// Manual pages and shell completion, made from the same command line that `--help` prints, so that
// none of them can lag behind another.

#include <CLI/CLI.hpp>
#include <iosfwd>
#include <string>

namespace OrvexTools {

// The page of the whole program (orvex.1) when `command` is `program`, else that of one command
// (orvex-NAME.1), as man(7) reads it.
void WriteManPage(std::ostream& out, const CLI::App& program, const CLI::App& command,
                  const std::string& version);

// Completion functions to be read by the shell: commands, options, and the choices of options that
// have some; file names elsewhere.
void WriteBashCompletion(std::ostream& out, const CLI::App& program);
void WriteZshCompletion(std::ostream& out, const CLI::App& program);

}  // namespace OrvexTools
