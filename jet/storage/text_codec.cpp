#include "storage/text_codec.h"

#include <iconv.h>

#include <cstring>
#include <vector>

namespace jet {
namespace {

void AppendCodePoint(uint32_t cp, std::string* out) {
  if (cp < 0x80) {
    out->push_back(static_cast<char>(cp));
  } else if (cp < 0x800) {
    out->push_back(static_cast<char>(0xC0 | (cp >> 6)));
    out->push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else if (cp < 0x10000) {
    out->push_back(static_cast<char>(0xE0 | (cp >> 12)));
    out->push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out->push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else {
    out->push_back(static_cast<char>(0xF0 | (cp >> 18)));
    out->push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
    out->push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out->push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  }
}

}  // namespace

void AppendUtf16AsUtf8(const uint8_t* data, size_t length, std::string* out) {
  constexpr uint32_t kReplacement = 0xFFFD;
  size_t units = length / 2;
  for (size_t i = 0; i < units; ++i) {
    uint32_t u = data[2 * i] | (data[2 * i + 1] << 8);
    if (u >= 0xD800 && u < 0xDC00 && i + 1 < units) {
      uint32_t low = data[2 * i + 2] | (data[2 * i + 3] << 8);
      if (low >= 0xDC00 && low < 0xE000) {
        AppendCodePoint(0x10000 + ((u - 0xD800) << 10) + (low - 0xDC00), out);
        ++i;
        continue;
      }
    }
    AppendCodePoint((u >= 0xD800 && u < 0xE000) ? kReplacement : u, out);
  }
}

std::u16string Utf8ToUtf16(const std::string& s) {
  std::u16string out;
  for (size_t i = 0; i < s.size();) {
    const uint8_t c = s[i];
    uint32_t cp = 0xFFFD;
    size_t n = 1;
    if (c < 0x80) {
      cp = c;
    } else if ((c >> 5) == 6 && i + 1 < s.size()) {
      cp = ((c & 0x1F) << 6) | (s[i + 1] & 0x3F), n = 2;
    } else if ((c >> 4) == 14 && i + 2 < s.size()) {
      cp = ((c & 0x0F) << 12) | ((s[i + 1] & 0x3F) << 6) | (s[i + 2] & 0x3F), n = 3;
    } else if ((c >> 3) == 30 && i + 3 < s.size()) {
      cp = ((c & 0x07) << 18) | ((s[i + 1] & 0x3F) << 12) | ((s[i + 2] & 0x3F) << 6) | (s[i + 3] & 0x3F), n = 4;
    }
    i += n;
    if (cp >= 0x10000) {
      cp -= 0x10000;
      out.push_back(static_cast<char16_t>(0xD800 + (cp >> 10)));
      out.push_back(static_cast<char16_t>(0xDC00 + (cp & 0x3FF)));
    } else {
      out.push_back(static_cast<char16_t>(cp));
    }
  }
  return out;
}

std::string DecodeJet4Text(const uint8_t* data, size_t length) {
  std::string out;
  out.reserve(length);
  if (length >= 2 && data[0] == 0xFF && data[1] == 0xFE) {
    // Compressed: starts with one-byte characters; each 0x00 toggles the mode.
    std::vector<uint8_t> wide;
    wide.reserve(length * 2);
    bool compressed = true;
    size_t i = 2;
    while (i < length) {
      if (data[i] == 0x00) {
        compressed = !compressed;
        ++i;
      } else if (compressed) {
        wide.push_back(data[i]);
        wide.push_back(0);
        ++i;
      } else if (i + 1 < length) {
        wide.push_back(data[i]);
        wide.push_back(data[i + 1]);
        i += 2;
      } else {
        break;
      }
    }
    AppendUtf16AsUtf8(wide.data(), wide.size(), &out);
  } else {
    AppendUtf16AsUtf8(data, length, &out);
  }
  return out;
}

std::string EncodingForCodePage(uint16_t code_page) {
  if (code_page == 0) return "CP1252";
  return "CP" + std::to_string(code_page);
}

Status CodePageDecoder::Create(const std::string& encoding, std::unique_ptr<CodePageDecoder>* decoder) {
  iconv_t cd = iconv_open("UTF-8", encoding.c_str());
  if (cd == reinterpret_cast<iconv_t>(-1)) {
    return Status::Unsupported("text encoding not available: " + encoding);
  }
  std::unique_ptr<CodePageDecoder> d(new CodePageDecoder());
  d->cd_ = cd;
  d->single_byte_ = encoding.rfind("CP125", 0) == 0 || encoding == "CP874";
  *decoder = std::move(d);
  return Status::OK();
}

CodePageDecoder::~CodePageDecoder() {
  if (cd_) iconv_close(static_cast<iconv_t>(cd_));
}

std::string CodePageDecoder::Decode(const uint8_t* data, size_t length) const {
  std::string out;
  out.resize(length * 4 + 4);
  iconv_t cd = static_cast<iconv_t>(cd_);
  iconv(cd, nullptr, nullptr, nullptr, nullptr);
  char* in = const_cast<char*>(reinterpret_cast<const char*>(data));
  size_t in_left = length;
  char* dst = out.data();
  size_t out_left = out.size();
  while (in_left > 0) {
    if (iconv(cd, &in, &in_left, &dst, &out_left) != static_cast<size_t>(-1)) break;
    // An unmappable byte. Windows maps the holes of its single-byte code
    // pages (0x81, 0x8D, ... in 1252) to the C1 control of the same value;
    // elsewhere the byte becomes U+FFFD.
    if (out_left < 3) break;
    std::string replacement;
    AppendCodePoint(single_byte_ ? static_cast<uint8_t>(*in) : 0xFFFD, &replacement);
    std::memcpy(dst, replacement.data(), replacement.size());
    dst += replacement.size();
    out_left -= replacement.size();
    ++in;
    --in_left;
  }
  out.resize(out.size() - out_left);
  return out;
}

}  // namespace jet
