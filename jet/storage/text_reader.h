// TextReader: decodes the text of one file (names, Text and Memo values) the
// way its format stores it.
#pragma once

#include <memory>
#include <string>

#include "storage/text_codec.h"

namespace jet {

class TextReader {
 public:
  // Jet 4 and later: UCS-2 with compression.
  TextReader() = default;
  // Jet 3: code-page text.
  explicit TextReader(std::unique_ptr<CodePageDecoder> code_page) : code_page_(std::move(code_page)) {}

  std::string Decode(const uint8_t* data, size_t length) const {
    return code_page_ ? code_page_->Decode(data, length) : DecodeJet4Text(data, length);
  }
  bool is_code_page() const { return code_page_ != nullptr; }

 private:
  std::unique_ptr<CodePageDecoder> code_page_;
};

}  // namespace jet
