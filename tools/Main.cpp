// SPDX-License-Identifier: Apache-2.0
// The program `orvex`.
#include <iostream>

#include "tools/Program.h"
#include "tools/Stop.h"

int main(int argc, char** argv) {
  OrvexTools::InstallStopHandlers();
  return OrvexTools::RunProgram({argv + 1, argv + argc}, std::cout, std::cerr);
}
