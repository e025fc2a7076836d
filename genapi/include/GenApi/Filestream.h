#pragma once
// SPDX-License-Identifier: Apache-2.0
// Files kept inside a device, as C++ streams over the standard file features (FileSelector,
// FileOperationSelector, FileAccessBuffer and so on; GenICam SFNC, category FileAccessControl). The
// node map must outlive the stream. One thread at a time per stream; two streams to one device must
// not be open at once, as the features can stand on one file only.

#include <algorithm>
#include <cstring>
#include <istream>
#include <memory>
#include <ostream>
#include <streambuf>
#include <vector>

#include <GenApi/GenApiDll.h>
#include <GenApi/INodeMap.h>

namespace GENAPI_NAMESPACE {

typedef std::streamsize GenICam_streamsize;

// Operations on files by name. False or fewer bytes than asked for when the device reports a
// failure; GenICam exceptions when the features cannot be used.
struct GENAPI_DECL_ABSTRACT IFileProtocolAdapter {
  // False when the map lacks one of the file features.
  virtual bool attach(INodeMap* pInterface) = 0;
  virtual bool openFile(const char* pFileName, std::ios_base::openmode mode) = 0;
  virtual bool closeFile(const char* pFileName) = 0;
  // len bytes at the file's offset offs; answers how many were moved.
  virtual GenICam_streamsize write(const char* buf, int64_t offs, int64_t len,
                                   const char* pFileName) = 0;
  virtual GenICam_streamsize read(char* buf, int64_t offs, GenICam_streamsize len,
                                  const char* pFileName) = 0;
  // Bytes that the device moves at once.
  virtual int64_t getBufSize(const char* pFileName, std::ios_base::openmode mode) = 0;
  virtual bool deleteFile(const char* pFileName) = 0;

 protected:
  ~IFileProtocolAdapter() = default;
};

class GENAPI_DECL FileProtocolAdapter : public IFileProtocolAdapter {
 public:
  FileProtocolAdapter();
  FileProtocolAdapter(const FileProtocolAdapter&) = delete;
  FileProtocolAdapter& operator=(const FileProtocolAdapter&) = delete;
  virtual ~FileProtocolAdapter();

  bool attach(INodeMap* pInterface) override;
  bool openFile(const char* pFileName, std::ios_base::openmode mode) override;
  bool closeFile(const char* pFileName) override;
  GenICam_streamsize write(const char* buf, int64_t offs, int64_t len,
                           const char* pFileName) override;
  GenICam_streamsize read(char* buf, int64_t offs, GenICam_streamsize len,
                          const char* pFileName) override;
  int64_t getBufSize(const char* pFileName, std::ios_base::openmode mode) override;
  bool deleteFile(const char* pFileName) override;

 private:
  struct Nodes;
  Nodes& Checked() const;
  std::unique_ptr<Nodes> m_pNodes;
};

// What the two stream buffers share: the open file, its name and the place of the next transfer.
template <class CharType, class Traits>
class DevFileStreamBuf : public std::basic_streambuf<CharType, Traits> {
 public:
  bool is_open() const { return m_pAdapter != nullptr; }

 protected:
  // Largest block that is moved at once, whatever the device offers.
  static constexpr int64_t sk_maxBlockBytes = int64_t(16) << 20;

  bool Open(INodeMap* pInterface, const char* pFileName, std::ios_base::openmode mode) {
    if (is_open() || !pFileName) return false;
    auto pAdapter = std::make_unique<FileProtocolAdapter>();
    if (!pAdapter->attach(pInterface) || !pAdapter->openFile(pFileName, mode)) return false;
    const int64_t bytes = std::min(pAdapter->getBufSize(pFileName, mode), sk_maxBlockBytes);
    m_buffer.resize(static_cast<size_t>(bytes) / sizeof(CharType));
    if (m_buffer.empty()) {
      pAdapter->closeFile(pFileName);
      return false;
    }
    m_pAdapter = std::move(pAdapter);
    m_fileName.assign(pFileName, pFileName + std::strlen(pFileName) + 1);
    m_offset = 0;
    return true;
  }
  bool Close() {
    if (!is_open()) return false;
    const std::unique_ptr<FileProtocolAdapter> pAdapter = std::move(m_pAdapter);
    return pAdapter->closeFile(m_fileName.data());
  }

  std::unique_ptr<FileProtocolAdapter> m_pAdapter;
  std::vector<char> m_fileName;  // with its NUL
  std::vector<CharType> m_buffer;
  int64_t m_offset = 0;
};

template <class CharType, class Traits>
class IDevFileStreamBuf : public DevFileStreamBuf<CharType, Traits> {
 public:
  typedef IDevFileStreamBuf<CharType, Traits> filebuf_type;

  IDevFileStreamBuf() = default;
  ~IDevFileStreamBuf() override {
    try {
      close();
    } catch (...) {
      // Destructors let nothing out.
    }
  }

  // Null when the file cannot be opened.
  filebuf_type* open(INodeMap* pInterface, const char* pFileName,
                     std::ios_base::openmode mode = std::ios_base::in) {
    this->setg(nullptr, nullptr, nullptr);
    return this->Open(pInterface, pFileName, mode | std::ios_base::in) ? this : nullptr;
  }
  // Null when there was none open or the device reports a failure.
  filebuf_type* close() {
    this->setg(nullptr, nullptr, nullptr);
    return this->Close() ? this : nullptr;
  }

