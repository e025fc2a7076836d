#pragma once
// SPDX-License-Identifier: Apache-2.0
// Asks a node map everything that the recorded answers contain, through the published interface
// alone, and gives it in the form of the recordings: (node, attribute) -> text. For tests; one
// thread.
#include <GenApi/GenApi.h>

#include <map>
#include <string>
#include <utility>

#include "GoldenPort.h"

namespace OrvexTest {

using Answers = std::map<std::pair<std::string, std::string>, std::string>;

// Every property of every node.
Answers AskProperties(GenApi::CNodeMapRef& map, GoldenPort& port);
// What writing does: for each node and value the outcome, the bytes that reached the port, and what
// is read back.
Answers AskWrites(GenApi::CNodeMapRef& map, GoldenPort& port);
// The decompressed content of a file of the test data; empty when it cannot be had.
std::string Decompress(const std::string& path);
Answers ParseAnswers(const std::string& text);
// Equal but for the last digits of numbers.
bool SameAnswer(const std::string& a, const std::string& b);

}  // namespace OrvexTest
