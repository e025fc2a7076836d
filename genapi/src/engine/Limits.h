#pragma once
// SPDX-License-Identifier: Apache-2.0
// Every bound on what a camera description or a device may make the engine allocate, loop over or
// recurse into.
#include <cstddef>
#include <cstdint>

namespace OrvexGenApi {

// Descriptions. The largest ones in the field have about 3 MB and 100,000 elements.
inline constexpr size_t sk_maxXmlBytes = 32u << 20;
inline constexpr size_t sk_maxXmlElements = 1'000'000;
inline constexpr size_t sk_maxXmlAttributes = 2'000'000;
inline constexpr size_t sk_maxXmlDepth = 64;
inline constexpr size_t sk_maxZipMembers = 1024;
inline constexpr size_t sk_maxNodes = 1'000'000;
inline constexpr size_t sk_maxNodeNameLength = 1024;

// Formulas.
inline constexpr size_t sk_maxFormulaLength = 64u << 10;
// A condition in brackets takes four levels, and some files chain a hundred of them.
inline constexpr size_t sk_maxFormulaDepth = 3000;
inline constexpr size_t sk_maxFormulaInstructions = 16384;
inline constexpr size_t sk_maxFormulaStack = 512;

// Nodes that ask each other: a chain longer than this is a circle.
inline constexpr int sk_maxReadDepth = 128;

// What a change of a selector drops: registers behind one selected feature, and of all together.
inline constexpr size_t sk_maxSelectedChain = 64;
inline constexpr size_t sk_maxSelectedEdges = 4'000'000;

// Registers.
inline constexpr int64_t sk_maxRegisterBytes = 256 << 20;
inline constexpr size_t sk_maxConfRomBytes = 64u << 10;

// Value sets and other lists in one element.
inline constexpr size_t sk_maxListValues = 65536;

}  // namespace OrvexGenApi