 protected:
  typename Traits::int_type underflow() override {
    if (this->gptr() < this->egptr()) return Traits::to_int_type(*this->gptr());
    if (!this->is_open()) return Traits::eof();
    CharType* const pBegin = this->m_buffer.data();
    const GenICam_streamsize bytes = this->m_pAdapter->read(
        reinterpret_cast<char*>(pBegin), this->m_offset,
        static_cast<GenICam_streamsize>(this->m_buffer.size() * sizeof(CharType)),
        this->m_fileName.data());
    const auto count = bytes / static_cast<GenICam_streamsize>(sizeof(CharType));
    if (count <= 0) return Traits::eof();
    this->m_offset += count * static_cast<GenICam_streamsize>(sizeof(CharType));
    this->setg(pBegin, pBegin, pBegin + count);
    return Traits::to_int_type(*pBegin);
  }
};

template <class CharType, class Traits>
class ODevFileStreamBuf : public DevFileStreamBuf<CharType, Traits> {
 public:
  typedef ODevFileStreamBuf<CharType, Traits> filebuf_type;

  ODevFileStreamBuf() = default;
  ~ODevFileStreamBuf() override {
    try {
      close();
    } catch (...) {
      // Destructors let nothing out.
    }
  }

  // Null when the file cannot be opened.
  filebuf_type* open(INodeMap* pInterface, const char* pFileName, std::ios_base::openmode mode) {
    if (!this->Open(pInterface, pFileName, mode | std::ios_base::out)) return nullptr;
    Empty();
    return this;
  }
  // Null when there was none open, or when not all could be written.
  filebuf_type* close() {
    const bool isFlushed = this->is_open() && Flush();
    this->setp(nullptr, nullptr);
    return this->Close() && isFlushed ? this : nullptr;
  }

 protected:
  typename Traits::int_type overflow(typename Traits::int_type c) override {
    if (!this->is_open() || !Flush()) return Traits::eof();
    if (Traits::eq_int_type(c, Traits::eof())) return Traits::not_eof(c);
    return this->sputc(Traits::to_char_type(c));
  }
  int sync() override { return this->is_open() && Flush() ? 0 : -1; }

 private:
  void Empty() { this->setp(this->m_buffer.data(), this->m_buffer.data() + this->m_buffer.size()); }
  bool Flush() {
    const auto bytes = static_cast<int64_t>((this->pptr() - this->pbase()) * sizeof(CharType));
    const int64_t written =
        bytes == 0 ? 0
                   : this->m_pAdapter->write(reinterpret_cast<const char*>(this->pbase()),
                                             this->m_offset, bytes, this->m_fileName.data());
    this->m_offset += written;
    Empty();
    return written == bytes;
  }
};

// Writing to a device's file. Failures set failbit, as with files on disk.
template <class CharType, class Traits>
class ODevFileStreamBase : public std::basic_ostream<CharType, Traits> {
 public:
  typedef ODevFileStreamBuf<CharType, Traits> filebuf_type;

  ODevFileStreamBase() : std::basic_ostream<CharType, Traits>(nullptr) { this->init(&m_streambuf); }
  ODevFileStreamBase(INodeMap* pInterface, const char* pFileName,
                     std::ios_base::openmode mode = std::ios_base::out | std::ios_base::trunc)
      : ODevFileStreamBase() {
    open(pInterface, pFileName, mode);
  }

  filebuf_type* rdbuf() const { return const_cast<filebuf_type*>(&m_streambuf); }
  bool is_open() const { return m_streambuf.is_open(); }
  void open(INodeMap* pInterface, const char* pFileName,
            std::ios_base::openmode mode = std::ios_base::out | std::ios_base::trunc) {
    if (m_streambuf.open(pInterface, pFileName, mode)) {
      this->clear();
    } else {
      this->setstate(std::ios_base::failbit);
    }
  }
  void close() {
    if (!m_streambuf.close()) this->setstate(std::ios_base::failbit);
  }

 private:
  filebuf_type m_streambuf;
};

// Reading a device's file. Failures set failbit, as with files on disk.
template <class CharType, class Traits>
class IDevFileStreamBase : public std::basic_istream<CharType, Traits> {
 public:
  typedef IDevFileStreamBuf<CharType, Traits> filebuf_type;

  IDevFileStreamBase() : std::basic_istream<CharType, Traits>(nullptr) { this->init(&m_streambuf); }
  IDevFileStreamBase(INodeMap* pInterface, const char* pFileName,
                     std::ios_base::openmode mode = std::ios_base::in)
      : IDevFileStreamBase() {
    open(pInterface, pFileName, mode);
  }

  filebuf_type* rdbuf() const { return const_cast<filebuf_type*>(&m_streambuf); }
  bool is_open() const { return m_streambuf.is_open(); }
  void open(INodeMap* pInterface, const char* pFileName,
            std::ios_base::openmode mode = std::ios_base::in) {
    if (m_streambuf.open(pInterface, pFileName, mode)) {
      this->clear();
    } else {
      this->setstate(std::ios_base::failbit);
    }
  }
  void close() {
    if (!m_streambuf.close()) this->setstate(std::ios_base::failbit);
  }

 private:
  filebuf_type m_streambuf;
};

typedef ODevFileStreamBase<char, std::char_traits<char>> ODevFileStream;
typedef IDevFileStreamBase<char, std::char_traits<char>> IDevFileStream;

}  // namespace GENAPI_NAMESPACE
