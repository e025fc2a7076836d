// SPDX-License-Identifier: Apache-2.0
#include "simulator/FileStore.h"

#include <algorithm>

#include "simulator/Limits.h"

namespace OrvexSim {
namespace {

constexpr uint32_t sk_bufferBytes = 512;

}  // namespace

void FileStore::AddFeatures(FeatureTable& t) {
  m_buffer.assign(sk_bufferBytes, 0);
  t.Category("FileAccessControl", "Files in the camera.");
  m_selector = &t.Enumeration("FileSelector", {{"UserFile0", 0}, {"UserFile1", 1}})
                    .Guru()
                    .Transient()
                    .Selects({"FileOperationSelector", "FileOperationExecute", "FileOpenMode",
                              "FileAccessBuffer", "FileAccessOffset", "FileAccessLength",
                              "FileOperationStatus", "FileOperationResult", "FileSize"})
                    .Docu("File that is accessed.");
  m_operation =
      &t.Enumeration("FileOperationSelector",
                     {{"Open", 0}, {"Close", 1}, {"Read", 2}, {"Write", 3}, {"Delete", 4}})
           .Guru()
           .Transient()
           .Docu("What FileOperationExecute does.");
  t.Command("FileOperationExecute")
      .Guru()
      .OnSet([this](int64_t, size_t) { return Execute(), Status::Success; })
      .Docu("Does the selected operation.");
  m_mode = &t.Enumeration("FileOpenMode", {{"Read", 0}, {"Write", 1}, {"ReadWrite", 2}})
                .Guru()
                .Transient()
                .Docu("How the file is opened.");
  t.Bytes("FileAccessBuffer", sk_bufferBytes)
      .Guru()
      .GetBytes([this](std::span<uint8_t> out) {
        std::copy(m_buffer.begin(), m_buffer.end(), out.begin());
      })
      .OnSetBytes([this](std::span<const uint8_t> in) {
        return m_buffer.assign(in.begin(), in.end()), Status::Success;
      })
      .Docu("What is read or written.");
  m_offset = &t.Integer("FileAccessOffset")
                  .Guru()
                  .Transient()
                  .Unit("B")
                  .Range(0, sk_maxFileBytes)
                  .Docu("Place in the file.");
  m_length = &t.Integer("FileAccessLength")
                  .Guru()
                  .Transient()
                  .Unit("B")
                  .Range(0, sk_bufferBytes)
                  .Docu("Bytes to read or write.");
  m_status =
      &t.Enumeration("FileOperationStatus",
                     {{"Success", 0}, {"Failure", 1}, {"FileUnavailable", 2}, {"FileInvalid", 3}})
           .Guru()
           .ReadOnly()
           .Volatile()
           .Docu("How the last operation ended.");
  m_result = &t.Integer("FileOperationResult")
                  .Guru()
                  .ReadOnly()
                  .Volatile()
                  .Docu("Bytes read or written by it.");
  t.Integer("FileSize")
      .Guru()
      .ReadOnly()
      .Volatile()
      .Unit("B")
      .Get([this] { return static_cast<int64_t>(Selected().content.size()); })
      .Docu("Size of the file.");
}

FileStore::File& FileStore::Selected() {
  return m_files[static_cast<size_t>(m_selector->Int())];
}

FileStore::Result FileStore::Open(File& file) {
  if (file.readable || file.writable) return Result::Failure;  // open already
  const int64_t mode = m_mode->Int();
  if (mode == 0 && !file.exists) return Result::Unavailable;
  if (mode == 1) file.content.clear();
  file.exists = true;
  file.readable = mode != 1;
  file.writable = mode != 0;
  return Result::Success;
}

FileStore::Result FileStore::Transfer(File& file, bool write) {
  if (!(write ? file.writable : file.readable)) return Result::Failure;
  const auto offset = static_cast<size_t>(m_offset->Int()),
             length = static_cast<size_t>(m_length->Int());
  if (offset > file.content.size()) return Result::Failure;
  if (write) {
    if (offset + length > sk_maxFileBytes) return Result::Failure;
    if (file.content.size() < offset + length) file.content.resize(offset + length);
    std::copy_n(m_buffer.begin(), length, file.content.begin() + static_cast<ptrdiff_t>(offset));
    m_result->Force(static_cast<int64_t>(length));
    return Result::Success;
  }
  const size_t count = std::min(length, file.content.size() - offset);
  std::copy_n(file.content.begin() + static_cast<ptrdiff_t>(offset), count, m_buffer.begin());
  m_result->Force(static_cast<int64_t>(count));
  return Result::Success;
}

void FileStore::Execute() {
  File& file = Selected();
  Result result = Result::Failure;
  m_result->Force(0);
  switch (static_cast<Operation>(m_operation->Int())) {
    case Operation::Open:
      result = Open(file);
      break;
    case Operation::Close:
      if (file.readable || file.writable) result = Result::Success;
      file.readable = file.writable = false;
      break;
    case Operation::Read:
      result = Transfer(file, false);
      break;
    case Operation::Write:
      result = Transfer(file, true);
      break;
    case Operation::Delete:
      result = file.exists ? Result::Success : Result::Unavailable;
      file = {};
      break;
  }
  m_status->Force(static_cast<int64_t>(result));
}

}  // namespace OrvexSim
