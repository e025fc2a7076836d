#pragma once
// SPDX-License-Identifier: Apache-2.0
// The pages of the documentation, cut into their code blocks.

#include <filesystem>
#include <string>
#include <vector>

namespace OrvexTest {

// A fenced block: what stands behind the opening fence, the text, and the text of the block after
// it when that one shows output.
struct Block {
  std::string kind;
  std::string text;
  std::string output;
  std::size_t line = 0;
};

std::string ContentOf(const std::filesystem::path& name);

// Every .md file of the tree's root and of docs/.
std::vector<std::filesystem::path> Pages();

std::vector<Block> BlocksOf(const std::filesystem::path& page);

}  // namespace OrvexTest
