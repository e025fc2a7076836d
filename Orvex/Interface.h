#pragma once
// SPDX-License-Identifier: Apache-2.0
// One open interface of the producer with its port, node map and the devices opened through it.
// Owned by the system, which closes and deletes the wrapper itself. The destructor tells every
// device that its interface is gone.
#include <GenApi/INodeMap.h>

#include <mutex>
#include <vector>

#include "IDevice.h"
#include "Orvex/Port.h"
#include "Orvex/TLInterface.h"

namespace Orvex {

class Interface {
 public:
  // Throws what loading the node map throws.
  Interface(TLInterface* pInterface, const GenICam::gcstring& id);
  Interface(const Interface&) = delete;
  Interface& operator=(const Interface&) = delete;

  virtual ~Interface();
  virtual TLInterface* GetTLInterface() { return m_pInterface; }
  // Null when the producer has no description for the interface.
  virtual GenApi::INodeMap* GetNodeMap() { return m_pNodeMap; }
  virtual GenICam::gcstring GetId() { return m_id; }

  void AddDevice(IDevice* pDevice);
  void RemoveDevice(IDevice* pDevice);

 private:
  TLInterface* m_pInterface;  // closed and deleted by the system
  Port m_port;
  GenApi::INodeMap* m_pNodeMap = nullptr;  // owned
  GenICam::gcstring m_id;
  std::vector<IDevice*> m_pDevices;  // not owned
  std::mutex m_mtxDev;               // guards m_pDevices
};

}  // namespace Orvex
