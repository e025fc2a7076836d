#pragma once
// SPDX-License-Identifier: Apache-2.0
// Commands of a device that take part in storing and loading settings. Call with the node map's
// lock held.

#include <GenApi/ICommand.h>
#include <GenApi/INodeMap.h>
#include <GenApi/IValue.h>

#include <optional>

namespace OrvexGenApi {

// The command of that name when it can be executed now, else null.
GenApi::ICommand* FindExecutable(GenApi::INodeMap& nodeMap, const char* pName);

// Executes and waits; TimeoutException when the device is not done in time.
void ExecuteAndWait(GenApi::ICommand& command, const char* pName);

// The value's text; nothing when the device holds something that is no value of the feature. What
// the port throws goes on.
std::optional<GenICam::gcstring> TryRead(GenApi::IValue& value);

}  // namespace OrvexGenApi
