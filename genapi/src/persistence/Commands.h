#pragma once
// SPDX-License-Identifier: Apache-2.0
// Commands of a device that take part in storing and loading settings. Call with the node map's
// lock held.

#include <GenApi/ICommand.h>
#include <GenApi/INodeMap.h>

namespace OrvexGenApi {

// The command of that name when it can be executed now, else null.
GenApi::ICommand* FindExecutable(GenApi::INodeMap& nodeMap, const char* pName);

// Executes and waits; TimeoutException when the device is not done in time.
void ExecuteAndWait(GenApi::ICommand& command, const char* pName);

}  // namespace OrvexGenApi
