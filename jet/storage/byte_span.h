// ByteSpan: bounds-checked little-endian reads over a block of file bytes.
// Every read of a structure from the file goes through one of these, so a
// malformed length can only produce an error, never an out-of-bounds read.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "storage/pager.h"

namespace jet {

class ByteSpan {
 public:
  ByteSpan() : data_(nullptr), size_(0) {}
  ByteSpan(const uint8_t* data, size_t size) : data_(data), size_(size) {}
  explicit ByteSpan(const std::vector<uint8_t>& v) : data_(v.data()), size_(v.size()) {}

  size_t size() const { return size_; }
  const uint8_t* data() const { return data_; }
  bool Has(size_t offset, size_t length) const { return offset <= size_ && length <= size_ - offset; }

  uint8_t U8(size_t off) const { return data_[off]; }
  uint16_t U16(size_t off) const { return Get16(data_ + off); }
  uint32_t U24(size_t off) const { return Get24(data_ + off); }
  uint32_t U32(size_t off) const { return Get32(data_ + off); }

 private:
  const uint8_t* data_;
  size_t size_;
};

}  // namespace jet
