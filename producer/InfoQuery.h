#pragma once
// SPDX-License-Identifier: Apache-2.0
// The one place where info queries write their answer: checks the consumer's pointers, tells the
// size when the buffer is null, refuses a buffer that is too small, and leaves everything untouched
// on failure. Belongs to one call.

#include <cstring>
#include <span>
#include <string_view>

#include "producer/GcError.h"

namespace OrvexGev {

class InfoQuery {
 public:
  // Throws GC_ERR_INVALID_PARAMETER when piType or piSize is null.
  InfoQuery(GenTL::INFO_DATATYPE* piType, void* pBuffer, size_t* piSize)
      : m_piType(piType), m_pBuffer(pBuffer), m_piSize(piSize) {
    Require(piType != nullptr, GenTL::GC_ERR_INVALID_PARAMETER,
            "The pointer to the data type is null");
    Require(piSize != nullptr, GenTL::GC_ERR_INVALID_PARAMETER, "The pointer to the size is null");
  }

  void String(std::string_view text) { Text(GenTL::INFO_DATATYPE_STRING, text); }
  void Bool(bool value) { Value(GenTL::INFO_DATATYPE_BOOL8, uint8_t{value}); }
  void Int32(int32_t value) { Value(GenTL::INFO_DATATYPE_INT32, value); }
  void UInt32(uint32_t value) { Value(GenTL::INFO_DATATYPE_UINT32, value); }
  void UInt64(uint64_t value) { Value(GenTL::INFO_DATATYPE_UINT64, value); }
  void Size(size_t value) { Value(GenTL::INFO_DATATYPE_SIZET, value); }
  void Pointer(const void* value) { Value(GenTL::INFO_DATATYPE_PTR, value); }
  void Bytes(std::span<const uint8_t> bytes) {
    Answer(GenTL::INFO_DATATYPE_BUFFER, bytes.data(), bytes.size());
  }

  [[noreturn]] static void NotImplemented() {
    throw GcError(GenTL::GC_ERR_NOT_IMPLEMENTED, "The info command is not known to this module");
  }
  [[noreturn]] static void NotAvailable() {
    throw GcError(GenTL::GC_ERR_NOT_AVAILABLE,
                  "There is no information for this command at present");
  }
  [[noreturn]] static void NoData() {
    throw GcError(GenTL::GC_ERR_NO_DATA, "There is no data for this command");
  }

  // A string for a function that has no data type argument (ids, URLs).
  static void PlainString(std::string_view text, char* pBuffer, size_t* piSize) {
    GenTL::INFO_DATATYPE type = GenTL::INFO_DATATYPE_UNKNOWN;
    InfoQuery(&type, pBuffer, piSize).String(text);
  }

 private:
  template <typename T>
  void Value(GenTL::INFO_DATATYPE type, T value) {
    Answer(type, &value, sizeof value);
  }

  void Text(GenTL::INFO_DATATYPE type, std::string_view text) {
    if (!Fits(type, text.size() + 1)) return;
    std::memcpy(m_pBuffer, text.data(), text.size());
    static_cast<char*>(m_pBuffer)[text.size()] = '\0';
  }

  void Answer(GenTL::INFO_DATATYPE type, const void* data, size_t size) {
    if (Fits(type, size) && size != 0) std::memcpy(m_pBuffer, data, size);
  }

  // True when the caller shall copy now; false when only the size was asked. The size of a null
  // buffer is never read: consumers leave it uninitialised.
  bool Fits(GenTL::INFO_DATATYPE type, size_t size) {
    Require(m_pBuffer == nullptr || *m_piSize >= size, GenTL::GC_ERR_BUFFER_TOO_SMALL,
            "The buffer is too small for the information");
    *m_piType = type;
    *m_piSize = size;
    return m_pBuffer != nullptr;
  }

  GenTL::INFO_DATATYPE* m_piType;
  void* m_pBuffer;
  size_t* m_piSize;
};

}  // namespace OrvexGev
