#include "odbc/connect_string.h"

#include "jet/server_tables.h"

#include <strings.h>

#include <cstring>

namespace jet::odbc {
namespace {

bool SameKey(const std::string& a, const std::string& b) { return strcasecmp(a.c_str(), b.c_str()) == 0; }

bool IsPasswordKey(const std::string& key) { return SameKey(key, "PWD") || SameKey(key, "PASSWORD"); }

std::string Trimmed(const std::string& s) {
  const size_t first = s.find_first_not_of(' ');
  if (first == std::string::npos) return "";
  return s.substr(first, s.find_last_not_of(' ') - first + 1);
}

// A driver's name is always braced, as Access writes it; another value
// only when it holds a separator or starts with a blank.
std::string Quoted(const std::string& key, const std::string& value) {
  const bool plain = value.find_first_of(";{}=") == std::string::npos && (value.empty() || value.front() != ' ');
  return plain && !SameKey(key, "DRIVER") ? value : "{" + value + "}";
}

std::string Unbraced(const std::string& s) {
  return s.size() >= 2 && s.front() == '{' && s.back() == '}' ? s.substr(1, s.size() - 2) : s;
}

}  // namespace

ConnectString ConnectString::Parse(const std::string& text) {
  ConnectString result;
  size_t i = 0;
  if (text.size() >= 5 && strncasecmp(text.c_str(), "ODBC;", 5) == 0) i = 5;
  while (i < text.size()) {
    const size_t eq = text.find('=', i);
    const size_t semi = text.find(';', i);
    if (eq == std::string::npos || (semi != std::string::npos && semi < eq)) {
      i = semi == std::string::npos ? text.size() : semi + 1;  // a word without a value
      continue;
    }
    std::string key = Trimmed(text.substr(i, eq - i));
    size_t v = eq + 1;
    std::string value;
    if (v < text.size() && text[v] == '{') {
      const size_t close = text.find('}', v);
      const size_t end = close == std::string::npos ? text.size() : close;
      value = text.substr(v + 1, end - v - 1);
      i = text.find(';', end);
    } else {
      i = text.find(';', v);
      value = text.substr(v, (i == std::string::npos ? text.size() : i) - v);
    }
    i = i == std::string::npos ? text.size() : i + 1;
    if (!key.empty()) result.attributes_.emplace_back(std::move(key), std::move(value));
  }
  return result;
}

std::optional<std::string> ConnectString::Get(const std::string& key) const {
  for (const auto& [k, v] : attributes_) {
    if (SameKey(k, key)) return v;
  }
  return std::nullopt;
}

void ConnectString::Set(const std::string& key, const std::string& value) {
  for (auto& [k, v] : attributes_) {
    if (SameKey(k, key)) {
      v = value;
      return;
    }
  }
  attributes_.emplace_back(key, value);
}

void ConnectString::Remove(const std::string& key) {
  std::erase_if(attributes_, [&](const auto& kv) { return SameKey(kv.first, key); });
}

void ConnectString::ApplyMappings(const std::vector<OdbcMapping>& mappings) {
  const std::string driver = Driver(), dsn = DataSource();
  for (const OdbcMapping& m : mappings) {
    const bool braced = m.from.size() >= 2 && m.from.front() == '{';
    const std::string from = Unbraced(m.from);
    const bool names_it = braced ? !driver.empty() && SameKey(from, driver) : !dsn.empty() && SameKey(from, dsn);
    if (!names_it) continue;
    Remove("DRIVER");
    Remove("DSN");
    const bool to_driver = m.to.size() >= 2 && m.to.front() == '{';
    attributes_.insert(attributes_.begin(), {to_driver ? "DRIVER" : "DSN", Unbraced(m.to)});
    for (const auto& [k, v] : Parse(m.attributes).attributes_) Set(k, v);
    return;
  }
}

std::string ConnectString::Join(bool hide_password, bool drop_password) const {
  std::string out;
  for (const auto& [k, v] : attributes_) {
    const bool password = IsPasswordKey(k);
    if (password && drop_password) continue;
    if (!out.empty()) out += ';';
    out += k + "=" + (password && hide_password ? "***" : Quoted(k, v));
  }
  return out;
}

std::string ConnectString::ForDriver() const { return Join(false, false); }
std::string ConnectString::ForLink() const { return "ODBC;" + Join(false, true); }
std::string ConnectString::Shown() const { return "ODBC;" + Join(true, false); }

}  // namespace jet::odbc

namespace jet {

std::string WithPasswordsHidden(const std::string& text) {
  std::string out = text;
  for (const char* key : {"PWD=", "PASSWORD="}) {
    size_t from = 0;
    while (const char* hit = strcasestr(out.c_str() + from, key)) {
      const size_t value = static_cast<size_t>(hit - out.c_str()) + strlen(key);
      size_t end = value < out.size() && out[value] == '{' ? out.find('}', value) : out.find(';', value);
      if (end == std::string::npos) end = out.size();
      else if (out[end] == '}') ++end;
      out.replace(value, end - value, "***");
      from = value + 3;
    }
  }
  return out;
}

}  // namespace jet
