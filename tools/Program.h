#pragma once
// SPDX-License-Identifier: Apache-2.0
// The `orvex` program as functions, so that tests can run it in their own process and the manual is
// made from it.

#include <CLI/CLI.hpp>
#include <iosfwd>
#include <string>
#include <vector>

#include "tools/Report.h"

namespace OrvexTools {

// Fills in name, description, options and every command; parsing `program` then runs one.
// `output` must outlive it.
void DescribeProgram(CLI::App& program, Output& output);

// Runs one command line (without the program's name) and returns the exit code: 0 done, 1 failed, 2
// wrong usage. Results go to `out`; whatever goes wrong is one line on `err`.
int RunProgram(std::vector<std::string> arguments, std::ostream& out, std::ostream& err);

}  // namespace OrvexTools
