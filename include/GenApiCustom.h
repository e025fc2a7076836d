#pragma once
// SPDX-License-Identifier: Apache-2.0
// Reading, writing and executing features by name on any node map, with one order of checks and one
// set of messages. The functions keep no state; they may be used by any thread that may use the
// node map.
//
// Each throws, in this order: InvalidArgumentException for a null map or an empty name;
// RuntimeException when the node is not implemented, not available, not readable or not writable;
// InvalidArgumentException when the node's values are of another type than the one asked for;
// LogicalErrorException for a kind of node that has no such value. What the node itself throws
// passes through.

#include <GenApi/IEnumeration.h>
#include <GenApi/INodeMap.h>

#include <cstdint>

#include "OrvexExport.h"

namespace Orvex {

// Value of a node. T is bool for Boolean, int64_t for Integer, double for Float and
// GenICam::gcstring for String and Enumeration nodes (the current entry's symbolic). An Enumeration
// asked for as int64_t throws boost::bad_any_cast (a std::bad_cast).
template <typename T>
ORVEX_API T GetNodeValue(GenApi::INodeMap* pNodeMap, const GenICam::gcstring& nodeName);

// Sets a node, with verification. T as above; name it when passing a literal:
// SetNodeValue<GenICam::gcstring>(pMap, "PixelFormat", "Mono8"). An entry that the enumeration does
// not have throws LogicalErrorException with the list of those that it has.
template <typename T>
ORVEX_API void SetNodeValue(GenApi::INodeMap* pNodeMap, const GenICam::gcstring& nodeName,
                            const T& value);

// Reads a register node into the caller's memory. `length` is the memory's size in bytes before and
// the number of bytes read after. With null for the memory only the register's length is returned
// in `length`. Throws InvalidArgumentException for another kind of node or a length of 0.
ORVEX_API void GetNodeValue(GenApi::INodeMap* pNodeMap, const GenICam::gcstring& nodeName,
                            uint8_t* pBuffer, int64_t& length);

// Writes `length` bytes to a register node, with verification. With null for the memory only the
// register's length is returned in `length`. Throws InvalidArgumentException for another kind of
// node, a length of 0 or one greater than the register's.
ORVEX_API void SetNodeValue(GenApi::INodeMap* pNodeMap, const GenICam::gcstring& nodeName,
                            const uint8_t* pBuffer, int64_t& length);

// Executes a command node, with verification.
ORVEX_API void ExecuteNode(GenApi::INodeMap* pNodeMap, const GenICam::gcstring& nodeName);

// Smallest and greatest value and step of a node. T is int64_t for Integer and double for Float
// nodes; the other type of the two throws boost::bad_any_cast. A Float node without a step throws
// LogicalErrorException.
template <typename T>
ORVEX_API T GetNodeMin(GenApi::INodeMap* pNodeMap, const GenICam::gcstring& nodeName);
template <typename T>
ORVEX_API T GetNodeMax(GenApi::INodeMap* pNodeMap, const GenICam::gcstring& nodeName);
template <typename T>
ORVEX_API T GetNodeInc(GenApi::INodeMap* pNodeMap, const GenICam::gcstring& nodeName);

// Throws LogicalErrorException, with the list of all entries, unless the enumeration has an entry
// of that symbolic name, available or not.
ORVEX_API void _throwLogicExceptionIfNotValidEnumEntry(GenApi::IEnumeration* pEnumeration,
                                                       GenICam::gcstring entryName);

}  // namespace Orvex
