#pragma once
// SPDX-License-Identifier: Apache-2.0
// The `orvex` program as a function, so that tests can run it in their own process.

#include <iosfwd>
#include <string>
#include <vector>

namespace OrvexTools {

// Runs one command line (without the program's name) and returns the exit code: 0 done, 1 failed, 2
// wrong usage. Results go to `out`; whatever goes wrong is one line on `err`.
int RunProgram(std::vector<std::string> arguments, std::ostream& out, std::ostream& err);

}  // namespace OrvexTools
