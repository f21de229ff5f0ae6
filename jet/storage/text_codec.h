// Text as Jet stores it, turned into UTF-8: UCS-2 (with Jet 4's optional
// compression) or single/double-byte code-page text for Jet 3 files.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "jet/status.h"

namespace jet {

// UTF-16LE code units -> UTF-8 (unpaired surrogates become U+FFFD).
void AppendUtf16AsUtf8(const uint8_t* data, size_t length, std::string* out);
// UTF-8 -> UTF-16 code units (invalid sequences become U+FFFD).
std::u16string Utf8ToUtf16(const std::string& utf8);

// Jet 4 text: plain UCS-2, or compressed when it starts with FF FE (runs of
// one-byte characters and two-byte characters, switched by a 0x00 byte).
std::string DecodeJet4Text(const uint8_t* data, size_t length);

// Jet 3 text in a code page, decoded through iconv.
class CodePageDecoder {
 public:
  // `encoding` is an iconv name ("CP1252", "GBK").
  static Status Create(const std::string& encoding, std::unique_ptr<CodePageDecoder>* decoder);
  ~CodePageDecoder();
  std::string Decode(const uint8_t* data, size_t length) const;

 private:
  CodePageDecoder() = default;
  void* cd_ = nullptr;  // iconv_t
  bool single_byte_ = false;
};

// The iconv name for a Windows code page number (1252 -> "CP1252").
std::string EncodingForCodePage(uint16_t code_page);

}  // namespace jet
