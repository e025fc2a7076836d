#pragma once
// SPDX-License-Identifier: Apache-2.0
// Archives with one file, the form in which cameras serve their descriptions. Stateless: any
// thread.

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace OrvexSim {

// A zip archive (deflated) that holds `content` under `fileName`. Throws std::runtime_error when
// compression fails.
std::vector<uint8_t> ZipOneFile(const std::string& fileName, std::string_view content);
// The first file of an archive, which is not trusted; empty when there is none that can be read.
std::string UnzipOneFile(std::span<const uint8_t> archive);

}  // namespace OrvexSim
