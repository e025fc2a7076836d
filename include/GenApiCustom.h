#pragma once
// SPDX-License-Identifier: Apache-2.0
/// @file
/// Reading, writing and executing features by name on any node map, with one order of checks and
/// one set of messages. The functions keep no state; any thread may use them that may use the node
/// map.
///
/// Each throws, in this order: GenICam::InvalidArgumentException for a null map or an empty name;
/// GenICam::RuntimeException when the node is not implemented, not available, not readable or not
/// writable; GenICam::InvalidArgumentException when the node's values are of another type than the
/// one asked for; GenICam::LogicalErrorException for a kind of node that has no such value. What
/// the node itself throws passes through.

#include <GenApi/IEnumeration.h>
#include <GenApi/INodeMap.h>

#include <cstdint>

#include "OrvexExport.h"

namespace Orvex {

/// Reads a node.
/// @tparam T bool for Boolean, int64_t for Integer, double for Float and GenICam::gcstring for
/// String and Enumeration nodes (the current entry's symbolic). An Enumeration asked for as int64_t
/// throws boost::bad_any_cast (a std::bad_cast).
/// @param pNodeMap A node map of any module.
/// @param nodeName The feature's name, such as "Width".
/// @return The node's value.
template <typename T>
ORVEX_API T GetNodeValue(GenApi::INodeMap* pNodeMap, const GenICam::gcstring& nodeName);

/// Writes a node, with verification.
/// @tparam T As for GetNodeValue. Name it when passing a literal:
/// SetNodeValue<GenICam::gcstring>(pMap, "PixelFormat", "Mono8").
/// @param pNodeMap A node map of any module.
/// @param nodeName The feature's name.
/// @param value The new value, in the node's own unit.
/// @throws GenICam::LogicalErrorException for an entry that the enumeration does not have; the text
/// lists those that it has.
template <typename T>
ORVEX_API void SetNodeValue(GenApi::INodeMap* pNodeMap, const GenICam::gcstring& nodeName,
                            const T& value);

/// Reads a register node into the caller's memory.
/// @param pNodeMap A node map of any module.
/// @param nodeName The feature's name.
/// @param pBuffer The memory; with null only the register's length is returned in `length`.
/// @param length Bytes of the memory before, bytes that were read after.
/// @throws GenICam::InvalidArgumentException for another kind of node or a length of 0.
ORVEX_API void GetNodeValue(GenApi::INodeMap* pNodeMap, const GenICam::gcstring& nodeName,
                            uint8_t* pBuffer, int64_t& length);

/// Writes a register node, with verification.
/// @param pNodeMap A node map of any module.
/// @param nodeName The feature's name.
/// @param pBuffer The bytes; with null only the register's length is returned in `length`.
/// @param length Number of bytes to write.
/// @throws GenICam::InvalidArgumentException for another kind of node, a length of 0 or one greater
/// than the register's.
ORVEX_API void SetNodeValue(GenApi::INodeMap* pNodeMap, const GenICam::gcstring& nodeName,
                            const uint8_t* pBuffer, int64_t& length);

/// Executes a command node, with verification.
/// @param pNodeMap A node map of any module.
/// @param nodeName The command's name.
ORVEX_API void ExecuteNode(GenApi::INodeMap* pNodeMap, const GenICam::gcstring& nodeName);

/// The smallest value that a node may have now.
/// @tparam T int64_t for Integer and double for Float nodes; the other of the two throws
/// boost::bad_any_cast.
/// @param pNodeMap A node map of any module.
/// @param nodeName The feature's name.
/// @return The value, in the node's own unit.
template <typename T>
ORVEX_API T GetNodeMin(GenApi::INodeMap* pNodeMap, const GenICam::gcstring& nodeName);

/// The greatest value that a node may have now.
/// @tparam T As for GetNodeMin.
/// @param pNodeMap A node map of any module.
/// @param nodeName The feature's name.
/// @return The value, in the node's own unit.
template <typename T>
ORVEX_API T GetNodeMax(GenApi::INodeMap* pNodeMap, const GenICam::gcstring& nodeName);

/// The step between a node's values, counted from the smallest.
/// @tparam T As for GetNodeMin.
/// @param pNodeMap A node map of any module.
/// @param nodeName The feature's name.
/// @return The step, in the node's own unit.
/// @throws GenICam::LogicalErrorException for a Float node without a step.
template <typename T>
ORVEX_API T GetNodeInc(GenApi::INodeMap* pNodeMap, const GenICam::gcstring& nodeName);

/// Does nothing when an enumeration has an entry of that name, available or not.
/// @param pEnumeration The node.
/// @param entryName Symbolic name of the entry.
/// @throws GenICam::LogicalErrorException with the list of all entries when it has none.
ORVEX_API void _throwLogicExceptionIfNotValidEnumEntry(GenApi::IEnumeration* pEnumeration,
                                                       GenICam::gcstring entryName);

}  // namespace Orvex
