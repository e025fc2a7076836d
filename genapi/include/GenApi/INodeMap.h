#pragma once
// SPDX-License-Identifier: Apache-2.0
// All features of one device or module (GenICam GenApi). Made by CNodeMapFactory or CNodeMapRef,
// destroyed through IDestroy; it owns its nodes but not the ports connected to it. Any thread: one
// recursive lock guards the whole map.
#include <GenApi/Container.h>
#include <GenApi/IPort.h>
#include <GenApi/IPortStacked.h>
#include <GenApi/Synch.h>
#include <GenApi/Types.h>

namespace GENAPI_NAMESPACE {

struct INode;
struct IDestroy;
class CNodeWriteConcatenator;

struct GENAPI_DECL_ABSTRACT INodeMap {
  virtual void GetNodes(NodeList_t& Nodes) const = 0;
  // Takes "Name", "Std::Name" and "Cust::Name"; null when there is no such node.
  virtual INode* GetNode(const GENICAM_NAMESPACE::gcstring& Name) const = 0;
  // Drops all caches and fires all callbacks.
  virtual void InvalidateNodes() const = 0;
  // Puts a port behind a port node; without a name, behind "Device". False when there is no such
  // port node.
  virtual bool Connect(IPort* pPort, const GENICAM_NAMESPACE::gcstring& PortName) const = 0;
  virtual bool Connect(IPort* pPort) const = 0;
  virtual bool Connect(IPortStacked* pPort, const GENICAM_NAMESPACE::gcstring& PortName) = 0;
  virtual bool Connect(IPortStacked* pPort) = 0;
  virtual GENICAM_NAMESPACE::gcstring GetDeviceName() = 0;
  // Tells the map that so many milliseconds have passed; nodes whose polling time is over are
  // invalidated.
  virtual void Poll(int64_t ElapsedTime) = 0;
  virtual CLock& GetLock() const = 0;
  virtual uint64_t GetNumNodes() const = 0;
  // Checks every formula of the map; false when one is bad, with its text in the list.
  virtual bool ParseSwissKnifes(GENICAM_NAMESPACE::gcstring_vector* pErrorList = nullptr) const = 0;
  // A list of writes to be done at once; destroyed by its own Destroy.
  virtual CNodeWriteConcatenator* NewNodeWriteConcatenator() const = 0;
  virtual bool ConcatenatedWrite(CNodeWriteConcatenator*, bool featureStreaming = true,
                                 GENICAM_NAMESPACE::gcstring_vector* pErrorList = nullptr) = 0;
  virtual void SetSuppressCallbackMode(ECallbackSuppressMode mode) = 0;

 protected:
  ~INodeMap() = default;
};

// The interface that destroys the map; null for a null pointer.
GENAPI_DECL IDestroy* CastToIDestroy(INodeMap* pNodeMap);

}  // namespace GENAPI_NAMESPACE
