#pragma once

#include <cstddef>
#include <cstdint>

namespace quern {

// Bounds-checked reading of a file's bytes for the structure walks: every
// read is preceded by has(), which never overflows.
class Bytes {
 public:
  Bytes(const unsigned char* data, std::size_t size) : data_(data), size_(size) {}
  std::size_t size() const { return size_; }
  const unsigned char* data() const { return data_; }
  bool has(std::size_t pos, std::size_t n) const { return pos <= size_ && n <= size_ - pos; }
  unsigned at(std::size_t pos) const { return data_[pos]; }
  unsigned le16(std::size_t pos) const { return at(pos) | at(pos + 1) << 8; }
  unsigned be16(std::size_t pos) const { return at(pos) << 8 | at(pos + 1); }
  std::uint32_t le32(std::size_t pos) const { return le16(pos) | static_cast<std::uint32_t>(le16(pos + 2)) << 16; }
  std::uint32_t be32(std::size_t pos) const { return static_cast<std::uint32_t>(be16(pos)) << 16 | be16(pos + 2); }

 private:
  const unsigned char* data_;
  std::size_t size_;
};

}  // namespace quern
