// SPDX-License-Identifier: Apache-2.0
// The device's file features as operations on files by name.

#include <GenApi/Filestream.h>

#include <Base/GCException.h>
#include <GenApi/ICommand.h>
#include <GenApi/IEnumeration.h>
#include <GenApi/IInteger.h>
#include <GenApi/INode.h>
#include <GenApi/IRegister.h>

#include "adapters/Limits.h"
#include "persistence/NodeAccess.h"

namespace GENAPI_NAMESPACE {

struct FileProtocolAdapter::Nodes {
  INodeMap* pNodeMap = nullptr;
  IEnumeration* pFileSelector = nullptr;
  IEnumeration* pOperationSelector = nullptr;
  IEnumeration* pOpenMode = nullptr;
  IEnumeration* pStatus = nullptr;
  ICommand* pExecute = nullptr;
  IRegister* pBuffer = nullptr;
  IInteger* pOffset = nullptr;
  IInteger* pLength = nullptr;
  IInteger* pResult = nullptr;  // optional
  IInteger* pSize = nullptr;    // optional

  // Stands on a file and an operation; the other features depend on both.
  void Select(const char* pFileName, const char* pOperation) {
    pFileSelector->FromString(pFileName);
    pOperationSelector->FromString(pOperation);
  }
  bool Execute() {
    OrvexGenApi::ExecuteAndWait(*pExecute, "FileOperationExecute");
    return pStatus->ToString(false, true) == "Success";
  }
  int64_t BlockSize() {
    return std::min({pBuffer->GetLength(), pLength->GetMax(), OrvexGenApi::sk_maxFileBlockBytes});
  }
  // What the device says it moved, held within what it was asked to.
  int64_t Moved(int64_t asked) {
    if (!pResult || !IsReadable(pResult)) return asked;
    return std::clamp<int64_t>(pResult->GetValue(false, true), 0, asked);
  }
  // Announces a transfer. Offset and length may bound each other, so the one is not checked against
  // the other's old value.
  void Announce(int64_t offset, int64_t length) {
    if (IsWritable(pOffset)) pOffset->SetValue(offset);
    if (IsWritable(pLength)) pLength->SetValue(length);
  }
};

namespace {

template <class Interface>
bool Find(INodeMap& nodeMap, const char* pName, Interface*& pNode) {
  pNode = dynamic_cast<Interface*>(nodeMap.GetNode(pName));
  return pNode != nullptr;
}

}  // namespace

FileProtocolAdapter::FileProtocolAdapter() = default;
FileProtocolAdapter::~FileProtocolAdapter() = default;

FileProtocolAdapter::Nodes& FileProtocolAdapter::Checked() const {
  if (!m_pNodes) throw LOGICAL_ERROR_EXCEPTION("The file adapter is not attached to a node map");
  return *m_pNodes;
}

bool FileProtocolAdapter::attach(INodeMap* pInterface) {
  m_pNodes.reset();
  if (!pInterface) return false;
  auto pNodes = std::make_unique<Nodes>();
  Nodes& n = *pNodes;
  n.pNodeMap = pInterface;
  const bool isComplete = Find(*pInterface, "FileSelector", n.pFileSelector) &&
                          Find(*pInterface, "FileOperationSelector", n.pOperationSelector) &&
                          Find(*pInterface, "FileOpenMode", n.pOpenMode) &&
                          Find(*pInterface, "FileOperationStatus", n.pStatus) &&
                          Find(*pInterface, "FileOperationExecute", n.pExecute) &&
                          Find(*pInterface, "FileAccessBuffer", n.pBuffer) &&
                          Find(*pInterface, "FileAccessOffset", n.pOffset) &&
                          Find(*pInterface, "FileAccessLength", n.pLength);
  Find(*pInterface, "FileOperationResult", n.pResult);
  Find(*pInterface, "FileSize", n.pSize);
  if (isComplete) m_pNodes = std::move(pNodes);
  return isComplete;
}

bool FileProtocolAdapter::openFile(const char* pFileName, std::ios_base::openmode mode) {
  Nodes& n = Checked();
  const AutoLock lock(n.pNodeMap->GetLock());
  const bool isIn = (mode & std::ios_base::in) != 0;
  const bool isOut = (mode & std::ios_base::out) != 0;
  // A selector that does not know the name, or a file that cannot be opened this way, is no
  // exception but a file that is not there.
  if (!n.pFileSelector->GetEntryByName(pFileName)) return false;
  n.Select(pFileName, "Open");
  n.pOpenMode->FromString(isIn && isOut ? "ReadWrite" : isOut ? "Write" : "Read");
  return n.Execute();
}

bool FileProtocolAdapter::closeFile(const char* pFileName) {
  Nodes& n = Checked();
  const AutoLock lock(n.pNodeMap->GetLock());
  n.Select(pFileName, "Close");
  return n.Execute();
}

bool FileProtocolAdapter::deleteFile(const char* pFileName) {
  Nodes& n = Checked();
  const AutoLock lock(n.pNodeMap->GetLock());
  if (!n.pFileSelector->GetEntryByName(pFileName)) return false;
  n.Select(pFileName, "Delete");
  return n.Execute();
}

GenICam_streamsize FileProtocolAdapter::write(const char* buf, int64_t offs, int64_t len,
                                              const char* pFileName) {
  Nodes& n = Checked();
  const AutoLock lock(n.pNodeMap->GetLock());
  n.Select(pFileName, "Write");
  int64_t done = 0;
  while (done < len) {
    const int64_t asked = std::min(n.BlockSize(), len - done);
    if (asked <= 0) break;
    n.Announce(offs + done, asked);
    // The buffer is one register: it is written whole, the rest of it as zeros.
    std::vector<uint8_t> block(size_t(std::max(n.pBuffer->GetLength(), asked)));
    std::memcpy(block.data(), buf + done, size_t(asked));
    n.pBuffer->Set(block.data(), int64_t(block.size()));
    if (!n.Execute()) break;
    const int64_t moved = n.Moved(asked);
    done += moved;
    if (moved == 0) break;
  }
  return done;
}

GenICam_streamsize FileProtocolAdapter::read(char* buf, int64_t offs, GenICam_streamsize len,
                                             const char* pFileName) {
  Nodes& n = Checked();
  const AutoLock lock(n.pNodeMap->GetLock());
  n.Select(pFileName, "Read");
  int64_t done = 0;
  while (done < len) {
    int64_t asked = std::min<int64_t>(n.BlockSize(), len - done);
    // Reading behind the end is an error to some devices.
    if (n.pSize && IsReadable(n.pSize)) {
      asked = std::min(asked, n.pSize->GetValue(false, true) - offs - done);
    }
    if (asked <= 0) break;
    n.Announce(offs + done, asked);
    if (!n.Execute()) break;
    const int64_t moved = n.Moved(asked);
    if (moved == 0) break;
    std::vector<uint8_t> block(size_t(std::max(n.pBuffer->GetLength(), moved)));
    n.pBuffer->Get(block.data(), int64_t(block.size()), false, true);
    std::memcpy(buf + done, block.data(), size_t(moved));
    done += moved;
    if (moved < asked) break;
  }
  return done;
}

int64_t FileProtocolAdapter::getBufSize(const char* pFileName, std::ios_base::openmode mode) {
  Nodes& n = Checked();
  const AutoLock lock(n.pNodeMap->GetLock());
  n.Select(pFileName, (mode & std::ios_base::out) != 0 ? "Write" : "Read");
  return std::max<int64_t>(n.BlockSize(), 0);
}

}  // namespace GENAPI_NAMESPACE
