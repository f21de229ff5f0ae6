#include "jet/path_mapping.h"

#include <strings.h>

#include <filesystem>

namespace jet {
namespace fs = std::filesystem;
namespace {

std::string ToSlashes(std::string path) {
  for (char& c : path) if (c == '\\') c = '/';
  return path;
}

// Finds `path` on disk, matching each component without regard to case when
// the exact spelling is absent (Windows names are case-blind).
std::optional<std::string> FindCaseBlind(const std::string& path) {
  std::error_code ec;
  if (fs::is_regular_file(path, ec)) return path;
  fs::path p(path);
  fs::path current = p.is_absolute() ? p.root_path() : fs::path(".");
  for (const auto& part : p.relative_path()) {
    fs::path exact = current / part;
    if (fs::exists(exact, ec)) {
      current = exact;
      continue;
    }
    bool found = false;
    for (fs::directory_iterator it(current, ec), end; !ec && it != end; it.increment(ec)) {
      if (strcasecmp(it->path().filename().c_str(), part.c_str()) == 0) {
        current = it->path();
        found = true;
        break;
      }
    }
    if (!found) return std::nullopt;
  }
  if (fs::is_regular_file(current, ec)) return current.string();
  return std::nullopt;
}

bool StartsWithCaseBlind(const std::string& s, const std::string& prefix) {
  return s.size() >= prefix.size() && strncasecmp(s.c_str(), prefix.c_str(), prefix.size()) == 0;
}

}  // namespace

std::optional<std::string> ResolveStoredPath(const std::string& stored_path,
                                             const std::string& beside_folder,
                                             const std::vector<FolderMapping>& mappings) {
  if (stored_path.empty()) return std::nullopt;
  const std::string path = ToSlashes(stored_path);
  if (auto found = FindCaseBlind(path)) return found;

  const std::string file_name = path.substr(path.find_last_of('/') + 1);
  if (!beside_folder.empty() && !file_name.empty()) {
    if (auto found = FindCaseBlind((fs::path(beside_folder) / file_name).string())) return found;
  }
  for (const auto& m : mappings) {
    std::string prefix = ToSlashes(m.windows_prefix);
    while (!prefix.empty() && prefix.back() == '/') prefix.pop_back();
    if (prefix.empty() || !StartsWithCaseBlind(path, prefix)) continue;
    std::string rest = path.substr(prefix.size());
    if (!rest.empty() && rest.front() != '/') continue;  // "C:\db" must not match "C:\dbx"
    if (auto found = FindCaseBlind(m.local_folder + rest)) return found;
  }
  return std::nullopt;
}

}  // namespace jet

namespace jet {

namespace {

// Where `c` first stands outside braces, so that a braced driver name may
// hold any character; npos when it does not.
size_t FindOutsideBraces(const std::string& text, char c) {
  for (size_t i = 0, depth = 0; i < text.size(); ++i) {
    if (text[i] == '{') ++depth;
    else if (text[i] == '}' && depth) --depth;
    else if (text[i] == c && depth == 0) return i;
  }
  return std::string::npos;
}

}  // namespace

std::optional<OdbcMapping> ParseOdbcMapping(const std::string& text) {
  const size_t eq = FindOutsideBraces(text, '=');
  if (eq == std::string::npos || eq == 0 || eq + 1 >= text.size()) return std::nullopt;
  OdbcMapping m;
  m.from = text.substr(0, eq);
  std::string rest = text.substr(eq + 1);
  const size_t semi = FindOutsideBraces(rest, ';');
  m.to = rest.substr(0, semi);
  if (semi != std::string::npos) m.attributes = rest.substr(semi + 1);
  if (m.to.empty()) return std::nullopt;
  return m;
}

}  // namespace jet
